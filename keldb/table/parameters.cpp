// A table's named parameters; the rules are ParameterList's.

#include "keldb/table/keldb.h"

int keldb::add_param(const char* name, const char* value) {
    switch (params_.set(name, value)) {
    case kel::ParameterList::Outcome::refused:
        return -1;
    case kel::ParameterList::Outcome::unchanged:
        return 0;
    case kel::ParameterList::Outcome::changed:
        changed_ = 1;
    }
    return 0;
}

void keldb::set_param_val(const char* name, const char* value) { add_param(name, value); }

const char* keldb::get_param_val(const char* name) const { return params_.value_of(name); }

int keldb::find_param(const char* name) const { return name ? params_.find(name) : -1; }

const char* keldb::get_nth_param_name(int i) const {
    return i >= 0 && static_cast<unsigned>(i) < params_.size() ? params_.name(static_cast<unsigned>(i)).c_str()
                                                               : nullptr;
}

const char* keldb::get_nth_param_val(int i) const {
    return i >= 0 && static_cast<unsigned>(i) < params_.size() ? params_.value(static_cast<unsigned>(i)).c_str()
                                                               : nullptr;
}
