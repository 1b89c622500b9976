// Every row, field and count argument with values inside, at the edge and absurd, on tables around the size of a chunk.
// Whatever is refused, or ends in bad_alloc, leaves the table as it was.
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
    table.clear_changed();
    return table;
}

std::vector<unsigned> arguments(unsigned n) {
    return {0, 1, n - 1, n, n + 1, 65535, 65536, 65537, INT_MAX, 1U << 31, UINT_MAX};
}

struct Operation {
    const char* name;
    int refused;  // the result then; any other result is taken as done
    int (*run)(keldb& t, unsigned n);
};
const Operation kOfARow[] = {
    {"in_field", 0, [](auto& t, unsigned n) { return t.in_field(n, 0, std::string(1, '?').data(), 1); }},
    {"getField", 0, [](auto& t, unsigned n) { return +!t.getField(n, 0).empty(); }},
    {"get_record", 0, [](auto& t, unsigned n) { return +(t.get_record(n) != nullptr); }},
    {"copy from", 0, [](auto& t, unsigned n) { return t.copy_record(0, &t, static_cast<int>(n)), t.get_changed(); }},
    {"copy to", 0, [](auto& t, unsigned n) { return t.copy_record(static_cast<int>(n), &t, 0), t.get_changed(); }},
};
const Operation kOfAField[] = {
    {"read", 0, [](auto& t, unsigned n) { return t.setField(0, n, "1"), +(t.getField(0, n) == "1"); }},
    {"get_fieldname", 0, [](auto& t, unsigned n) { return +(*t.get_fieldname(n) != 0); }},
    {"get_field_type", 0, [](auto& t, unsigned n) { return static_cast<int>(t.get_field_type(n)); }},
    {"get_fieldsize", 0, [](auto& t, unsigned n) { return t.setField(0, n, "1"), t.get_fieldsize(n); }},
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
    keldb table = table_with(1);
    double real = 7;
    int number = 7;
    EXPECT_EQ(table.in_field(0, 2, real) + table.in_field(0, 2, number), 0);  // an empty value
    EXPECT_TRUE(real == 7 && number == 7);
}

std::vector<std::string> names_of(keldb& table) {
    std::vector<std::string> names;
    for (unsigned i = 0; i < table.get_num_records(); ++i) names.emplace_back(table[i].field_text(0));
    return names;
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
            keldb added = table_with(rows);
            std::vector<std::string> twin = names_of(added);
            if (done(count, [&] { EXPECT_EQ(added.add_records(static_cast<int>(count)), static_cast<int>(rows)); }))
                twin.resize(count <= INT_MAX ? rows + count : rows);
            EXPECT_TRUE(names_of(added) == twin && added.ok()) << rows << " rows, " << count;
            for (const unsigned at : arguments(rows)) {
                SCOPED_TRACE(std::to_string(rows) + " rows, " + std::to_string(at) + ", " + std::to_string(count));
                keldb table = table_with(rows);
                twin = names_of(table);
                table.delete_records(at, count);
                if (at < rows) twin.erase(twin.begin() + at, twin.begin() + at + std::min(count, rows - at));
                EXPECT_TRUE(names_of(table) == twin && table.ok());
                if (count > 65000 && at != 0 && at != rows) continue;
                if (done(count, [&] { table.insert_records(at, count); }))
                    twin.insert(twin.begin() + std::min<long>(at, static_cast<long>(twin.size())), count, "");
                EXPECT_TRUE(names_of(table) == twin && table.ok());
            }
        }
    }
}

}  // namespace
