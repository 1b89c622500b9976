// Copies of a table, and assignment.

#include <vector>

#include "keldb/table/keldb.h"

keldb::keldb(const keldb& source, int withRecords)
    : Qv::InternalRefCount(), iVirtual(), ODBBase(), Notifier(), revision_(source.revision_), layout_(source.layout_) {
    for (unsigned i = 0; i < source.params_.size(); ++i) {
        if (params_.set(source.params_.name(i).view(), source.params_.value(i).view()) ==
            kel::ParameterList::Outcome::changed)
            changed_ = 1;
    }
    post_init();
    if (withRecords != 0) copy_shown_records(source);
    valid_ = 1;
}

keldb::keldb(const keldb& source, DBFieldDesc* /*fields*/)
    : Qv::InternalRefCount(), iVirtual(), ODBBase(), Notifier(), revision_(source.revision_), layout_(source.layout_) {
    post_init();
    copy_shown_records(source);
    valid_ = 1;
}

void keldb::copy_shown_records(const keldb& source) {
    const unsigned count = source.get_num_records();
    std::vector<dbrecord*> shown(count);
    for (unsigned i = 0; i < count; ++i) shown[i] = source.get_record(i);
    records_.append_copies(shown.data(), count, this);
}

keldb& keldb::operator=(const keldb& source) {
    if (this == &source) return *this;
    // Everything that needs memory comes first, then nothing can fail.
    kel::RecordArray records;
    records.append_copies(source.records_.begin(), source.records_.size(), this);
    while (records.capacity() < source.records_.capacity()) records.add_chunk();
    for (unsigned i = 0; i < records.size(); ++i) {
        records[i]->set_tag(source.records_[i]->get_tag());
        records[i]->set_changed(source.records_[i]->get_changed());
    }
    kel::TagFilter shown;
    shown.clone_from(source.shown_, source.records_, records);
    kel::FieldLayout layout = source.layout_;
    kel::ParameterList params = source.params_;
    WString file_name = source.file_name_;
    kel::UpdateBracket updates = source.updates_;
    kel::Query query = source.query_;
    kel::RowIds row_ids = source.row_ids_;

    records_.swap(records);
    std::swap(shown_, shown);
    std::swap(layout_, layout);
    std::swap(params_, params);
    std::swap(file_name_, file_name);
    std::swap(updates_, updates);
    query_.swap(query);
    std::swap(row_ids_, row_ids);
    revision_ = source.revision_;
    sort_keys_ = source.sort_keys_;
    error_ = source.error_;
    changed_ = source.changed_;
    last_mod_time_ = source.last_mod_time_;
    tracks_modification_ = source.tracks_modification_;
    valid_ = source.valid_;
    writes_ = source.writes_;  // the map of identifiers is as true, or as stale, as the source's
    return *this;
}
