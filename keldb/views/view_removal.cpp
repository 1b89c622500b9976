// Taking entries out of a view, and deleting and inserting records through it.
//
// The operations work on the entries that were chosen when they were called. While nobody but views listens, they all
// go in one deletion. Else they go run by run, with the announcements of each: a run is a longest sequence of
// neighbouring chosen entries whose base rows go up by one. Meanwhile a pending view, which listens last, keeps track
// of those still to go, whatever the listeners do.

#include <limits>
#include <vector>

#include "keldb/support/ascii.h"
#include "keldb/table/keldb.h"
#include "keldb/views/held_view.h"
#include "keldb/views/odb_view.h"

namespace {

std::vector<int> positions_from(int start, int count, int size) {
    std::vector<int> positions;
    if (start < 0 || start >= size || count <= 0) return positions;
    count = std::min(count, size - start);
    for (int i = 0; i < count; ++i) positions.push_back(start + i);
    return positions;
}

}  // namespace

// --- Out of the view ---

void ODBViewRep::take_out(kel::RowSet positions) {
    kel::Deletion deletion(*this, std::move(positions));
    index_.erase(deletion.gone());
    deletion.repair();
    deletion.announce();
}

void ODBViewRep::remove(int start, int count) {
    if (start < 0 || start >= size() || count < 0) return;
    const kel::HeldView held(this);
    take_out(kel::RowSet::run(static_cast<unsigned>(start), static_cast<unsigned>(std::min(count, size() - start))));
}

int ODBViewRep::recordsDeletedNotify(const NotifyMsg& message) {
    const kel::HeldView held(this);
    bool removed = false;
    long long step = 0;
    for (NotifyMsgTokenIterator token(message); *token; ++token, ++step) {
        const long long gone = kel::read_int(*token) - step;
        for (int i = 0; i < size();) {
            const long long row = index_[i].row;
            if (row == gone) {
                removed = true;
                remove(i, 1);
                continue;
            }
            if (row > gone) --index_[i].row;
            ++i;
        }
    }
    if (removed) call(NotifyMsg(nullptr), kel::records_changed_type());
    return 0;
}

// --- Chosen entries, run by run ---

// Calls act(base row, length) for each run of the chosen entries until none is left; entries that act does not make go
// are passed over. Returns how many went. Runs do not reach over entries that were not chosen: a tagged one stands for
// each such gap, with a row that no base has, however many go below it.
template <class Act>
int ODBViewRep::in_runs(const std::vector<int>& positions, Act act) {
    constexpr ODBRecRef kGap{std::numeric_limits<unsigned>::max(), true};
    ODBViewRep pending(odb(), "");
    pending.baseView(baseView());
    std::vector<ODBRecRef> chosen;
    chosen.reserve(positions.size());
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (k > 0 && positions[k] != positions[k - 1] + 1) chosen.push_back(kGap);
        chosen.push_back({index_[positions[k]].row, false});
    }
    pending.index_.assign(std::move(chosen));
    int passed_over = 0;
    while (pending.size() > 0) {
        const int left = pending.size();
        const ODBRecRef first = pending.index_[0];
        if (first.tag) {
            pending.index_.erase(0, 1);
            continue;
        }
        int length = 1;
        while (length < left && !pending.index_[length].tag &&
               pending.index_[length].row == first.row + static_cast<unsigned>(length))
            ++length;
        act(first.row, length);
        if (pending.size() < left) continue;
        pending.index_.erase(0, length);
        passed_over += length;
    }
    return static_cast<int>(positions.size()) - passed_over;
}

// --- Out of the view chain ---

void ODBViewRep::take_out_chosen(const std::vector<int>& positions) {
    if (positions.empty() || !db()) return;
    const kel::HeldView held(this);
    ODBViewRep* bottom = root();
    if (bottom != this && kel::Deletion::foreign_listeners(*bottom)) {
        in_runs(positions, [base = baseView()](unsigned row, int length) {
            base->removeRecordsFromBaseView(static_cast<int>(row), length);
        });
        return;
    }
    kel::RowSet gone = kel::RowSet::for_rows_below(static_cast<unsigned>(bottom->size()));
    for (int position : positions) {
        const ODBViewRep* view = this;
        while (view != bottom && view->index_.holds(position)) {
            position = static_cast<int>(view->index_[position].row);
            view = view->baseView();
        }
        if (view->index_.holds(position)) gone.add(static_cast<unsigned>(position));
    }
    gone.seal();
    bottom->take_out(std::move(gone));
}

void ODBViewRep::removeRecordsFromBaseView(int start, int count) {
    if (!db()) return;
    if (baseView())
        take_out_chosen(positions_from(start, count, size()));
    else if (count > 0)
        remove(start, count);
}

int ODBViewRep::removeSome(bool (ODBViewRep::*condition)(int)) {
    if (!db()) return 0;
    if (condition == &ODBViewRep::tag) return remove_tagged_as(true);
    if (condition == &ODBViewRep::notTagged) return remove_tagged_as(false);
    return remove_runs([this, condition](int i) { return (this->*condition)(i); });
}

template <class Condition>
int ODBViewRep::remove_runs(Condition condition) {
    const kel::HeldView held(this);
    int removed = 0;
    for (int i = 0; i < size(); ++i) {
        const int start = i;
        while (i < size() && condition(i)) ++i;
        if (i == start) continue;
        removed += i - start;
        removeRecordsFromBaseView(start, i - start);
        i = start;  // where the entry that ended the run stands now
    }
    return removed;
}

int ODBViewRep::remove_tagged_as(bool tagged) {
    if (!db()) return 0;
    if (!baseView() && kel::Deletion::foreign_listeners(*this))
        return remove_runs([this, tagged](int i) { return index_[i].tag == tagged; });
    std::vector<int> positions;
    for (int i = 0; i < size(); ++i) {
        if (index_[i].tag == tagged) positions.push_back(i);
    }
    take_out_chosen(positions);
    return static_cast<int>(positions.size());
}

int ODBViewRep::removeTagged() { return remove_tagged_as(true); }

int ODBViewRep::removeNonTagged() { return remove_tagged_as(false); }

// --- Records of the base ---

int ODBViewRep::delete_chosen(const std::vector<int>& positions) {
    if (positions.empty() || !odb()) return 0;
    const kel::HeldView held(this);
    if (kel::Deletion::foreign_listeners(*odb())) {
        return in_runs(positions, [base = db()](unsigned row, int length) {
            base->delete_records(row, static_cast<unsigned>(length));
        });
    }
    if (odb()->get_show_tags_only() != 0) return 0;
    int deleted = 0;
    kel::RowSet gone = kel::RowSet::for_rows_below(odb()->get_num_records());
    for (const int position : positions) {
        if (!(*this)[position]) continue;  // then baseIndex names a row of the table
        gone.add(static_cast<unsigned>(baseIndex(position)));
        ++deleted;
    }
    gone.seal();
    if (deleted > 0) odb()->delete_rows(std::move(gone));
    return deleted;
}

void ODBViewRep::deleteRecords(int start, int count) { delete_chosen(positions_from(start, count, size())); }

int ODBViewRep::deleteTagged() {
    std::vector<int> tagged;
    for (int i = 0; i < size(); ++i) {
        if (index_[i].tag) tagged.push_back(i);
    }
    return delete_chosen(tagged);
}

void ODBViewRep::insertBlankRecords(int at, int count) {
    if (!db() || count <= 0) return;
    const int position = index_.clamped(at);
    if (count > std::numeric_limits<int>::max() - size()) throw std::bad_alloc();
    index_.make_room_for(size() + count);  // all that can fail here comes before the base changes
    const unsigned rows = db()->get_num_records();
    const bool at_end = position == size();
    const unsigned row = at_end ? rows : std::min(index_[position].row, rows);
    if (at_end)
        db()->add_records(count);
    else
        db()->insert_records(row, static_cast<unsigned>(count));
    if (db()->get_num_records() == rows) return;  // refused
    index_.move_rows_up(position, static_cast<unsigned>(count));
    index_.insert_run(position, row, count);
}
