#include "keldb/textfile/unstorable.h"

#include <algorithm>
#include <string>

#include "keldb/fields/field_name.h"
#include "keldb/support/ascii.h"
#include "keldb/textfile/header_rows.h"
#include "keldb/textfile/line_splitter.h"
#include "keldb/textfile/parameter_line.h"

namespace kel {

using Kind = StorageLoss::Kind;
using Reason = StorageLoss::Reason;

// Walks a table in file order and collects what would not come back.
class StorageCheck {
public:
    explicit StorageCheck(const keldb& table) : table_(table) {}

    std::vector<StorageLoss> all() {
        check_table();
        check_parameters();
        check_fields();
        for (unsigned row = 0; row < table_.records_.size(); ++row) check_record(row);
        return std::move(losses_);
    }

private:
    void check_table();
    void check_parameters();
    void check_fields();
    void check_record(unsigned row);
    void check_tag(unsigned row);
    bool reads_back(const std::string& line, std::string_view item, bool last);
    void lost(Kind kind, Reason reason, unsigned row, unsigned field) { losses_.push_back({kind, reason, row, field}); }

    const keldb& table_;
    const int tag_field_ = table_.layout_.find("Tag");
    ValueBuilder values_;
    std::vector<StorageLoss> losses_;
};

namespace {

bool has(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// Why a text that stands unescaped between double quotes, alone in its line or row, does not come back.
Reason reason_of(std::string_view text) {
    if (has(text, "\n")) return Reason::line_end;
    if (has(text, "\"")) return Reason::double_quote;
    if (has(text, "\\n")) return Reason::backslash_n;
    if (text.size() > kLongestValue) return Reason::too_long;
    return Reason::blanks_at_ends;
}

Reason parameter_loss(std::string_view name, std::string_view value) {
    if (has(name, ":")) return Reason::colon;
    if (skip_leading_space(name).empty()) return Reason::no_name;
    return reason_of(parameter_line(name, value).substr(1, name.size() + 1 + value.size()));
}

// A value is written with quotes doubled and line feeds as a backslash and n, so little can happen to it. White space
// at its start is looked at before escapes are: a line feed there is none yet.
Reason value_loss(std::string_view value) {
    if (value.empty()) return Reason::none;
    if (has(value, "\r")) return Reason::line_end;
    if (has(value, "\\n")) return Reason::backslash_n;
    if (is_space(value.back()) || (is_space(value.front()) && value.front() != '\n')) return Reason::blanks_at_ends;
    return value.size() > kLongestValue ? Reason::too_long : Reason::none;
}

}  // namespace

void StorageCheck::check_table() {
    const unsigned records = table_.records_.size();
    if (table_.params_.size() == 0) {
        lost(Kind::no_parameters, Reason::none, 0, 0);
    } else if (revision_of(table_.params_.value(0)) != table_.revision_) {
        lost(Kind::revision, Reason::none, 0, 0);
    }
    if (table_.layout_.size() == 0 && records != 0) lost(Kind::records_without_fields, Reason::none, records, 0);
    if (tag_field_ >= 0) return;
    const auto tagged = [](const dbrecord* record) { return record->get_tag() != 0; };
    const auto tags = std::count_if(table_.records_.begin(), table_.records_.end(), tagged);
    if (tags != 0) lost(Kind::tags_without_field, Reason::none, static_cast<unsigned>(tags), 0);
}

void StorageCheck::check_parameters() {
    for (unsigned i = 0; i < table_.params_.size(); ++i) {
        const String &name = table_.params_.name(i), &value = table_.params_.value(i);
        const std::string line = parameter_line(name, value);
        split_line(line, values_);
        const ParameterText read = read_parameter(values_.text(0));
        const bool same = !has(line, "\n") && read.kind == ParameterText::Kind::parameter && read.name == name.view() &&
                          read.value == value.view();
        if (!same) lost(Kind::parameter, parameter_loss(name, value), 0, i);
    }
}

// Whether the item comes back from a row: what follows an item in a row is a comma and another double quote.
bool StorageCheck::reads_back(const std::string& item_line, std::string_view item, bool last) {
    std::string line = item_line;
    if (!last) append_item(line, "next");
    split_line(line, values_);
    return !has(item, "\n") && values_.size() == (last ? 1U : 2U) && values_.text(0) == item &&
           (last || values_.text(1) == "next");
}

void StorageCheck::check_fields() {
    const unsigned fields = table_.layout_.size();
    for (unsigned i = 0; i < fields; ++i) {
        const String& name = table_.layout_.name(i);
        std::string item;
        append_item(item, name);
        if (!reads_back(item, name, i + 1 == fields)) {
            lost(Kind::field_name, reason_of(name), 0, i);
        } else if (stored_field_name(name) != name) {
            lost(Kind::field_name, Reason::ampersand, 0, i);
        }
        const String type = name_of_type(table_.layout_.type(i));
        item.clear();
        append_item(item, type);
        if (!reads_back(item, type, i + 1 == fields) || type_from_name(type) != table_.layout_.type(i)) {
            lost(Kind::field_type, Reason::odd_code, 0, i);
        }
    }
}

void StorageCheck::check_record(unsigned row) {
    const dbrecord& record = *table_.records_[row];
    const unsigned fields = table_.layout_.size();
    if (record.get_num_fields() != fields) lost(Kind::value_count, Reason::none, row, 0);
    for (unsigned i = 0; i < record.get_num_fields(); ++i) {
        if (static_cast<int>(i) == tag_field_) {
            check_tag(row);
        } else if (const Reason reason = value_loss(record.field_text(i)); reason != Reason::none) {
            lost(Kind::value, reason, row, i);
        }
    }
}

void StorageCheck::check_tag(unsigned row) {
    const dbrecord& record = *table_.records_[row];
    const auto field = static_cast<unsigned>(tag_field_);
    if (record.field_text(field) != std::to_string(record.get_tag())) lost(Kind::tag_value, Reason::none, row, field);
}

}  // namespace kel

std::vector<StorageLoss> storage_losses(const keldb& table) { return kel::StorageCheck(table).all(); }

namespace {

const char* words(const StorageLoss& loss) {
    using Kind = StorageLoss::Kind;
    switch (loss.kind) {
    case Kind::no_parameters:
        return "a table without parameters cannot be read back: add one";
    case Kind::records_without_fields:
        return "a table without fields keeps none of its records";
    case Kind::tags_without_field:
        return "tags are kept only in a field named Tag, and there is none";
    case Kind::revision:
        return "the number in the revision parameter becomes the table's revision";
    case Kind::value_count:
        return "a record with another number of values than there are fields cannot be read back, nor can those behind "
               "it";
    case Kind::tag_value:
        return "saving puts the record's tag here, in place of the value";
    case Kind::parameter:
    case Kind::field_name:
    case Kind::field_type:
    case Kind::value:
        break;
    }
    using Reason = StorageLoss::Reason;
    switch (loss.reason) {
    case Reason::double_quote:
        return "a double quote, which is not escaped here: it is dropped, and may spoil what follows";
    case Reason::line_end:
        return loss.kind == Kind::value ? "a carriage return: it is dropped"
                                        : "a line end, which is not escaped here: the file cannot be read back";
    case Reason::backslash_n:
        return "a backslash and n: they read back as a line feed";
    case Reason::blanks_at_ends:
        return "white space at the ends: it is dropped";
    case Reason::too_long:
        return loss.kind == Kind::value
                   ? "longer than 4095 bytes: it is cut when it is read, and with another number of "
                     "values in its line the load ends there"
                   : "longer than 4095 bytes: it is cut when it is read";
    case Reason::colon:
        return "a colon in the name: the name ends there and the rest joins the value";
    case Reason::no_name:
        return "no name: the parameter is dropped";
    case Reason::ampersand:
        return "an ampersand: it is taken out of the name";
    case Reason::odd_code:
        return "a type code that is not one visible character: it reads back as another";
    case Reason::none:
        break;
    }
    return "";
}

}  // namespace

String describe(const StorageLoss& loss) { return words(loss); }
