// Every row, field and count argument with values inside, at the edge and absurd, on tables around the size of a chunk.
// Whatever is refused leaves the table as it was; a count for which there is no memory ends in bad_alloc, and the table
// is as it was too.
#include <gtest/gtest.h>

#include <climits>

#include "tests/testing/allocation_faults.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::table_of;
using testing_kit::text_of;

constexpr unsigned kSizes[] = {0, 1, 499, 500, 501};
constexpr unsigned kFieldCount = 3;

keldb table_with(unsigned rows) {
    keldb table = table_of("name:a Cookie:a Start~time:t");
    table.add_records(static_cast<int>(rows));
    for (unsigned i = 0; i < rows; ++i) table.setField(i, 0, String(std::to_string(i)));
    for (unsigned i = 0; i < rows; i += 3) table.set_tag(i, 1);
    table.clear_changed();
    dbrecord any(kFieldCount);
    table.set_query(&any);
    return table;
}

std::vector<unsigned> arguments(unsigned n) {
    return {0, 1, n - 1, n, n + 1, 65535, 65536, 65537, INT_MAX, 1U << 31, UINT_MAX};
}

struct Operation {
    const char* name;
    long refused;  // the result then; any other result is taken as done
    long (*run)(keldb& t, unsigned n);
};
const Operation kOfARow[] = {
    {"set text", 0, [](keldb& t, unsigned n) -> long { return t.set_field(n, 0, "x"); }},
    {"set id", 0, [](keldb& t, unsigned n) -> long { return t.set_field(n, Cookie("M1", false)); }},
    {"setField", 0, [](keldb& t, unsigned n) -> long { return t.setField(n, 0, "y"); }},
    {"read text", 0,
     [](keldb& t, unsigned n) -> long {
         char out[2];
         return t.in_field(n, 0, out, 1);
     }},
    {"getField", 0, [](keldb& t, unsigned n) -> long { return !t.getField(n, 0).empty(); }},
    {"get_record", 0, [](keldb& t, unsigned n) -> long { return t.get_record(n) != nullptr; }},
    {"set_tag", -1, [](keldb& t, unsigned n) -> long { return t.set_tag(n, 1), t.get_tag(n); }},
    {"invert_tag", -1, [](keldb& t, unsigned n) -> long { return t.invert_tag(n), t.get_tag(n); }},
    {"match", -1, [](keldb& t, unsigned n) -> long { return t.match_record(static_cast<int>(n)); }},
    {"copy from", 0,
     [](keldb& t, unsigned n) -> long { return t.copy_record(0, &t, static_cast<int>(n)), t.get_changed(); }},
    {"copy to", 0,
     [](keldb& t, unsigned n) -> long { return t.copy_record(static_cast<int>(n), &t, 0), t.get_changed(); }},
};
const Operation kOfAField[] = {
    {"set text", 0, [](keldb& t, unsigned n) -> long { return t.set_field(0, n, "x"); }},
    {"set double", 0, [](keldb& t, unsigned n) -> long { return t.set_field(0, n, 1.5); }},
    {"read", 0, [](keldb& t, unsigned n) -> long { return t.setField(0, n, "1"), t.getField(0, n) == "1"; }},
    {"get_fieldname", 0, [](keldb& t, unsigned n) -> long { return *t.get_fieldname(n) != 0; }},
    {"get_field_type", 0, [](keldb& t, unsigned n) -> long { return t.get_field_type(n); }},
    {"set_fieldtype", 0, [](keldb& t, unsigned n) -> long { return t.set_fieldtype(n, DBFieldTypes::date); }},
    {"set_fieldname", 0, [](keldb& t, unsigned n) -> long { return t.set_fieldname(n, "z"); }},
    {"get_fieldsize", 0, [](keldb& t, unsigned n) -> long { return t.setField(0, n, "1"), t.get_fieldsize(n) > 0; }},
};

void try_all(const Operation& operation, unsigned rows, unsigned limit) {
    for (const unsigned argument : arguments(limit)) {
        SCOPED_TRACE(std::string(operation.name) + " " + std::to_string(argument) + " of " + std::to_string(rows));
        keldb table = table_with(rows);
        const std::string before = text_of(table);
        const bool refused = operation.run(table, argument) == operation.refused;
        EXPECT_EQ(refused, argument >= limit);
        EXPECT_TRUE(!refused || (text_of(table) == before && table.get_changed() == 0));
        EXPECT_TRUE(table.ok());
    }
}

TEST(Arguments, NamingRowsAndFields) {
    for (const unsigned rows : kSizes) {
        for (const Operation& operation : kOfARow) try_all(operation, rows, rows);
    }
    for (const Operation& operation : kOfAField) try_all(operation, 1, kFieldCount);
    for (const unsigned field : arguments(kFieldCount)) {
        keldb table = table_with(5);
        table.set_sortfield(static_cast<int>(field));
        table.sort(1, 0);
        table.sort(-1, 0);
        EXPECT_EQ(table.tag_all_different(static_cast<int>(field)), field == 0 ? 5 : 0) << field;
    }
}

// `twin` holds each record's address, null for one that is new.
void expect_rows(keldb& table, const std::vector<const dbrecord*>& twin) {
    ASSERT_EQ(table.get_num_records(), twin.size());
    for (unsigned i = 0; i < twin.size(); ++i) {
        if (twin[i] ? table.get_record(i) != twin[i] : !table[i].is_blank()) FAIL() << "row " << i;
    }
    EXPECT_TRUE(table.ok());
}

std::vector<const dbrecord*> rows_of(keldb& table) {
    std::vector<const dbrecord*> rows;
    for (unsigned i = 0; i < table.get_num_records(); ++i) rows.push_back(table.get_record(i));
    return rows;
}

// Whether the change was made; it is refused by bad_alloc, and for absurd counts alone.
template <class Change>
bool done(unsigned count, const Change& change) {
    try {
        change();
        return true;
    } catch (const std::bad_alloc&) {
        EXPECT_GT(count, testing_kit::kLargestBlock / 64);
        return false;
    }
}

TEST(Arguments, CountsAndPositions) {
    EXPECT_GE(testing_kit::live_blocks(), 0);  // brings in the operators that refuse absurd requests
    for (const unsigned rows : kSizes) {
        for (const unsigned count : arguments(rows)) {
            for (const unsigned at : arguments(rows)) {
                SCOPED_TRACE(std::to_string(rows) + " rows, " + std::to_string(at) + ", " + std::to_string(count));
                keldb table = table_with(rows);
                std::vector<const dbrecord*> twin = rows_of(table);
                table.delete_records(at, count);
                if (at < rows) twin.erase(twin.begin() + at, twin.begin() + at + std::min(count, rows - at));
                expect_rows(table, twin);
                if (count > 65000 && at != 0 && at != rows) continue;
                if (done(count, [&] { table.insert_records(at, count); }))
                    twin.insert(twin.begin() + std::min<long>(at, static_cast<long>(twin.size())), count, nullptr);
                expect_rows(table, twin);
            }
            keldb table = table_with(rows);
            std::vector<const dbrecord*> twin = rows_of(table);
            if (done(count, [&] { EXPECT_EQ(table.add_records(static_cast<int>(count)), static_cast<int>(rows)); }))
                twin.resize(count <= INT_MAX ? rows + count : rows);
            expect_rows(table, twin);
        }
    }
}

}  // namespace
