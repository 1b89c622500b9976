// Deletion: how rows that go from a table, or entries that go from a view, reach everything stacked above.
//
// Views follow what they stand on: they are registered with its notifier like any listener, but a deletion treats them
// apart, in three steps.
//
//     1. Plan. Every follower, and every follower of a follower, gets the memory that its repair and its announcements
//        will need. This is the only step that can fail, and nothing has changed yet.
//     2. Repair. The announcer takes its rows out; then each follower, in one pass over its entries, drops those that
//        named a lost row and renumbers the others.
//     3. Announce. Listeners are told, depth first in the order of registration. A follower passes on what it lost as
//        if it had lost entry after entry: one "recordsDeleted" each with the position at that moment, in the order of
//        the lost rows (and of its entries, for a row that it showed more than once), and at the end one
//        "recordsChanged". By then every follower is repaired: whoever listens finds each one naming the right records,
//        and the other entries of the same deletion gone as well.
//
// A follower that lets go of its base in the middle of its announcements sends no further "recordsDeleted".
//
// Listeners that do not follow are foreign. While there are none, nothing is announced and the memory for it not taken.
#ifndef KELDB_TABLE_DELETION_H
#define KELDB_TABLE_DELETION_H

#include <memory>
#include <vector>

#include "keldb/support/notify.h"
#include "keldb/table/row_set.h"

namespace kel {

int records_deleted_type();  // the ids of "recordsDeleted" and "recordsChanged"
int records_changed_type();

// An entry that a follower lost: its position and the row that it named, both before the deletion.
struct LostEntry {
    unsigned row;
    unsigned position;
};

// What a follower lost, in memory that was taken beforehand.
class LostEntries {
public:
    void plan(std::size_t most, bool with_list, bool with_set);
    void note(unsigned row, unsigned position) noexcept {
        if (list_) list_[count_] = {row, position};
        ++count_;
        if (has_set_) set_.add(position);
    }
    std::size_t size() const noexcept { return count_; }
    RowSet& positions() noexcept { return set_; }
    LostEntry* begin() noexcept { return list_.get(); }
    LostEntry* end() noexcept { return list_.get() + count_; }

private:
    std::unique_ptr<LostEntry[]> list_;
    std::size_t count_ = 0;
    RowSet set_;
    bool has_set_ = false;
};

// What a deletion asks of whoever follows: a view.
class DeletionFollower {
public:
    virtual Notifier& announcer() noexcept = 0;  // where its own followers and listeners are registered
    virtual std::size_t entry_count() const noexcept = 0;
    virtual void drop(const RowSet& gone, LostEntries& lost) noexcept = 0;  // step 2, for this follower alone
    virtual bool pin() noexcept = 0;    // keeps it alive while listeners are told; false when nobody holds it
    virtual void unpin() noexcept = 0;  // may destroy it

protected:
    ~DeletionFollower() = default;
};

// The callback that a follower registers. Called as an ordinary callback, with a message from elsewhere, it hands the
// message to its follower.
class FollowerCallback : public NotifyCallback {
public:
    virtual DeletionFollower& follower() noexcept = 0;
    void end() noexcept { listening_ = false; }  // the follower lets go of what it stood on
    bool listening() const noexcept { return listening_; }

private:
    bool listening_ = true;
};

class Deletion {
public:
    // Step 1, for everything that follows the announcer.
    Deletion(Notifier& announcer, RowSet gone);
    Deletion(const Deletion&) = delete;
    Deletion& operator=(const Deletion&) = delete;
    ~Deletion();

    const RowSet& gone() const noexcept { return gone_; }
    void repair() noexcept;  // step 2, after the announcer took its rows out
    void announce();         // step 3: the announcer's own message, then what follows from it

    // Whether anybody but followers listens to the announcer or to any of them. The announcer itself is asked for
    // "recordsDeleted" only: of "recordsChanged", a deletion sends none in its name.
    static bool foreign_listeners(const Notifier& announcer);

private:
    struct Node;
    class Report;

    Notifier& announcer_;
    RowSet gone_;
    bool foreign_;
    std::vector<std::unique_ptr<Node>> followers_;
    String text_;
};

}  // namespace kel

#endif
