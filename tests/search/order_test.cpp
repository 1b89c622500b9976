// The two orders of records: exact cases, the laws that every order keeps, and the keyed sort against the plain one.
#include "keldb/search/record_order.h"
#include "tests/testing/kit.h"

namespace {

// Rows of one table, by their order: all before or beside the next, "=" between equal ones.
struct Order {
    const char* fields;
    std::vector<int> keys;
    int offset, plain, direction;
    const char* records;  // "a < b = c"; sorted so, and the other way round too
};
const Order kOrders[] = {
    {"a:a", {0}, 0, 0, 1, "take 2 < take 10 < Zoo = zoo < "},
    {"a:a", {0}, 0, 1, 1, "take 10 < take 2 < Zoo = zoo < "},
    {"a:a b:a", {0, 1}, 0, 0, 1, "x,1 < x,2 < y, < ,2 = ,1 < ,"},  // after empty keys no other is looked at
    {"a:a b:a", {0, 1}, 0, 0, -1, "y, < x,2 < x,1 < ,2 < ,1 < ,"},
    {"tc:t", {0}, 3, 1, 1, "10:00:00:05 = 10:00:00;05 < 10:00:00;24 < 10:00:01:00"},  // whatever offset and flag
    {"tc:T", {0}, 0, 1, 1, "10:00:00:05 < 10:00:00:24 < 10:00:00;05"},
    {"tc:t x:t", {0, 1}, 0, 0, 1, "a:00:00:,10:00:00;05 = a:00:00:,10:00:00:05"},  // the last such key has the rule
    {"a:a", {0}, 3, 0, 1, "x = zz < cd-aa < ab-zz"},                               // beyond the end nothing is left
    {"a:a", {0}, -2, 0, 1, "y-09 < x-10 < 9a"},
    {"a:a", {0}, -2, 1, 1, "9a < x-10 < y-09"},          // with the flag the whole value
    {"a:a b:a", {0, 9, 1}, 0, 0, 1, "x,2 = x,1 < y,0"},  // a key that names no field ends the list
    {"a:a", {}, 0, 0, 1, "b = a = c"},
};

TEST(Orders, StandAsWritten) {
    for (auto [fields, keys, offset, plain, direction, records] : kOrders) {
        SCOPED_TRACE(records);
        keldb table = table_of(fields);
        std::vector<int> ranks;
        for (const std::string& equal : pieces(records, '<')) {
            const int rank = ranks.empty() ? 0 : ranks.back() + 1;
            for (const std::string& record : pieces(equal, '=')) {
                add_record(table, record);
                ranks.push_back(rank);
            }
        }
        keys.push_back(-1);
        table.set_sortfields(keys.data());
        table.set_sort_offset(offset);
        table.sortPrepare(direction, plain);
        const auto compare = direction < 0 ? kel::compare_descending : kel::compare_ascending;
        for (unsigned i = 0; i < ranks.size(); ++i) {
            for (unsigned k = 0; k < ranks.size(); ++k)
                EXPECT_EQ(sign(compare(table[i], table[k])), sign(ranks[i] - ranks[k])) << i << " and " << k;
        }
    }
    keldb table = table_of("a:a b:a | 1,2"), unprepared;
    int keys[] = {1, 2, 0, -1};
    table.set_sortfields(keys);
    table.sortPrepare(1, 0);
    EXPECT_EQ(keys[1], -1);  // written into the caller's list
    EXPECT_EQ(table.getSortFieldIdx(), 0);
    unprepared.sort(1, 0);
}

// The value before is remembered by 255 bytes: longer equal ones are not seen as equal.
TEST(TagAllDifferent, KnowsValuesOf255BytesApart) {
    for (const std::size_t size : {254U, 255U, 256U, 257U}) {
        keldb table = table_of("v:a | | |");
        const std::string value(size, 'x');
        for (unsigned row = 0; row < 3; ++row) table.setField(row, 0, String(value));
        EXPECT_EQ(table.tag_all_different(0), size <= 255 ? 1 : 3) << size;
    }
}

// Reflexive, antisymmetric, transitive; returns on how many triples the last could be seen.
unsigned long long expect_an_order(keldb& table, int (*compare)(const dbrecord&, const dbrecord&) noexcept) {
    const unsigned n = table.get_num_records();
    std::vector<std::vector<int>> order(n, std::vector<int>(n));
    for (unsigned a = 0; a < n; ++a) {
        for (unsigned b = 0; b < n; ++b) order[a][b] = sign(compare(table[a], table[b]));
    }
    unsigned long long triples = 0;
    for (unsigned a = 0; a < n; ++a) {
        for (unsigned b = 0; b < n; ++b) {
            bool kept = order[a][b] == (a == b ? 0 : -order[b][a]);
            for (unsigned c = 0; order[a][b] <= 0 && c < n; ++c) {
                if (order[b][c] > 0) continue;
                ++triples;
                kept = kept && order[a][c] == std::min(order[a][b], order[b][c]);
            }
            EXPECT_TRUE(kept) << text_of(table[a]) << " / " << text_of(table[b]);
        }
    }
    return triples;
}

TEST(OrderLaws, HoldForEveryTripleAndSetting) {
    std::vector<std::string> alone =
        pieces("10:00:00.05|10:00:00:04|10:00:01;00|01:00:00:00|10:00:00|10:00:00:|10:00:0a:05|10:00:0A:05|10000005;");
    alone.insert(alone.end(), odd_texts().begin(), odd_texts().end());
    const std::vector<std::string> none = {""}, few = pieces("| |a|A|take 2|take 02|10:00:00:05|10:00:00;05");
    unsigned long long triples = 0;
    for (const bool pairs : {false, true}) {  // every value alone; and pairs of fewer, both fields being keys
        for (const char type : {'t', 'T', 'a'}) {
            keldb table = table_of(std::string("x:") + type + " y:a");
            for (const std::string& x : pairs ? few : alone) {
                for (const std::string& y : pairs ? few : none) {
                    const auto row = static_cast<unsigned>(table.add_records(1));
                    table.setField(row, 0, String(x)), table.setField(row, 1, String(y));
                }
            }
            int keys[] = {0, pairs ? 1 : -1, -1};
            table.set_sortfields(keys);
            for (const int offset : {0, 3, -2, -300, INT_MIN, INT_MAX}) {
                for (const int plain : {0, 1}) {
                    SCOPED_TRACE(std::string(1, type) + " " + std::to_string(offset) + " " + std::to_string(plain));
                    table.set_sort_offset(offset);
                    table.sortPrepare(1, plain);
                    triples += expect_an_order(table, kel::compare_ascending);
                    triples += expect_an_order(table, kel::compare_descending);
                    ASSERT_FALSE(HasFailure());
                }
            }
        }
    }
    std::printf("REL comparator_triples=%llu\n", triples);
}

// Values that keep the words of sort keys equal for long, or nearly so.
std::string value_for_sorting(Random& random, unsigned kind) {
    const auto times = [&random](unsigned below, char c) { return std::string(random.below(below), c); };
    const bool heads = random.one_in(2);
    const std::string number = times(3, '0') + std::to_string(random.below(120));
    switch (kind) {
    case 0:  // a common start longer than all words
        return std::string(30, heads ? 'p' : 'P') + times(6, 'p') + number;
    case 1:
        return (heads ? "take " : "Take ") + number + (random.one_in(3) ? "a" : "");
    case 2:
        if (random.one_in(400)) return " 10:00:0";
        [[fallthrough]];
    case 7:  // timecodes in their usual form only
    case 9:  // with something behind
        return "10:00:0" + std::to_string(random.below(4)) + (random.one_in(4) ? ';' : ':') +
               std::to_string(10 + random.below(15)) + (kind == 9 ? heads ? "0" : "1" : "");
    case 3:
        return random.of(odd_texts());
    case 4:  // runs that are too long for one byte of length, too
        return times(heads ? 40 : 270, '7') + times(2, ' ') + number;
    case 5:  // a run of zeros where a word of a key ends
        return std::string("abcdefghijklmnopqrstuvwxyz").substr(0, 5 + random.below(20)) + times(3, '0') +
               (heads ? "x" : "y") + (random.one_in(2) ? "" : number);
    default:
        return times(4, ' ') + static_cast<char>(random.one_in(9) ? 0 : 'a' + random.below(4));
    }
}

TEST(KeyedSort, EqualsAStableSortByTheComparison) {
    const std::vector<unsigned> sizes = {0, 1, 8, 9, 40, 700, 1023, 1024, 2000, 5000};
    for (unsigned seed = 0; seed < 130; ++seed) {
        Random random(seed);
        keldb table = table_of(random.one_in(2) ? "a:a b:t c:T" : "a:t b:a c:a");
        table.add_records(static_cast<int>(sizes[seed % sizes.size()]));
        const bool by_timecode = random.one_in(4);  // nothing but that, as logs are sorted most
        unsigned kinds[3];
        for (unsigned& kind : kinds) kind = by_timecode ? 7 + seed % 2 * 2 : random.below(9);
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            for (unsigned i = 0; i < 3 && row % 50 != 7; ++i) {
                const unsigned kind = kinds[i] == 8 ? random.below(7) : kinds[i];
                if (!random.one_in(30)) table.setField(row, i, String(value_for_sorting(random, kind)));
            }
        }
        const auto key = [&](bool none) { return none ? -1 : static_cast<int>(random.below(3)); };
        int keys[] = {key(false), key(by_timecode || random.one_in(3)), key(random.one_in(3)), -1};
        table.set_sortfields(keys);
        table.set_sort_offset(random.of(std::vector<int>{0, 0, 3, -2, -300, 33}));
        std::vector<const dbrecord*> records;
        for (unsigned row = 0; row < table.get_num_records(); ++row)
            records.push_back(random.one_in(200) ? nullptr : table.get_record(row));
        for (const int direction : {1, -1}) {
            const auto compare = direction < 0 ? kel::compare_descending : kel::compare_ascending;
            table.sortPrepare(direction, static_cast<int>(seed % 2));
            std::vector<std::uint32_t> expected(records.size());
            std::iota(expected.begin(), expected.end(), 0U);
            std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t a, std::uint32_t b) {
                return records[a] && (!records[b] || compare(*records[a], *records[b]) < 0);
            });
            ASSERT_EQ(kel::sorted_order(records, direction), expected) << "seed " << seed << ' ' << direction;
        }
    }
}

}  // namespace
