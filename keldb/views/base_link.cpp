#include "keldb/views/base_link.h"

#include <utility>

#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"

namespace kel {
namespace {

class ViewCallback : public FollowerCallback {
public:
    ViewCallback(ODBViewRep& view, DeletionFollower& follower) : view_(view), follower_(follower) {}
    DeletionFollower& follower() noexcept override { return follower_; }
    int call(const NotifyMsg& message) override { return view_.recordsDeletedNotify(message); }

private:
    ODBViewRep& view_;
    DeletionFollower& follower_;
};

}  // namespace

keldb* BaseLink::table() const noexcept { return base_view_ ? base_view_->odb() : table_; }

ODBBase* BaseLink::immediate() const noexcept {
    if (base_view_) return base_view_;
    return table_;
}

BaseLink::~BaseLink() {
    stop_listening();
    hold(nullptr);
}

void BaseLink::listen_to(Notifier& announcer) {
    const Qv::Ptr<FollowerCallback> callback(new ViewCallback(owner_, owner_));
    const Qv::Ptr<Qv::Guard> guard = announcer.registerNotification(callback, records_deleted_type());
    stop_listening();
    heard_ = &announcer;
    callback_ = callback;
    guard_ = guard;
}

void BaseLink::stop_listening() noexcept {
    if (!heard_) return;
    callback_->end();
    heard_->deregisterNotification(guard_);
    heard_ = nullptr;
    callback_ = nullptr;
    guard_ = nullptr;
}

// Stands on another base view, or on none, without a word about who is listened to.
void BaseLink::hold(ODBViewRep* base_view) noexcept {
    if (base_view) base_view->incRef();
    ODBViewRep* left = std::exchange(base_view_, base_view);
    if (left && left->decRef() == 0) delete left;
}

void BaseLink::attach(keldb* table) {
    if (table)
        listen_to(*table);
    else
        stop_listening();
    table_ = table;
    hold(nullptr);
}

void BaseLink::stand_on(ODBViewRep* base_view) {
    keldb* below = table();
    if (base_view) {
        listen_to(*base_view);
    } else if (below) {
        listen_to(*below);
    } else {
        stop_listening();
    }
    table_ = below;
    hold(base_view);
}

}  // namespace kel
