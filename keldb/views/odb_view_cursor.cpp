#include "keldb/views/odb_view_cursor.h"

#include "keldb/support/ascii.h"

ODBViewCursor::ODBViewCursor(const ODBView& view, bool tagsOnly) : view_(view), tags_only_(tagsOnly) { ++*this; }

ODBViewCursor& ODBViewCursor::operator++() {
    do ++position_;
    while (position_ < view_->size() && skips(position_));
    if (position_ >= view_->size()) position_ = -1;
    return *this;
}

ODBViewCursor& ODBViewCursor::operator--() {
    if (position_ < 0) position_ = view_->size();
    do --position_;
    while (position_ >= 0 && skips(position_));
    return *this;
}

ODBViewCursor& ODBViewCursor::set_index(int position) {
    position_ = position >= 0 && position < view_->size() ? position : -1;
    return *this;
}

void ODBViewCursor::remove() {
    if (position_ < 0) return;
    view_->remove(position_, 1);
    if (position_ >= view_->size()) position_ = -1;
}

int ODBViewCursor::find(const dbrecord* record) {
    for (position_ = 0; position_ < view_->size(); ++position_) {
        const dbrecord* shown = **this;
        if (!shown) break;
        if (shown == record) return position_;
    }
    return stand_nowhere();
}

int ODBViewCursor::findField(const char* field, const char* value) {
    const int number = view_->get_fieldnum(field);
    if (number < 0) return stand_nowhere();
    for (; position_ >= 0; ++*this) {
        const String text = view_->getField(static_cast<unsigned>(position_), static_cast<unsigned>(number));
        if (kel::equal_ignoring_case(text, value ? value : "")) break;
    }
    return position_;
}

int ODBViewCursor::findFieldSorted(const char* field, const char* value) {
    const int number = view_->get_fieldnum(field);
    if (number < 0) return stand_nowhere();
    int low = position_ >= 0 ? position_ - 1 : -1, high = view_->size();
    while (high - low > 1) {
        const int middle = low + (high - low) / 2;
        position_ = middle;
        const String text = view_->getField(static_cast<unsigned>(middle), static_cast<unsigned>(number));
        const int order = kel::compare_ignoring_case(text, value ? value : "");
        if (order == 0) return middle;
        (order < 0 ? low : high) = middle;
    }
    return stand_nowhere();
}
