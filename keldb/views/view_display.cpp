// Showing rows of the base in a view.

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "keldb/support/watchdog.h"
#include "keldb/table/keldb.h"
#include "keldb/table/row_ids.h"
#include "keldb/views/held_view.h"
#include "keldb/views/odb_view.h"

int ODBViewRep::displayRecordsAt(int row, int count, int at) {
    if (!db() || row < 0 || count <= 0) return 0;
    index_.insert_run(index_.clamped(at), static_cast<unsigned>(row), count);
    return count;
}

// The new entries are made before the old ones go, so that no failure leaves the view empty. Only a listener that
// changes the number of base rows meanwhile makes them be made again.
void ODBViewRep::displayAllRecords() {
    if (!db()) return;
    const kel::HeldView held(this);
    const int rows = base_rows();
    kel::RowIndex all;
    all.insert_run(0, 0, rows);
    remove(0, size());
    if (!db()) return;  // a listener detached the view
    if (size() == 0 && base_rows() == rows) {
        index_.swap(all);
    } else {
        displayRecordsAt(0, base_rows(), 0);
    }
}

int ODBViewRep::base_rows() const {
    const auto most = static_cast<unsigned>(std::numeric_limits<int>::max());
    return static_cast<int>(std::min(db()->get_num_records(), most));
}

void ODBViewRep::displayTaggedRecordsAt(int at) {
    if (!db()) return;
    std::vector<unsigned> rows;
    const unsigned count = db()->get_num_records();
    for (unsigned row = 0; row < count; ++row) {
        if (db()->get_tag(row) != 0) rows.push_back(row);
    }
    index_.insert_rows(index_.clamped(at), rows);
}

// The base row that displayMatchAt shows, or -1.
int ODBViewRep::first_base_row(const char* field, const char* value) {
    if (!baseView()) return db()->findFirst(field, value, 0);
    const int number = get_fieldnum(field);
    for (int i = 0; number >= 0 && i < baseView()->size(); ++i) {
        const dbrecord* record = (*baseView())[i];
        if (record && record->field_text(static_cast<unsigned>(number)) == value) return i;
    }
    return -1;
}

bool ODBViewRep::displayMatchAt(const char* field, const char* value, int at) {
    if (!db() || !field || !value) return false;
    const int row = first_base_row(field, value);
    return row >= 0 && displayRecordsAt(row, 1, at) == 1;
}

namespace {

// From identifiers to the first base row that carries each, as first_base_row finds it: the table's own map comes first
// for a view on the table; what that does not know is looked up in a map made once.
class IdentifierRows {
public:
    IdentifierRows(keldb& table, ODBViewRep* base_view) : table_(table), base_view_(base_view) {
        field_ = table.get_fieldnum("Cookie");
    }

    int find(const Cookie& id) {
        const int row = base_view_ ? -1 : table_.getRowIndexByID(id);
        if (row >= 0 || field_ < 0) return row;
        if (!made_) make();
        return rows_.find(id.text());
    }

private:
    void make() {
        const ODBBase& base = base_view_ ? static_cast<const ODBBase&>(*base_view_) : table_;
        const unsigned count = base.get_num_records();
        rows_.reserve(count);
        for (unsigned row = 0; row < count; ++row) {
            const dbrecord* record = base.get_record(row);
            if (!record) continue;
            const std::string_view id = record->field_text(static_cast<unsigned>(field_));
            rows_.put_first(id, static_cast<int>(row));
        }
        made_ = true;
    }

    keldb& table_;
    ODBViewRep* base_view_;
    int field_;
    bool made_ = false;
    kel::RowIds rows_;
};

}  // namespace

int ODBViewRep::displayRecordsAt(const CookieVec& ids, int at) {
    const kel::LifeSupport alive;
    if (!odb()) return 0;
    IdentifierRows known(*odb(), baseView());
    std::vector<unsigned> rows;
    rows.reserve(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const int row = known.find(ids[i]);
        if (row >= 0) rows.push_back(static_cast<unsigned>(row));
    }
    index_.insert_rows(index_.clamped(at), rows);
    return static_cast<int>(rows.size());
}

int ODBViewRep::displayRecordsAt(const CookieSet& ids, int at) {
    CookieVec list(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) list.add(ids[i]);
    return displayRecordsAt(list, at);
}

int ODBViewRep::displayAllFromAt(ODBViewRep* other, int at) {
    if (!odb() || baseView() || !other || other->db() != odb() || other->size() == 0) return 0;
    const unsigned rows = odb()->get_num_records();
    std::vector<bool> shown(rows);
    for (const ODBRecRef& entry : index_) {
        if (entry.row < rows) shown[entry.row] = true;
    }
    std::vector<unsigned> added;
    for (const ODBRecRef& entry : other->index_) {
        if (entry.row >= rows || shown[entry.row]) continue;
        shown[entry.row] = true;
        added.push_back(entry.row);
    }
    index_.insert_rows(index_.clamped(at), added);
    return static_cast<int>(added.size());
}

int ODBViewRep::displayAllFromAt(const ODBView& other, int at) { return displayAllFromAt(other.get(), at); }

void ODBViewRep::append(int baseRow) {
    if (db() && baseRow >= 0) index_.append(static_cast<unsigned>(baseRow));
}

void ODBViewRep::clear() noexcept { index_.clear(); }
