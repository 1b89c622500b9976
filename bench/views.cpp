// Views under load, beside flat lists and SQLite in memory. Under each deletion stand three stacked views: the records
// that match a query (19 of 20), those sorted by name, and every second one of these.
//
//     delete_a_run_of_1000            1,000 neighbouring rows deleted from the table; every view repaired
//     delete_5000_scattered           tagged rows, anywhere, deleted from the table; every view repaired
//     delete_10000_scattered          the same; left out where it would be the whole table
//     sort_a_view                     the first of the three by name; the table keeps its order
//     show_100000_identifiers         displayRecordsAt at the front of a view that shows every row; the index of
//                                     identifiers is there already
//     show_all_from_another_view      displayAllFromAt of two views of 100,000 rows each
//     remove_every_second             removeNonTagged on the uppermost of the three
//
// Small logs take half as many rows where the log has fewer. The "single pass" is the least that such a deletion can be
// on flat lists: the same scan for tags, the same records freed and pointers moved up, and three arrays of entries
// renumbered once. SQLite deletes the rows by rowid and reads the second of the three views again through an index that
// holds all it needs for that; to sort, it has none.

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "bench/log_data.h"
#include "bench/peers.h"
#include "bench/rows.h"
#include "keldb/search/record_order.h"
#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"

namespace bench {
namespace {

constexpr const char* kSinglePass = "single pass";
constexpr const char* kMatched = "master";  // in the type

std::unique_ptr<keldb> load(unsigned records) {
    return std::make_unique<keldb>(WStringFromAscii(log_file(records).c_str()), 2000000000, false);
}

// Some rows of a table, each once, in random order.
std::vector<unsigned> random_rows(unsigned records, unsigned count, unsigned seed) {
    std::vector<unsigned> rows(records);
    std::iota(rows.begin(), rows.end(), 0U);
    std::shuffle(rows.begin(), rows.end(), std::mt19937(seed));
    rows.resize(std::min(count, records / 2));
    return rows;
}

// --- The three views ---

struct Stack {
    explicit Stack(unsigned records) : table(load(records)), matching(table.get()) {
        std::vector<TextSearch::Criteria> criteria(kFields);
        criteria[kType] = TextSearch::Criteria(TextSearch::Criterion(kMatched, TextSearch::kContains));
        table->setQuery(criteria);
        matching->displayAllRecords();
        matching->tagMatches(0);
        matching->removeNonTagged();
        sorted = ODBView(matching->newTagSubview());
        sorted->set_sortfield(kName);
        sorted->sort(0, 0);
        for (int i = 0; i < sorted->size(); i += 2) sorted->set_tag(static_cast<unsigned>(i), 1);
        second = ODBView(sorted->newTagSubview());
        require(second->size() > static_cast<int>(records) * 2 / 5, "stacking views");
    }

    std::unique_ptr<keldb> table;
    ODBView matching, sorted, second;
};

// The same as flat lists.
struct Lists {
    struct Entry {
        unsigned row;
        bool tag;
    };
    using Entries = std::vector<Entry>;

    explicit Lists(const Stack& stack)
        : matching(entries(stack.matching)), sorted(entries(stack.sorted)), second(entries(stack.second)) {
        for (unsigned row = 0; row < stack.table->get_num_records(); ++row) {
            records.push_back(copy_of(*stack.table->get_record(row)));
        }
    }
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;
    ~Lists() {
        for (const dbrecord* record : records) delete record;
    }

    // In one block of memory, as a loaded record is.
    static dbrecord* copy_of(const dbrecord& record) {
        kel::ValueBuilder values;
        for (unsigned field = 0; field < record.get_num_fields(); ++field) values.append(record.field_text(field));
        dbrecord* copy = dbrecord::make_packed(values);
        copy->set_tag(record.get_tag());
        return copy;
    }
    static Entries entries(const ODBView& view) {
        Entries all;
        for (int i = 0; i < view->size(); ++i) all.push_back({view->recRef(i)->row, view->recRef(i)->tag});
        return all;
    }

    void delete_tagged();
    void delete_run(unsigned start, unsigned count);
    void remove_non_tagged();
    void renumber_from(const std::vector<int>& new_rows);

    std::vector<dbrecord*> records;
    Entries matching, sorted, second;
};

// Where a row stands now, by where it stood; -1 for those that are gone.
using NewRows = std::vector<int>;

// Drops and renumbers the entries by what became of the rows below them; says what became of the entries.
NewRows renumber(Lists::Entries& entries, const NewRows& below) {
    NewRows new_rows(entries.size(), -1);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const int row = below[entries[i].row];
        if (row < 0) continue;
        new_rows[i] = static_cast<int>(kept);
        entries[kept++] = {static_cast<unsigned>(row), entries[i].tag};
    }
    entries.resize(kept);
    return new_rows;
}

void Lists::renumber_from(const NewRows& new_rows) { renumber(second, renumber(sorted, renumber(matching, new_rows))); }

void Lists::delete_tagged() {
    NewRows new_rows(records.size(), -1);
    std::size_t kept = 0;
    for (std::size_t row = 0; row < records.size(); ++row) {
        if (records[row]->get_tag() == 1) {
            delete records[row];
        } else {
            new_rows[row] = static_cast<int>(kept);
            records[kept++] = records[row];
        }
    }
    records.resize(kept);
    renumber_from(new_rows);
}

void Lists::delete_run(unsigned start, unsigned count) {
    const auto first = records.begin() + static_cast<std::ptrdiff_t>(start), last = first + static_cast<int>(count);
    NewRows new_rows(records.size(), -1);
    std::iota(new_rows.begin(), new_rows.begin() + static_cast<std::ptrdiff_t>(start), 0);
    std::iota(new_rows.begin() + static_cast<std::ptrdiff_t>(start + count), new_rows.end(), static_cast<int>(start));
    std::for_each(first, last, [](const dbrecord* record) { delete record; });
    records.erase(first, last);
    renumber_from(new_rows);
}

void Lists::remove_non_tagged() {
    std::vector<bool> gone(matching.size());
    for (const Entry& entry : second) {
        if (!entry.tag) gone[sorted[entry.row].row] = true;
    }
    NewRows new_rows(matching.size(), -1);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < matching.size(); ++i) {
        if (gone[i]) continue;
        new_rows[i] = static_cast<int>(kept);
        matching[kept++] = matching[i];
    }
    matching.resize(kept);
    renumber(second, renumber(sorted, new_rows));
}

// --- SQLite ---

Database& database(unsigned records) {
    static std::unique_ptr<Database> database;
    static unsigned held = 0;
    if (held != records) {
        database = std::make_unique<Database>(read_plainly(log_file(records)));
        database->execute("CREATE INDEX names ON clips (Name COLLATE NOCASE, Type)");
        database->execute("CREATE TABLE doomed (id INTEGER PRIMARY KEY)");
        held = records;
    }
    return *database;
}

std::string sorted_view(const std::string& index) {
    return std::string("SELECT rowid FROM clips ") + index + " WHERE Type LIKE '%" + kMatched +
           "%' ORDER BY Name COLLATE NOCASE";
}

double timed_sqlite_deletion(unsigned records, const std::vector<unsigned>& rows) {
    Database& clips = database(records);
    clips.execute("BEGIN");
    {
        Statement insert = clips.prepare("INSERT INTO doomed VALUES (?)");
        for (const unsigned row : rows) insert.bind(1, row + 1LL), insert.run();
    }
    Statement select = clips.prepare(sorted_view("INDEXED BY names"));
    const double took = seconds([&] {
        clips.execute("DELETE FROM clips WHERE rowid IN (SELECT id FROM doomed)");
        require(select.run() > 0, "deriving a view");
    });
    clips.execute("ROLLBACK");
    return took;
}

// --- The rows ---

void add_run_deletion(unsigned records) {
    const std::string work = "delete_a_run_of_1000";
    const unsigned start = records / 2, count = std::min(1000U, records / 2);
    add_timing(work, kOurs, records, [=] {
        const Stack stack(records);
        const double took = seconds([&] { stack.table->delete_records(start, count); });
        require(stack.table->get_num_records() == records - count, "deleting a run");
        return took;
    });
    add_timing(work, kSinglePass, records, [=] {
        Lists lists{Stack(records)};
        return seconds([&] { lists.delete_run(start, count); });
    });
    add_timing(work, kSqlite, records, [=] {
        std::vector<unsigned> rows(count);
        std::iota(rows.begin(), rows.end(), start);
        return timed_sqlite_deletion(records, rows);
    });
}

void add_scattered_deletion(const std::string& work, unsigned records, unsigned count) {
    const auto tagged_stack = [=] {
        auto stack = std::make_unique<Stack>(records);
        stack->table->set_all_tags(0);
        for (const unsigned row : random_rows(records, count, 11)) stack->table->set_tag(row, 1);
        return stack;
    };
    add_timing(work, kOurs, records, [=] {
        const auto stack = tagged_stack();
        int deleted = 0;
        const double took = seconds([&] { deleted = stack->table->delete_tagged_records(); });
        require(deleted == static_cast<int>(count), "deleting tagged records");
        return took;
    });
    add_timing(work, kSinglePass, records, [=] {
        const auto stack = tagged_stack();
        Lists lists(*stack);
        const double took = seconds([&] { lists.delete_tagged(); });
        stack->table->delete_tagged_records();
        require(stack->second->size() == static_cast<int>(lists.second.size()), "deleting in one pass");
        return took;
    });
    add_timing(work, kSqlite, records, [=] { return timed_sqlite_deletion(records, random_rows(records, count, 11)); });
}

void add_sort(unsigned records) {
    const std::string work = "sort_a_view";
    add_timing(work, kOurs, records, [=] {
        const Stack stack(records);
        return seconds([&] { stack.matching->sort(0, 0); });
    });
    add_timing(work, "std::stable_sort", records, [=] {
        const Stack stack(records);
        Lists::Entries entries = Lists::entries(stack.matching);
        stack.table->sortPrepare(0, 0);
        return seconds([&] {
            std::stable_sort(entries.begin(), entries.end(), [&](const Lists::Entry& a, const Lists::Entry& b) {
                return kel::compare_ascending(*stack.table->get_record(a.row), *stack.table->get_record(b.row)) < 0;
            });
        });
    });
    add_timing(work, kSqlite, records, [=] {
        Statement select = database(records).prepare(sorted_view("NOT INDEXED"));
        return seconds([&] { require(select.run() > 0, "ORDER BY"); });
    });
}

void add_show_identifiers(unsigned records) {
    const std::string work = "show_100000_identifiers";
    const std::vector<unsigned> wanted = random_rows(records, 100000, 13);
    add_timing(work, kOurs, records, [=] {
        const auto table = load(records);
        const ODBView view(table.get());
        view->displayAllRecords();
        CookieVec ids;
        for (const unsigned row : wanted) ids.add(Cookie(table->get_record(row)->get_field(kCookie), false));
        table->getRowIndexByID(ids[0]);
        int shown = 0;
        const double took = seconds([&] { shown = view->displayRecordsAt(ids, 0); });
        require(shown == static_cast<int>(wanted.size()), "showing identifiers");
        return took;
    });
    add_timing(work, "std::unordered_map, vector", records, [=] {
        const auto table = load(records);
        Lists::Entries entries(records);
        for (unsigned row = 0; row < records; ++row) entries[row] = {row, false};
        std::unordered_map<std::string, unsigned> rows;
        for (unsigned row = 0; row < records; ++row) rows.emplace(table->get_record(row)->field_text(kCookie), row);
        std::vector<std::string> ids;
        for (const unsigned row : wanted) ids.emplace_back(table->get_record(row)->field_text(kCookie));
        return seconds([&] {
            Lists::Entries shown;
            for (const std::string& id : ids) {
                const auto found = rows.find(id);
                if (found != rows.end()) shown.push_back({found->second, false});
            }
            entries.insert(entries.begin(), shown.begin(), shown.end());
        });
    });
}

void add_show_all_from(unsigned records) {
    const std::string work = "show_all_from_another_view";
    const std::vector<unsigned> some = random_rows(records, 100000, 17), others = random_rows(records, 100000, 19);
    add_timing(work, kOurs, records, [=] {
        const auto table = load(records);
        const ODBView view(table.get()), other(table.get());
        for (const unsigned row : some) view->append(static_cast<int>(row));
        for (const unsigned row : others) other->append(static_cast<int>(row));
        return seconds([&] { require(view->displayAllFromAt(other, 0) > 0, "showing from another view"); });
    });
    add_timing(work, "std::unordered_set, vector", records, [=] {
        Lists::Entries entries, other;
        for (const unsigned row : some) entries.push_back({row, false});
        for (const unsigned row : others) other.push_back({row, false});
        return seconds([&] {
            std::unordered_set<unsigned> shown;
            for (const Lists::Entry& entry : entries) shown.insert(entry.row);
            Lists::Entries added;
            for (const Lists::Entry& entry : other) {
                if (shown.insert(entry.row).second) added.push_back(entry);
            }
            entries.insert(entries.begin(), added.begin(), added.end());
        });
    });
}

void add_removal(unsigned records) {
    const std::string work = "remove_every_second";
    const auto tagged_stack = [=] {
        auto stack = std::make_unique<Stack>(records);
        for (int i = 0; i < stack->second->size(); i += 2) stack->second->set_tag(static_cast<unsigned>(i), 1);
        return stack;
    };
    add_timing(work, kOurs, records, [=] {
        const auto stack = tagged_stack();
        return seconds([&] { require(stack->second->removeNonTagged() > 0, "removing"); });
    });
    add_timing(work, kSinglePass, records, [=] {
        const auto stack = tagged_stack();
        Lists lists(*stack);
        const double took = seconds([&] { lists.remove_non_tagged(); });
        stack->second->removeNonTagged();
        require(stack->matching->size() == static_cast<int>(lists.matching.size()), "removing in one pass");
        return took;
    });
}

void add_rows(unsigned records) {
    add_run_deletion(records);
    add_scattered_deletion("delete_5000_scattered", records, 5000);
    if (records >= 20000) add_scattered_deletion("delete_10000_scattered", records, 10000);
    add_sort(records);
    add_show_identifiers(records);
    add_show_all_from(records);
    add_removal(records);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) { return bench::run(argc, argv, bench::add_rows); }
