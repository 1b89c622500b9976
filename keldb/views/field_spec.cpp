#include "keldb/views/field_spec.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "keldb/support/log.h"
#include "keldb/table/odb_base.h"

SExprElt::~SExprElt() = default;

void SExprRef::print(GrowString& out) const {
    out.append(base_ && base_->get_num_fields() > 0 ? base_->get_fieldname(field_) : "voidref");
}

void SExpr::print(GrowString& out) const {
    out.append('(');
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        if (i > 0) out.append(' ');
        elements_[i]->print(out);
    }
    out.append(')');
}

namespace kel {

namespace {

// The names, each with its first field.
std::unordered_map<std::string_view, unsigned> fields_by_name(const ODBBase& owner) {
    std::unordered_map<std::string_view, unsigned> fields;
    const unsigned count = owner.get_num_fields();
    for (unsigned i = 0; i < count; ++i) fields.try_emplace(owner.get_fieldname(i), i);
    return fields;
}

}  // namespace

std::string identity_field_spec(const ODBBase* base) {
    std::string names;
    const unsigned count = base ? base->get_num_fields() : 0;
    for (unsigned i = 0; i < count; ++i) {
        if (i > 0) names += ',';
        names += base->get_fieldname(i);
    }
    return names;
}

void FieldSpec::take_all_fields(const ODBBase& owner) {
    const unsigned count = owner.get_num_fields();
    for (unsigned i = 0; i < count; ++i) {
        if (*owner.get_fieldname(i) != '\0') fields_.append(std::make_unique<SExprRef>(i, &owner));
    }
}

void FieldSpec::set(const char* text, const ODBBase& owner) {
    FieldSpec parsed;
    if (text) parsed.text_ = text;
    parsed.has_text_ = text != nullptr;
    if (text && parsed.text_ == identity_field_spec(&owner)) {  // names with commas inside are found all the same
        parsed.take_all_fields(owner);
        *this = std::move(parsed);
        return;
    }
    const auto fields = fields_by_name(owner);
    std::string_view rest = parsed.text_;
    while (!rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find_first_of("\t,"));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        if (name.empty()) continue;
        const auto field = fields.find(name);
        if (field != fields.end()) {
            parsed.fields_.append(std::make_unique<SExprRef>(field->second, &owner));
        } else {
            LogPrint("Warning: ODBView::fieldSpec, non-existant fieldname \"%s\".\n", std::string(name).c_str());
        }
    }
    *this = std::move(parsed);
}

}  // namespace kel
