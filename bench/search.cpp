// Sorting, matching, looking up and schema editing of a whole table, beside the obvious versions and SQLite in memory.
//
//     sort_by_name                    a text of words and numbers; the table was sorted by something else before, as by
//     a
//                                     click on another column. SQLite: ORDER BY ... COLLATE NOCASE
//     sort_by_start_timecode          a timecode, likewise
//     sort_by_reel_then_start         a short text with many repeats, then the timecode, likewise
//     sort_the_log_by_...             the same three from the order in which the clips were logged: along each tape
//     query_two_fields                records whose crew and description hold two words, tagged. Beside it each record
//                                     matched on its own with matchField; strcasestr on the two values, the crew (which
//                                     holds in one record of seven) first; SQLite: LIKE
//     identifier_index                the map from identifiers to rows, made from nothing; SQLite: CREATE INDEX
//     identifier_look_ups             as many look-ups as there are records, in random order
//     add_a_field                     an empty field added to every record; SQLite only notes it down (ALTER TABLE)
//
// std::stable_sort orders pointers to the same records by the library's own comparison. The maps hold copies of the
// identifiers, with room reserved where a map has that.

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/log_data.h"
#include "bench/peers.h"
#include "bench/rows.h"
#include "keldb/search/record_order.h"
#include "keldb/table/keldb.h"

namespace bench {
namespace {

constexpr const char* kCrewWanted = "berg";
constexpr const char* kDescriptionWanted = "crane";

std::unique_ptr<keldb> load(unsigned records) {
    return std::make_unique<keldb>(WStringFromAscii(log_file(records).c_str()), 2000000000, false);
}

// The log as loaded. No row changes it; those that would load a table of their own.
keldb& log_table(unsigned records) {
    static std::unique_ptr<keldb> table;
    if (!table || table->get_num_records() != records) table = load(records);
    return *table;
}

Database& database(unsigned records) {
    static std::unique_ptr<Database> database;
    static unsigned held = 0;
    if (held != records) database = std::make_unique<Database>(read_plainly(log_file(records)));
    held = records;
    return *database;
}

std::string quoted(unsigned field) { return std::string("\"") + kFieldNames[field] + '"'; }

// --- Sorting ---

// The table and its records' memory in the order of the identifiers, which says nothing about any other field; or as
// loaded, in the order of the log.
enum class Before { other_order, log_order };

std::unique_ptr<keldb> table_before(Before before, unsigned records) {
    auto table = load(records);
    table->set_sortfield(kCookie);
    if (before == Before::other_order) table->sort(0, 0);
    return table;
}

std::string clips_before(Before before, unsigned records) {
    if (before == Before::log_order) return "clips";
    database(records).execute("CREATE TABLE IF NOT EXISTS mixed AS SELECT * FROM clips ORDER BY " + quoted(kCookie));
    return "mixed";
}

void add_sort(const std::string& work, Before before, unsigned records, std::vector<int> keys,
              const std::string& order) {
    keys.push_back(-1);
    add_timing(work, kOurs, records, [=]() mutable {
        const auto table = table_before(before, records);
        table->set_sortfields(keys.data());
        return seconds([&] { table->sort(0, 0); });
    });
    add_timing(work, "std::stable_sort", records, [=]() mutable {
        const auto table = table_before(before, records);
        std::vector<const dbrecord*> sorted(records);
        for (unsigned row = 0; row < records; ++row) sorted[row] = table->get_record(row);
        table->set_sortfields(keys.data());
        table->sortPrepare(0, 0);
        return seconds([&] {
            std::stable_sort(sorted.begin(), sorted.end(),
                             [](const dbrecord* a, const dbrecord* b) { return kel::compare_ascending(*a, *b) < 0; });
        });
    });
    add_timing(work, kSqlite, records, [=] {
        const std::string clips = clips_before(before, records);
        Statement select = database(records).prepare("SELECT rowid FROM " + clips + " ORDER BY " + order);
        return seconds([&] { require(select.run() == static_cast<int>(records), "ORDER BY"); });
    });
}

// --- Query ---

std::vector<TextSearch::Criteria> criteria_for_two_fields() {
    std::vector<TextSearch::Criteria> criteria(kFields);
    criteria[kWho] = TextSearch::Criteria(TextSearch::Criterion(kCrewWanted, TextSearch::kContains));
    criteria[kDescription] = TextSearch::Criteria(TextSearch::Criterion(kDescriptionWanted, TextSearch::kContains));
    return criteria;
}

// `tagged_of` tags the records that match and returns how many there are.
template <class TagMatches>
double timed_query(unsigned records, TagMatches tag_matches) {
    keldb& table = log_table(records);
    table.setQuery(criteria_for_two_fields());
    int matches = 0;
    const double took = seconds([&] { matches = tag_matches(table); });
    require(matches > static_cast<int>(records) / 1000 && table.get_num_tags() == matches, "a query");
    return took;
}

template <class Matches>
int tag_each(keldb& table, Matches matches) {
    int count = 0;
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        dbrecord* record = table.get_record(row);
        const bool matched = matches(record);
        record->set_tag(matched);
        count += matched;
    }
    return count;
}

void add_query(unsigned records) {
    const std::string work = "query_two_fields";
    add_timing(work, kOurs, records,
               [=] { return timed_query(records, [](keldb& table) { return table.tag_matching_records(0); }); });
    add_timing(work, "matchField each", records, [=] {
        const std::vector<TextSearch::Criteria> criteria = criteria_for_two_fields();
        return timed_query(records, [&](keldb& table) {
            return tag_each(table, [&](const dbrecord* record) {
                for (unsigned short field = 0; field < kFields; ++field) {
                    if (!criteria[field].empty() && !table.matchField(record, field, criteria[field])) return false;
                }
                return true;
            });
        });
    });
    add_timing(work, "strcasestr", records, [=] {
        return timed_query(records, [](keldb& table) {
            return tag_each(table, [](const dbrecord* record) {
                return strcasestr(record->get_field(kWho), kCrewWanted) &&
                       strcasestr(record->get_field(kDescription), kDescriptionWanted);
            });
        });
    });
    add_timing(work, kSqlite, records, [=] {
        Statement select =
            database(records).prepare("SELECT rowid FROM clips WHERE " + quoted(kWho) + " LIKE '%" + kCrewWanted +
                                      "%' AND " + quoted(kDescription) + " LIKE '%" + kDescriptionWanted + "%'");
        return seconds([&] { require(select.run() > 0, "LIKE"); });
    });
}

// --- Identifiers ---

std::string identifier(unsigned records, unsigned row) {
    return std::string(log_table(records).get_record(row)->field_text(kCookie));
}

// Every identifier once, in random order, as `Id`.
template <class Id, class Make>
std::vector<Id> wanted_identifiers(unsigned records, Make make) {
    std::vector<unsigned> rows(records);
    std::iota(rows.begin(), rows.end(), 0U);
    std::shuffle(rows.begin(), rows.end(), std::mt19937(7));
    std::vector<Id> ids;
    ids.reserve(records);
    for (const unsigned row : rows) ids.push_back(make(identifier(records, row)));
    return ids;
}

template <class Id, class Find>
double timed_look_ups(const std::vector<Id>& ids, Find find) {
    std::size_t found = 0;
    const double took = seconds([&] {
        for (const Id& id : ids) found += find(id) >= 0;
    });
    require(found == ids.size(), "a look-up");
    return took;
}

template <class Map>
Map map_of(const keldb& table) {
    const unsigned records = table.get_num_records();
    Map rows;
    if constexpr (requires { rows.reserve(records); }) rows.reserve(records);
    for (unsigned row = 0; row < records; ++row)
        rows.emplace(table.get_record(row)->field_text(kCookie), static_cast<int>(row));
    return rows;
}

template <class Map>
void add_map(const std::string& name, unsigned records) {
    add_timing("identifier_index", name, records, [=] {
        const auto table = load(records);
        Map rows;
        return seconds([&] { rows = map_of<Map>(*table); });
    });
    add_timing("identifier_look_ups", name, records, [=] {
        static Map rows;
        if (rows.size() != records) rows = map_of<Map>(log_table(records));
        const auto ids = wanted_identifiers<std::string>(records, [](std::string text) { return text; });
        return timed_look_ups(ids, [&](const std::string& id) {
            const auto found = rows.find(id);
            return found == rows.end() ? -1 : found->second;
        });
    });
}

void add_identifiers(unsigned records) {
    const auto cookie = [](const std::string& text) { return Cookie(text.c_str(), false); };
    add_timing("identifier_index", kOurs, records, [=] {
        const auto table = load(records);
        const Cookie last = cookie(identifier(records, records - 1));
        int row = -1;
        const double took = seconds([&] { row = table->getRowIndexByID(last); });
        require(row == static_cast<int>(records) - 1, "the index");
        return took;
    });
    add_timing("identifier_look_ups", kOurs, records, [=] {
        const keldb& table = log_table(records);
        const auto ids = wanted_identifiers<Cookie>(records, cookie);
        table.getRowIndexByID(ids[0]);
        return timed_look_ups(ids, [&](const Cookie& id) { return table.getRowIndexByID(id); });
    });
    add_map<std::unordered_map<std::string, int>>("std::unordered_map", records);
    add_map<std::map<std::string, int>>("std::map", records);
    add_timing("identifier_index", kSqlite, records, [=] {
        Database& clips = database(records);
        clips.execute("DROP INDEX IF EXISTS ids");
        return seconds([&] { clips.execute("CREATE INDEX ids ON clips (" + quoted(kCookie) + ")"); });
    });
    add_timing("identifier_look_ups", kSqlite, records, [=] {
        Database& clips = database(records);
        clips.execute("CREATE INDEX IF NOT EXISTS ids ON clips (" + quoted(kCookie) + ")");
        const auto ids = wanted_identifiers<std::string>(records, [](std::string text) { return text; });
        Statement select = clips.prepare("SELECT rowid FROM clips WHERE " + quoted(kCookie) + " = ?");
        return timed_look_ups(ids, [&](const std::string& id) {
            select.bind(1, id);
            const long long row = select.step() ? select.number(0) - 1 : -1;
            select.reset();
            return row;
        });
    });
}

// --- Fields ---

void add_field(unsigned records) {
    const std::string work = "add_a_field";
    add_timing(work, kOurs, records, [=] {
        const auto table = load(records);
        return seconds([&] { table->addField({"Checked by", DBFieldTypes::text}); });
    });
    add_timing(work, "vector<vector<string>>", records, [=] {
        PlainRows rows = read_plainly(log_file(records));
        return seconds([&] {
            for (auto& row : rows) row.emplace_back();
        });
    });
    add_timing(work, kSqlite, records, [=] {
        Database& clips = database(records);
        clips.execute("BEGIN");
        const double took = seconds([&] { clips.execute("ALTER TABLE clips ADD COLUMN \"Checked by\" TEXT"); });
        clips.execute("ROLLBACK");
        return took;
    });
}

void add_rows(unsigned records) {
    const std::string no_case = " COLLATE NOCASE", start = quoted(kStart) + no_case;
    for (const Before before : {Before::other_order, Before::log_order}) {
        const std::string sort = before == Before::other_order ? "sort_by_" : "sort_the_log_by_";
        add_sort(sort + "name", before, records, {kName}, quoted(kName) + no_case);
        add_sort(sort + "start_timecode", before, records, {kStart}, start);
        add_sort(sort + "reel_then_start", before, records, {kReel, kStart}, quoted(kReel) + no_case + ", " + start);
    }
    add_query(records);
    add_identifiers(records);
    add_field(records);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) { return bench::run(argc, argv, bench::add_rows); }
