// The two orders of records: exact cases, the laws that every order keeps, and the keyed sort against the plain one.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <numeric>

#include "keldb/search/record_order.h"
#include "tests/testing/random.h"
#include "tests/testing/table_text.h"
#include "tests/testing/texts.h"

namespace {

using testing_kit::Random;
using testing_kit::sign;
using testing_kit::table_of;
using testing_kit::text_of;

// Rows of one table, by their order: all before or beside the next, "=" between equal ones.
struct Order {
    const char* fields;
    std::vector<int> keys;
    int offset;
    int plain;
    int direction;
    const char* records;  // "a < b = c"; sorted so, and the other way round too
};
const Order kOrders[] = {
    {"a:a", {0}, 0, 0, 1, "take 2 < take 10 < Zoo = zoo < "},
    {"a:a", {0}, 0, 1, 1, "take 10 < take 2 < Zoo = zoo < "},
    {"a:a", {0}, 0, 0, -1, "zoo = Zoo < take 2 < take 10 < "},
    {"a:a b:a", {0}, 0, 0, 1, "x,1 < y,1 < ,1 < ,"},               // an empty key before a blank record
    {"a:a b:a", {0, 1}, 0, 0, 1, "x,1 < x,2 < y, < ,2 = ,1 < ,"},  // after empty keys no other is looked at
    {"a:a b:a", {0, 1}, 0, 0, -1, "y, < x,2 < x,1 < ,2 < ,1 < ,"},
    {"tc:t", {0}, 0, 0, 1, "10:00:00:05 = 10:00:00;05 < 10:00:00:24 < 10:00:01:00"},
    {"tc:t", {0}, 3, 1, 1, "10:00:00;24 < 10:00:01:00"},  // the timecode rule comes before offset and flag
    {"tc:T", {0}, 0, 1, 1, "10:00:00:05 < 10:00:00:24 < 10:00:00;05"},
    {"tc:t x:t", {0, 1}, 0, 0, 1, "a:00:00:,10:00:00;05 = a:00:00:,10:00:00:05"},  // the last such key has the rule
    {"a:a", {0}, 3, 0, 1, "cd-aa < ab-zz"},
    {"a:a", {0}, 3, 0, 1, "x = zz < abc0"},  // beyond the end nothing is left
    {"a:a", {0}, -2, 0, 1, "y-09 < x-10 < 9a"},
    {"a:a", {0}, -2, 1, 1, "9a < x-10 < y-09"},  // with the flag the whole value
    {"a:a", {0}, -300, 0, 1, "a < b < c"},
    {"a:a", {0}, INT_MIN, 0, 1, "a < B < c"},
    {"a:a", {0}, INT_MAX, 0, 1, "c = a = B"},
    {"a:a b:a", {0, 9, 1}, 0, 0, 1, "x,2 = x,1 < y,0"},  // a key that names no field ends the list
    {"a:a", {}, 0, 0, 1, "b = a = c"},
};

TEST(Orders, StandAsWritten) {
    for (const Order& row : kOrders) {
        SCOPED_TRACE(row.records);
        keldb table = table_of(row.fields);
        std::vector<int> ranks;
        std::string_view rest = row.records;
        for (int rank = 0;;) {
            const std::size_t end = std::min(rest.find(" <"), rest.find(" ="));
            testing_kit::add_record(table, rest.substr(0, end));
            ranks.push_back(rank);
            if (end == std::string_view::npos) break;
            rank += rest[end + 1] == '<';
            rest.remove_prefix(end + 2);
        }
        std::vector<int> keys = row.keys;
        keys.push_back(-1);
        table.set_sortfields(keys.data());
        table.set_sort_offset(row.offset);
        table.sortPrepare(row.direction, row.plain);
        for (unsigned i = 0; i < ranks.size(); ++i) {
            for (unsigned k = 0; k < ranks.size(); ++k) {
                const int order = row.direction < 0 ? kel::compare_descending(table[i], table[k])
                                                    : kel::compare_ascending(table[i], table[k]);
                EXPECT_EQ(sign(order), sign(ranks[i] - ranks[k])) << i << " and " << k;
            }
        }
    }
    keldb table = table_of("a:a b:a | 1,2");
    int keys[] = {1, 2, 0, -1};
    table.set_sortfields(keys);
    table.sortPrepare(1, 0);
    EXPECT_EQ(keys[1], -1);  // written into the caller's list
    EXPECT_EQ(table.getSortFieldIdx(), 0);
}

TEST(TableSort, MovesTagsAndIsStableAndRenewsWhatDependsOnRows) {
    keldb table = table_of("n:a v:a | *b,1 | a,1 | *B,2 | A,2 | ,3");
    table.set_show_tags_only(1);
    table.sort(1, 0);
    EXPECT_EQ(text_of(table), "n:a v:a | *b,1 | *B,2");
    table.set_show_tags_only(0);
    EXPECT_EQ(text_of(table), "n:a v:a | a,1 | A,2 | *b,1 | *B,2 | ,3");
    table.set_sortfield(1);
    table.sort(-1, 0);
    EXPECT_EQ(text_of(table), "n:a v:a | ,3 | A,2 | *B,2 | a,1 | *b,1");
    EXPECT_EQ(table.get_changed(), 0);
    keldb unprepared;
    unprepared.sort(1, 0);
    EXPECT_TRUE(unprepared.ok());
}

// --- Laws ---

std::vector<std::string> odd_values() {
    std::vector<std::string> values = testing_kit::odd_texts();
    for (const char* timecode : {"10:00:00.05", "10:00:00:04", "10:00:01;00", "01:00:00:00", "10:00:00",
                                 "10:00:00:", "10:00:0a:05", "10:00:0A:05", " 10:00:00:05", "10000005;"}) {
        values.emplace_back(timecode);
    }
    return values;
}

void expect_an_order(const std::vector<std::unique_ptr<dbrecord>>& records,
                     int (*compare)(const dbrecord&, const dbrecord&) noexcept) {
    const std::size_t n = records.size();
    std::vector<signed char> signs(n * n);
    for (std::size_t a = 0; a < n; ++a) {
        for (std::size_t b = 0; b < n; ++b)
            signs[a * n + b] = static_cast<signed char>(sign(compare(*records[a], *records[b])));
    }
    for (std::size_t a = 0; a < n; ++a) {
        ASSERT_EQ(signs[a * n + a], 0) << text_of(*records[a]);
        for (std::size_t b = 0; b < n; ++b) {
            ASSERT_EQ(signs[a * n + b], -signs[b * n + a]) << text_of(*records[a]) << " / " << text_of(*records[b]);
            for (std::size_t c = 0; c < n; ++c) {
                const int ab = signs[a * n + b], bc = signs[b * n + c], ac = signs[a * n + c];
                if (ab > 0 || bc > 0 || ac == std::min(ab, bc)) continue;
                FAIL() << text_of(*records[a]) << " / " << text_of(*records[b]) << " / " << text_of(*records[c]);
            }
        }
    }
}

// Every value alone; and pairs of fewer, both fields being keys.
std::vector<std::unique_ptr<dbrecord>> records_for_laws(bool pairs) {
    std::vector<std::unique_ptr<dbrecord>> records;
    const std::vector<std::string> few = {"", " ", "a", "A", "take 2", "take 02", "10:00:00:05", "10:00:00;05"};
    for (const std::string& first : pairs ? few : odd_values()) {
        for (const std::string& second : pairs ? few : std::vector<std::string>{""}) {
            records.push_back(std::make_unique<dbrecord>(static_cast<unsigned short>(pairs ? 2 : 1)));
            records.back()->set_field(0, first, false);
            if (pairs) records.back()->set_field(1, second, false);
        }
    }
    return records;
}

TEST(OrderLaws, HoldForEveryTripleAndSetting) {
    for (const bool pairs : {false, true}) {
        const auto records = records_for_laws(pairs);
        for (const char type : {'t', 'T', 'a'}) {
            keldb table = table_of(std::string("x:") + type + (pairs ? " y:a" : ""));
            int keys[] = {0, pairs ? 1 : -1, -1};
            table.set_sortfields(keys);
            for (const int offset : {0, 3, -2, -300, INT_MIN, INT_MAX}) {
                for (const int plain : {0, 1}) {
                    SCOPED_TRACE(std::string(1, type) + " " + std::to_string(offset) + " " + std::to_string(plain));
                    table.set_sort_offset(offset);
                    table.sortPrepare(1, plain);
                    ASSERT_NO_FATAL_FAILURE(expect_an_order(records, kel::compare_ascending));
                    ASSERT_NO_FATAL_FAILURE(expect_an_order(records, kel::compare_descending));
                }
            }
        }
    }
}

// --- The keyed sort ---

// Values that keep the words of sort keys equal for long, or nearly so: common starts longer than all words, runs of
// digits with and without leading zeros, case pairs, timecodes in their usual form and in others, blanks.
std::string value_for_sorting(Random& random, unsigned kind) {
    const std::string number = std::string(random.below(3), '0') + std::to_string(random.below(120));
    switch (kind) {
    case 0:
        return std::string(30 + random.below(6), random.one_in(2) ? 'p' : 'P') + number;
    case 1:
        return (random.one_in(2) ? "take " : "Take ") + number + (random.one_in(3) ? "a" : "");
    case 2: {
        char text[32];
        std::snprintf(text, sizeof text, "10:%02u:%02u%c%02u", random.below(3), random.below(4),
                      random.one_in(4) ? ';' : ':', random.below(25));
        return random.one_in(400) ? " " + std::string(text, 8) : text;
    }
    case 3:
        return random.of(testing_kit::odd_texts());
    case 4:
        return std::string(random.below(40), '7') + std::string(random.below(2), ' ') + number;
    case 5:  // a run of zeros where a word of a key ends
        return std::string("abcdefghijklmnopqrstuvwxyz").substr(0, 5 + random.below(20)) +
               std::string(random.below(3), '0') + (random.one_in(2) ? "x" : "y") + (random.one_in(2) ? "" : number);
    case 6:
        return std::string(240 + random.below(30), '9') + number;  // runs too long for one byte of length
    default:
        return std::string(random.below(4), ' ') + static_cast<char>(random.one_in(9) ? 0 : 'a' + random.below(4));
    }
}

TEST(KeyedSort, EqualsAStableSortByTheComparison) {
    const std::vector<unsigned> sizes = {0, 1, 2, 12, 13, 40, 700, 767, 768, 2000, 5000};
    unsigned runs = 0;
    for (unsigned seed = 0; seed < 130; ++seed) {
        Random random(seed);
        const unsigned fields = 3;
        keldb table = table_of(random.one_in(2) ? "a:a b:t c:T" : "a:t b:a c:a");
        table.add_records(static_cast<int>(sizes[seed % sizes.size()]));
        unsigned kinds[fields];
        for (unsigned& kind : kinds) kind = random.below(9);
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            for (unsigned i = 0; i < fields; ++i) {
                const unsigned kind = kinds[i] == 8 ? random.below(8) : kinds[i];
                if (!random.one_in(30)) table.setField(row, i, String(value_for_sorting(random, kind)));
            }
        }
        int keys[] = {static_cast<int>(random.below(fields)), static_cast<int>(random.below(fields)),
                      random.one_in(3) ? -1 : static_cast<int>(random.below(fields)), -1};
        table.set_sortfields(keys);
        table.set_sort_offset(random.of(std::vector<int>{0, 0, 3, -2, -300, 33}));
        const int plain = static_cast<int>(random.below(2));
        std::vector<const dbrecord*> records;
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            records.push_back(random.one_in(200) ? nullptr : table.get_record(row));
        }
        for (const int direction : {1, -1}) {
            table.sortPrepare(direction, plain);
            std::vector<std::uint32_t> expected(records.size());
            std::iota(expected.begin(), expected.end(), 0U);
            std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t a, std::uint32_t b) {
                if (!records[a] || !records[b]) return records[a] && !records[b];
                return (direction < 0 ? kel::compare_descending : kel::compare_ascending)(*records[a], *records[b]) < 0;
            });
            const std::vector<std::uint32_t> order = kel::sorted_order(records, direction);
            const auto at = static_cast<std::size_t>(std::mismatch(order.begin(), order.end(), expected.begin()).first -
                                                     order.begin());
            const auto text = [&](std::uint32_t i) { return records[i] ? text_of(*records[i]) : "(none)"; };
            ASSERT_TRUE(order == expected)
                << "seed " << seed << ", keys " << keys[0] << keys[1] << keys[2] << ", offset "
                << kel::sort_state().offset << ", flag " << plain << ", direction " << direction << ", place " << at
                << ": " << text(order[at]) << " instead of " << text(expected[at]);
            ++runs;
        }
    }
    EXPECT_EQ(runs, 260U);
}

}  // namespace
