// A view's own tags, and subviews of the tagged entries.

#include <algorithm>
#include <memory>

#include "keldb/search/record_order.h"
#include "keldb/support/ascii.h"
#include "keldb/table/keldb.h"
#include "keldb/views/held_view.h"
#include "keldb/views/odb_view.h"

bool ODBViewRep::tag(int position) { return index_.holds(position) && index_[position].tag; }

void ODBViewRep::tagAll(bool value) {
    if (!db()) return;
    for (ODBRecRef& entry : index_) entry.tag = value;
}

void ODBViewRep::invertAllTags() {
    if (!db()) return;
    for (ODBRecRef& entry : index_) entry.tag = !entry.tag;
}

int ODBViewRep::countTags() const {
    if (!db()) return 0;
    return static_cast<int>(std::count_if(index_.begin(), index_.end(), [](const ODBRecRef& e) { return e.tag; }));
}

int ODBViewRep::tagMatches(int keep) {
    if (!db()) return 0;
    std::vector<bool> matches(entry_count());  // all before the first tag changes: asking may run out of memory
    std::transform(index_.begin(), index_.end(), matches.begin(), [base = db()](const ODBRecRef& entry) {
        return base->match_record(static_cast<int>(entry.row)) == 1;
    });
    for (int position = 0; position < size(); ++position) {
        if (matches[static_cast<std::size_t>(position)])
            set_tag(static_cast<unsigned>(position), 1);
        else if (keep == 0)
            index_[position].tag = false;
    }
    return static_cast<int>(std::count(matches.begin(), matches.end(), true));
}

// --- Duplicates ---

std::vector<const dbrecord*> ODBViewRep::records() const {
    std::vector<const dbrecord*> records(entry_count());
    std::transform(index_.begin(), index_.end(), records.begin(),
                   [base = db()](const ODBRecRef& entry) { return base->get_record(entry.row); });
    return records;
}

namespace {

// The value of a field; empty for no record and no such field.
std::string_view value_of(const dbrecord* record, int field) {
    return record && field >= 0 ? record->field_text(static_cast<unsigned>(field)) : std::string_view();
}

}  // namespace

int ODBViewRep::tagDuplicatesOrdered(int field) {
    if (!db() || size() < 2) return 0;
    const std::vector<const dbrecord*> all = records();
    int tagged = 0;
    const dbrecord* first = all[0];
    for (unsigned i = 1; i < all.size(); ++i) {
        if (kel::equal_ignoring_case(value_of(all[i], field), value_of(first, field))) {
            set_tag(i, 1);
            ++tagged;
        } else {
            first = all[i];
        }
    }
    return tagged;
}

int ODBViewRep::tagDuplicates(int field) {
    if (!db()) return 0;
    db()->set_sortfield(field);
    db()->sortPrepare(1, 0);
    const std::vector<const dbrecord*> all = records();
    const std::vector<std::uint32_t> order = kel::sorted_order(all, 1);
    tagAll(false);
    int tagged = 0;
    for (std::size_t k = 1, first = 0; k < order.size(); ++k) {
        if (kel::equal_ignoring_case(value_of(all[order[k]], field), value_of(all[order[first]], field))) {
            set_tag(order[k], 1);
            ++tagged;
        } else {
            first = k;
        }
    }
    return tagged;
}

// --- Subviews and the base's tags ---

ODBViewRep* ODBViewRep::newTagSubview() {
    if (!odb()) return nullptr;
    const kel::HeldView held(this);
    auto made = std::make_unique<ODBViewRep>(odb(), fieldSpec());
    if (!fieldSpec()) made->fieldSpec(nullptr);
    made->baseView(this);
    made->displayTaggedRecordsAt(0);
    return made.release();
}

void ODBViewRep::tagBaseFromTags() {
    if (!db()) return;
    for (const ODBRecRef& entry : index_) db()->set_tag(entry.row, entry.tag ? 1 : 0);
}

void ODBViewRep::setupViewTagsFromKeldbTagField() {
    if (!db()) return;
    const kel::HeldView held(this);
    displayAllRecords();
    const int field = db() ? db()->get_fieldnum("Tag") : -1;
    if (field < 0) return;
    for (ODBRecRef& entry : index_) {
        const dbrecord* record = db()->get_record(entry.row);
        entry.tag = kel::read_int(value_of(record, field)) != 0;
    }
}

void ODBViewRep::displayAllRecordsWithBaseTagStatus() {
    if (!db()) return;
    const kel::HeldView held(this);
    displayAllRecords();
    if (!db() || db()->get_fieldnum("Tag") < 0) return;
    for (ODBRecRef& entry : index_) entry.tag = db()->get_tag(entry.row) != 0;
}
