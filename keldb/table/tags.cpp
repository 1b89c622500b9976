// A table's record tags, and showing tagged records only.

#include "keldb/table/keldb.h"

void keldb::set_tag(unsigned row, int value) {
    if (dbrecord* record = get_record(row)) record->set_tag(value);
}

void keldb::invert_tag(unsigned row) {
    if (dbrecord* record = get_record(row)) record->invert_tag();
}

int keldb::get_tag(unsigned row) {
    const dbrecord* record = get_record(row);
    return record ? record->get_tag() : -1;
}

int keldb::get_raw_tag(unsigned raw) const noexcept {
    const dbrecord* record = get_raw_record(raw);
    return record ? record->get_tag() : -1;
}

void keldb::set_all_tags(int value) {
    for (unsigned i = 0; i < records_.size(); ++i) set_tag(i, value);
}

void keldb::invert_all_tags() {
    for (dbrecord* record : records_) record->invert_tag();
}

int keldb::get_num_tags() {
    int tagged = 0;
    for (unsigned i = 0; i < get_num_records(); ++i) tagged += get_tag(i) != 0;
    return tagged;
}

void keldb::index_tags() {
    shown_.index(records_.all());
    row_ids_.clear();  // its rows were numbered as shown before
}

void keldb::set_show_tags_only(int flag) {
    if (flag != 0) index_tags();
    shown_.set_flag(static_cast<unsigned>(flag));
    row_ids_.clear();
}

int keldb::get_show_tags_only() { return static_cast<int>(shown_.flag()); }
