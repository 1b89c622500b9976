// Rows and values of a table: counting and finding, typed reads and writes, adding, inserting and deleting records.

#include "keldb/table/keldb.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "keldb/support/ascii.h"

// --- Rows ---

unsigned keldb::get_num_records() const { return shown_.on() ? shown_.count() : records_.size(); }

dbrecord* keldb::get_record(unsigned row) const { return shown_.on() ? shown_.visible(row) : get_raw_record(row); }

dbrecord* keldb::get_raw_record(unsigned row) const noexcept { return row < records_.size() ? records_[row] : nullptr; }

int keldb::baseIndex(int row) { return row; }

int keldb::get_new_row(unsigned raw) const { return shown_.visible_row(records_, raw); }

int keldb::get_raw_row(unsigned row) const { return shown_.raw_row(records_, row); }

// --- Fields ---

unsigned keldb::get_num_fields() const { return layout_.size(); }

const char* keldb::get_fieldname(unsigned field) const {
    return field < layout_.size() ? layout_.name(field).c_str() : "";
}

DBFieldTypes::eType keldb::get_field_type(unsigned field) {
    return field < layout_.size() ? layout_.type(field) : DBFieldTypes::none;
}

DBFieldTypes::eType keldb::get_fieldtype(unsigned field) { return get_field_type(field); }

int keldb::get_fieldnum(const String& name) const { return layout_.find(name); }

int keldb::get_fieldsize(unsigned field) const {
    if (field >= layout_.size()) return 0;
    std::size_t longest = 0;
    for (const dbrecord* record : records_) longest = std::max(longest, record->field_text(field).size());
    return static_cast<int>(std::min<std::size_t>(longest, std::numeric_limits<int>::max()));
}

// --- Reading ---

String keldb::getField(unsigned row, unsigned field) {
    const dbrecord* record = get_record(row);
    return record && field < record->get_num_fields() ? record->values().copy(static_cast<unsigned short>(field))
                                                      : String();
}

namespace {

// The value of a row and field; empty when there is none.
std::string_view text_at(const keldb& table, unsigned row, unsigned field) {
    const dbrecord* record = table.get_record(row);
    return record ? record->field_text(field) : std::string_view();
}

}  // namespace

int keldb::in_field(unsigned row, unsigned field, bool& out) const {
    const std::string_view text = text_at(*this, row, field);
    if (text.empty()) return 0;
    out = text.front() == 't';
    return 1;
}

int keldb::in_field(unsigned row, unsigned field, double& out) const {
    const std::string_view text = text_at(*this, row, field);
    if (text.empty()) return 0;
    out = kel::read_double(text);
    return 1;
}

int keldb::in_field(unsigned row, unsigned field, int& out) const {
    const std::string_view text = text_at(*this, row, field);
    if (text.empty()) return 0;
    out = kel::read_int(text);
    return 1;
}

int keldb::in_field(unsigned row, unsigned field, char* out, int length) const {
    const std::string_view text = text_at(*this, row, field);
    if (text.empty() || !out || length < 0) return 0;
    const std::size_t copied = std::min(text.size(), static_cast<std::size_t>(length));
    std::memcpy(out, text.data(), copied);
    std::memset(out + copied, 0, static_cast<std::size_t>(length) - copied + 1);
    return 1;
}

// --- Writing ---

namespace {

// A field number for the record's own, signed, interface; one that it cannot hold names no field.
int record_field(unsigned field) {
    return field <= static_cast<unsigned>(std::numeric_limits<int>::max()) ? static_cast<int>(field) : -1;
}

}  // namespace

int keldb::set_field(unsigned row, unsigned field, bool value) {
    dbrecord* record = get_record(row);
    return record ? record->set_field(record_field(field), value) : 0;
}

int keldb::set_field(unsigned row, unsigned field, double value) {
    dbrecord* record = get_record(row);
    return record ? record->set_field(record_field(field), value) : 0;
}

int keldb::set_field(unsigned row, unsigned field, int value) {
    dbrecord* record = get_record(row);
    return record ? record->set_field(record_field(field), value) : 0;
}

int keldb::set_field(unsigned row, unsigned field, const char* value) {
    dbrecord* record = get_record(row);
    return record ? record->set_field(record_field(field), value, true) : 0;
}

bool keldb::setField(unsigned row, unsigned field, const String& value) {
    dbrecord* record = get_record(row);
    if (!record || field > std::numeric_limits<unsigned short>::max()) return false;
    return record->setField(static_cast<unsigned short>(field), value);
}

int keldb::set_field(unsigned row, const Cookie& id) {
    dbrecord* record = get_record(row);
    const int field = layout_.find("cookie");
    if (!record || field < 0) return 0;
    const String text = id.asString(false);
    row_ids_.make_room_for_one();  // so that nothing can fail once the record carries the identifier
    if (!record->setField(static_cast<unsigned short>(field), text)) return 0;
    row_ids_.put(text, static_cast<int>(row));
    return 1;
}

// --- Adding and removing records ---

int keldb::add_records(int count) {
    if (shown_.on()) return -1;
    const unsigned first = records_.size();
    if (count > 0)
        records_.append_blank(static_cast<unsigned>(count), static_cast<unsigned short>(layout_.size()), this);
    return static_cast<int>(first);
}

void keldb::insert_records(unsigned at, unsigned count) {
    if (shown_.on()) return;
    records_.insert_blank(at, count, static_cast<unsigned short>(layout_.size()), this);
    row_ids_.clear();
}

dbrecord* keldb::make_dummy_record() { return new dbrecord(static_cast<unsigned short>(layout_.size())); }
