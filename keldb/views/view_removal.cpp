// Taking entries out of a view, and deleting and inserting records through it.
//
// The operations work on the entries that were chosen when they were called. While nobody but views listens, they all
// go in one deletion. Else they go run by run, with the announcements of each: a run is a longest sequence of
// neighbouring chosen entries whose base rows go up by one. Meanwhile a pending view, which listens last, keeps track
// of those still to go: its entries follow deletions, and where listeners moved rows by other means, the records tell.
// Only a listener that moves rows and then deletes some, in one call, can make chosen entries stay.

#include <algorithm>
#include <limits>
#include <unordered_map>
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

// The chosen entries that are still to go, each with the record that it named when it was chosen. Runs do not reach
// over entries that were not chosen: a tagged entry stands for each such gap, with a row that no base has, however many
// go below it.
class ODBViewRep::Pending : public ODBViewRep {
public:
    Pending(const ODBViewRep& of, const std::vector<int>& positions) : ODBViewRep(of.odb(), "") {
        baseView(of.baseView());
        std::vector<ODBRecRef> chosen;
        chosen.reserve(positions.size());
        records_.reserve(positions.size());
        for (std::size_t k = 0; k < positions.size(); ++k) {
            if (k > 0 && positions[k] != positions[k - 1] + 1) {
                chosen.push_back({std::numeric_limits<unsigned>::max(), true});
                records_.push_back(nullptr);
            }
            chosen.push_back({of.index_[positions[k]].row, false});
            records_.push_back(of[positions[k]]);
        }
        index_.assign(std::move(chosen));
    }

    // The length of the next run, which begins at row(); 0 at the end. What is in front of it and cannot go, because
    // its record is not in the base any more, is passed over.
    int next_run() {
        if (records_.size() != entry_count()) pass_over(size());  // a message from elsewhere took entries out of it
        follow_moved_records();
        while (size() > 0 && (index_[0].tag || !names_its_record(0))) {
            passed_over_ += index_[0].tag ? 0 : 1;
            forget(1);
        }
        int length = size() > 0 ? 1 : 0;
        while (length > 0 && length < size() && !index_[length].tag &&
               index_[length].row == row() + static_cast<unsigned>(length) && names_its_record(length))
            ++length;
        return length;
    }
    unsigned row() const { return index_[0].row; }
    void pass_over(int count) {
        passed_over_ += count;
        forget(count);
    }
    int passed_over() const { return passed_over_; }

private:
    void drop(const kel::RowSet& gone, kel::LostEntries& lost) noexcept override {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < records_.size(); ++i) {
            if (!gone.contains(index_[static_cast<int>(i)].row)) records_[kept++] = records_[i];
        }
        records_.resize(kept);
        ODBViewRep::drop(gone, lost);
    }
    bool names_its_record(int position) const {
        return (*this)[position] == records_[static_cast<std::size_t>(position)];
    }
    // After rows moved by other means than deletion each entry must name its record again, not only the one that is
    // next: the deletion of its row would take along another whose old number is the same.
    void follow_moved_records() {
        int first = 0;
        while (first < size() && (index_[first].tag || names_its_record(first))) ++first;
        if (first == size()) return;
        std::unordered_map<const dbrecord*, unsigned> row_of;
        const unsigned rows = db() ? db()->get_num_records() : 0;
        for (unsigned row = 0; row < rows; ++row) row_of.emplace(db()->get_record(row), row);
        for (int i = first; i < size(); ++i) {
            if (index_[i].tag || names_its_record(i)) continue;
            const auto found = row_of.find(records_[static_cast<std::size_t>(i)]);
            const bool there = found != row_of.end() && found->first;
            index_[i].row = there ? found->second : std::numeric_limits<unsigned>::max();
        }
    }
    void forget(int count) {
        index_.erase(0, count);
        records_.erase(records_.begin(), records_.begin() + std::min<std::ptrdiff_t>(count, std::ssize(records_)));
    }

    std::vector<const dbrecord*> records_;
    int passed_over_ = 0;
};

// Calls act(base row, length) for each run of the chosen entries until none is left; entries that act does not make go
// are passed over. Returns how many went.
template <class Act>
int ODBViewRep::in_runs(const std::vector<int>& positions, Act act) {
    Pending pending(*this, positions);
    while (const int length = pending.next_run()) {
        const int left = pending.size();
        act(pending.row(), length);
        if (pending.size() == left) pending.pass_over(length);
    }
    return static_cast<int>(positions.size()) - pending.passed_over();
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
    index_.make_room_for(size() + count);  // what can fail here comes before the base changes
    const unsigned rows = db()->get_num_records();
    const bool at_end = position == size();
    const unsigned row = at_end ? rows : std::min(index_[position].row, rows);
    if (at_end)
        db()->add_records(count);
    else
        db()->insert_records(row, static_cast<unsigned>(count));
    if (db()->get_num_records() == rows) return;  // refused
    index_.move_rows_up(position, static_cast<unsigned>(count));
    index_.insert_run_in_room(position, row, count);
}
