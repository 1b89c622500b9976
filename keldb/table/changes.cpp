// How a table tells that it changed: the changed flags, the modification time, update brackets and their notification.

#include <ctime>

#include "keldb/table/deletion.h"
#include "keldb/table/keldb.h"

void keldb::clear_changed() {
    for (dbrecord* record : records_) record->set_changed(0);
    changed_ = 0;
}

void keldb::set_mod_time(int force) {
    if (force != 0 || tracks_modification_ != 0) last_mod_time_ = static_cast<long long>(std::time(nullptr));
}

void keldb::beginUpdate() { updates_.begin(); }

void keldb::addToUpdate(const Cookie& id) { updates_.add(id); }

void keldb::endUpdate() {
    // Both are made first: when memory is out, the bracket is still open.
    const int type = kel::records_changed_type();
    Qv::Ptr<iObject> payload;
    if (updates_.about_to_send()) payload = Qv::Ptr<iObject>(new WrappedData<CookieVec>(updates_.pending()));
    if (!updates_.end()) return;
    updates_.take();
    call(NotifyMsg(payload), type);
}

bool keldb::update(configb* block, int row) {
    const dbrecord* record = row < 0 ? nullptr : get_record(static_cast<unsigned>(row));
    if (!record || record->update(block) == 0) return false;
    const int field = layout_.find("cookie");
    if (field >= 0) {
        const Cookie id(String(record->field_text(static_cast<unsigned>(field))), false);
        if (id.valid()) updates_.add(id);
    }
    return true;
}
