// Lifecycle of a table: construction, the states init, post_init and free lead to, names and types of fields.

#include "keldb/table/keldb.h"

#include <algorithm>
#include <cassert>
#include <limits>

#include "keldb/fields/field_name.h"
#include "keldb/fields/well_known_fields.h"
#include "keldb/table/deletion.h"

keldb::keldb() = default;

keldb::keldb(const std::vector<DBFieldDesc>& fields) {
    const std::size_t most = std::numeric_limits<unsigned short>::max();  // a record counts its fields in 16 bits
    set_fields(fields.data(), static_cast<unsigned>(std::min(fields.size(), most)));
}

keldb::keldb(const DBFieldDesc* fields) {
    unsigned count = 0;
    while (fields && count < std::numeric_limits<unsigned short>::max() && fields[count].type != DBFieldTypes::none)
        ++count;
    set_fields(fields, count);
}

keldb::~keldb() { free(); }

void keldb::set_fields(const DBFieldDesc* fields, unsigned count) {
    layout_.reset(count);
    for (unsigned i = 0; i < count; ++i) {
        set_fieldname(i, fields[i].name.c_str());
        set_fieldtype(i, fields[i].type);
    }
    valid_ = 1;
    post_init();
}

void keldb::init() {
    revision_ = kel::kCurrentRevision;
    valid_ = 0;
    records_.free();
    shown_.reset();
    layout_.reset(0);
    changed_ = 0;
    query_.set_word_only(0);
    query_.set_case_significant(0);
    error_.clear();
    params_.clear();
    updates_.reset_depth();
}

void keldb::post_init() {
    records_.start_capacity();
    set_mod_time(1);
    sort_keys_.use_field(0);
    sort_keys_.set_offset(0);
    layout_.compute_range_flags();
}

void keldb::free() {
    row_ids_.clear();
    init();
}

void keldb::add_chunk() { records_.add_chunk(); }

unsigned keldb::getMinFieldSize(const char* name) { return kel::min_column_width(name ? name : ""); }

bool keldb::isSpecialLabelField(unsigned long long field) const {
    return field < layout_.size() && kel::range_pair_of(layout_.name(static_cast<unsigned>(field))) != nullptr;
}

// --- Names and types of fields ---

int keldb::set_fieldname(unsigned field, const char* name) {
    if (field >= layout_.size()) return 0;
    layout_.rename(field, kel::stored_field_name(name ? name : ""));
    return 1;
}

int keldb::set_fieldtype(unsigned field, DBFieldTypes::eType type) {
    if (type == DBFieldTypes::none) {
        fill_error_info(dberror::kTypeName, 3, 0, 0);
        type = DBFieldTypes::text;
    }
    if (field >= layout_.size()) return 0;
    layout_.set_type(field, type);
    return 1;
}

// --- Error information, file name, validity ---

void keldb::fill_error_info(int kind, int index, int extra1, int extra2) {
    error_.record({kind, index, extra1, extra2});
}

int keldb::read_error_info(dberror& out) const {
    if (!error_.is_set()) return 0;
    out = error_.last();
    return 1;
}

void keldb::set_filename(WString name) { file_name_ = std::move(name); }

WString keldb::get_filename() { return file_name_; }

int keldb::get_valid() const { return static_cast<int>(valid_); }

bool keldb::ok() const {
    const auto as_wide_as_the_table = [this](const dbrecord* record) {
        return record->get_num_fields() == static_cast<unsigned short>(layout_.size());
    };
    return layout_.ok() && records_.ok(this) && params_.ok() && row_ids_.ok() &&
           std::all_of(records_.begin(), records_.end(), as_wide_as_the_table);
}
