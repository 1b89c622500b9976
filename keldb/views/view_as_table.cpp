// A view as a table: the 52 operations of ODBBase, in their order. Rows go through the entries, fields go down as they
// are; what a detached view answers stands on each line.

#include <algorithm>
#include <limits>

#include "keldb/search/record_order.h"
#include "keldb/support/watchdog.h"
#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"

namespace {

// A position or count of the unsigned interface; one that an int cannot hold is beyond every view.
int position(unsigned number) {
    return static_cast<int>(std::min(number, static_cast<unsigned>(std::numeric_limits<int>::max())));
}

}  // namespace

int ODBViewRep::save_text() { return saveAsText(file_name_, false); }
int ODBViewRep::save_tags() { return saveOnlyTagged(file_name_); }
void ODBViewRep::insert_records(unsigned at, unsigned n) { insertBlankRecords(position(at), position(n)); }
void ODBViewRep::delete_records(unsigned start, unsigned n) { deleteRecords(position(start), position(n)); }

int ODBViewRep::delete_tagged_records() {
    removeTagged();
    return 0;
}

unsigned ODBViewRep::get_num_records() const { return static_cast<unsigned>(size()); }
unsigned ODBViewRep::get_num_fields() const { return db() ? db()->get_num_fields() : 0; }
dbrecord* ODBViewRep::get_record(unsigned row) const { return (*this)[position(row)]; }
dbrecord* ODBViewRep::make_dummy_record() { return odb() ? odb()->make_dummy_record() : nullptr; }

String ODBViewRep::getField(unsigned row, unsigned field) {
    const dbrecord* record = get_record(row);
    return record ? String(record->field_text(field)) : String();
}

const char* ODBViewRep::get_fieldname(unsigned field) const { return db() ? db()->get_fieldname(field) : nullptr; }
int ODBViewRep::get_fieldsize(unsigned field) const { return db() ? db()->get_fieldsize(field) : 0; }

DBFieldTypes::eType ODBViewRep::get_field_type(unsigned field) {
    return db() ? db()->get_field_type(field) : DBFieldTypes::none;
}

int ODBViewRep::set_fieldtype(unsigned field, DBFieldTypes::eType type) {
    return db() ? db()->set_fieldtype(field, type) : 0;
}

DBFieldTypes::eType ODBViewRep::get_fieldtype(unsigned field) { return get_field_type(field); }
int ODBViewRep::get_fieldnum(const String& name) const { return db() ? db()->get_fieldnum(name) : 0; }
int ODBViewRep::set_fieldname(unsigned field, const char* name) { return db() ? db()->set_fieldname(field, name) : 0; }
void ODBViewRep::set_filename(WString name) { file_name_ = std::move(name); }
WString ODBViewRep::get_filename() { return file_name_; }

void ODBViewRep::set_sortfield(int field) {
    if (db()) db()->set_sortfield(field);
}

void ODBViewRep::set_sortfields(int* fields) {
    if (db()) db()->set_sortfields(fields);
}

void ODBViewRep::set_sort_offset(int offset) {
    if (db()) db()->set_sort_offset(offset);
}

void ODBViewRep::sort(int direction, int plain) {
    const kel::LifeSupport alive;
    if (!db()) return;
    db()->sortPrepare(direction, plain);
    index_.reorder(kel::sorted_order(records(), direction));
}

void ODBViewRep::set_tag(unsigned row, int value) {
    if (ODBRecRef* shown = entry(row)) shown->tag = value != 0;
}

void ODBViewRep::invert_tag(unsigned row) {
    if (ODBRecRef* shown = entry(row)) shown->tag = !shown->tag;
}

void ODBViewRep::set_all_tags(int value) { tagAll(value != 0); }
void ODBViewRep::invert_all_tags() { invertAllTags(); }
void ODBViewRep::set_show_tags_only(int /*flag*/) { removeNonTagged(); }
int ODBViewRep::get_show_tags_only() { return 0; }
int ODBViewRep::get_tag(unsigned row) { return entry(row) && entry(row)->tag ? 1 : 0; }
int ODBViewRep::get_num_tags() { return countTags(); }

void ODBViewRep::set_query(dbrecord* query) {
    if (db()) db()->set_query(query);
}

int ODBViewRep::tag_matching_records(int /*keep*/) { return tagMatches(0); }

int ODBViewRep::tag_all_different(int field) {
    tagDuplicates(field);
    invertAllTags();
    return get_num_tags();
}

int ODBViewRep::set_field(unsigned row, unsigned field, bool value) {
    return db() && entry(row) ? db()->set_field(entry(row)->row, field, value) : 0;
}

int ODBViewRep::set_field(unsigned row, unsigned field, double value) {
    return db() && entry(row) ? db()->set_field(entry(row)->row, field, value) : 0;
}

int ODBViewRep::set_field(unsigned row, unsigned field, int value) {
    return db() && entry(row) ? db()->set_field(entry(row)->row, field, value) : 0;
}

int ODBViewRep::set_field(unsigned row, unsigned field, const char* value) {
    return db() && entry(row) ? db()->set_field(entry(row)->row, field, value) : 0;
}

int ODBViewRep::set_field(unsigned row, const Cookie& id) {
    return db() && entry(row) ? db()->set_field(entry(row)->row, id) : 0;
}

int ODBViewRep::in_field(unsigned row, unsigned field, bool& out) const {
    return db() && entry(row) ? db()->in_field(entry(row)->row, field, out) : 0;
}

int ODBViewRep::in_field(unsigned row, unsigned field, double& out) const {
    return db() && entry(row) ? db()->in_field(entry(row)->row, field, out) : 0;
}

int ODBViewRep::in_field(unsigned row, unsigned field, int& out) const {
    return db() && entry(row) ? db()->in_field(entry(row)->row, field, out) : 0;
}

int ODBViewRep::in_field(unsigned row, unsigned field, char* text, int length) const {
    return db() && entry(row) ? db()->in_field(entry(row)->row, field, text, length) : 0;
}

int ODBViewRep::add_records(int count) {
    const int before = size();
    insertBlankRecords(before, count);
    return !db() || count <= 0 || size() > before ? before : -1;
}

int ODBViewRep::add_param(const char* name, const char* value) {
    if (!name || !value || !*name) return -1;
    params_.set(name, value);
    return 0;
}

void ODBViewRep::set_param_val(const char* name, const char* value) { add_param(name, value); }
const char* ODBViewRep::get_param_val(const char* name) const { return name ? params_.find(name) : nullptr; }

int ODBViewRep::findFirst(const char* field, const char* value, int /*length*/) {
    return db() ? db()->findFirst(field, value, 0) : 0;
}

void ODBViewRep::sortPrepare(int direction, int plain) {
    if (db()) db()->sortPrepare(direction, plain);
}

int ODBViewRep::match_record(int row) const {
    if (!db()) return 0;
    return index_.holds(row) ? db()->match_record(static_cast<int>(index_[row].row)) : -1;
}

int ODBViewRep::baseIndex(int row) {
    return db() && index_.holds(row) ? db()->baseIndex(static_cast<int>(index_[row].row)) : 0;
}

int ODBViewRep::get_valid() const { return db() && db()->get_valid() != 0 ? 1 : 0; }
