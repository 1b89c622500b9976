// ODBViewCursor: walks the entries of a view, all of them or only the tagged ones.
//
// A cursor stands on a position of its view or on none (-1: before the start or past the end). It holds its view.
// Entries removed from the view by other means move under it: the position is not adjusted.
#ifndef KELDB_VIEWS_ODB_VIEW_CURSOR_H
#define KELDB_VIEWS_ODB_VIEW_CURSOR_H

#include "keldb/views/odb_view.h"

class KELDB_API ODBViewCursor {
public:
    ODBViewCursor(const ODBView& view, bool tagsOnly);  // on the first (tagged) entry; the handle is not null

    // One entry forward or back, over untagged ones with tagsOnly. From -1 forward leads to the first entry, back to
    // the last; past either end is -1.
    ODBViewCursor& operator++();
    ODBViewCursor& operator--();

    dbrecord* operator*() const { return view_[position_]; }  // null at -1, and for an entry without a record
    int index() const noexcept { return position_; }
    ODBViewCursor& set_index(int position);  // any entry, tagged or not; -1 for one outside the view

    // Takes the entry out of the view (ODBViewRep::remove) and stands on the one that followed, or at -1.
    void remove();

    // Each moves to the entry it finds and returns its position, or moves to -1 and returns -1.
    int find(const dbrecord* record);  // from the start, tagged or not, up to the first entry without a record
    // The value ignoring case, from the current entry on, never around. Only tagged entries with tagsOnly, but for the
    // current one.
    int findField(const char* field, const char* value);
    // By bisection, in a view sorted ascending by the field ignoring case, from the current entry on (from the start at
    // -1), tagged or not; of several equal ones any.
    int findFieldSorted(const char* field, const char* value);

private:
    bool skips(int position) const { return tags_only_ && view_->notTagged(position); }
    int stand_nowhere() { return position_ = -1; }

    ODBView view_;
    int position_ = -1;
    bool tags_only_;
};

#endif
