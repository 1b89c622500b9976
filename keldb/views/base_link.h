// BaseLink: what a view stands on, and its registration there.
//
// A view has a table, and may have a base view over the same table. It listens to "recordsDeleted" of its immediate
// base only: of the base view when there is one, else of the table.
//
// Invariants: the link listens exactly while attached; it holds one reference on its base view; it never owns the
// table.
#ifndef KELDB_VIEWS_BASE_LINK_H
#define KELDB_VIEWS_BASE_LINK_H

#include "keldb/support/export.h"
#include "keldb/support/notify.h"
#include "keldb/table/deletion.h"

class keldb;
class ODBBase;
class ODBViewRep;

namespace kel {

class KELDB_API BaseLink {
public:
    explicit BaseLink(ODBViewRep& owner) noexcept : owner_(owner) {}
    BaseLink(const BaseLink&) = delete;
    BaseLink& operator=(const BaseLink&) = delete;
    ~BaseLink();

    keldb* table() const noexcept;  // the one at the bottom of the chain; null when detached
    ODBViewRep* base_view() const noexcept { return base_view_; }
    ODBBase* immediate() const noexcept;  // the base view when there is one, else the table; null when detached
    bool attached() const noexcept { return table_ || base_view_; }

    // Both are strong: they register with the new base before they let go of the old one.
    void attach(keldb* table);             // to the table itself, or, with null, to nothing
    void stand_on(ODBViewRep* base_view);  // null: on the table again

private:
    void listen_to(Notifier& announcer);
    void stop_listening() noexcept;
    void hold(ODBViewRep* base_view) noexcept;

    ODBViewRep& owner_;
    keldb* table_ = nullptr;  // while there is no base view
    ODBViewRep* base_view_ = nullptr;
    Notifier* heard_ = nullptr;  // who the registration below is with
    Qv::Ptr<FollowerCallback> callback_;
    Qv::Ptr<Qv::Guard> guard_;
};

}  // namespace kel

#endif
