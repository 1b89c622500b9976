// The two orders of records: exact cases, the laws that every order keeps, and the keyed sort against the plain one.
#include "keldb/search/record_order.h"
#include "tests/testing/kit.h"

namespace {

using Compare = int (*)(const dbrecord&, const dbrecord&) noexcept;

struct Setting {
    std::vector<int> keys;
    int offset, plain, direction;

    Compare prepare(keldb& table) {
        keys.push_back(-1);
        table.set_sortfields(keys.data());
        table.set_sort_offset(offset);
        table.sortPrepare(direction, plain);
        return direction < 0 ? kel::compare_descending : kel::compare_ascending;
    }
};

// Any two records compare as their ranks do.
void expect_order(keldb& table, Compare compare, const auto& ranks) {
    for (unsigned a = 0; a < table.get_num_records(); ++a) {
        for (unsigned b = 0; b < table.get_num_records(); ++b)
            ASSERT_EQ(sign(compare(table[a], table[b])), sign(ranks[a] - ranks[b]))
                << text_of(table[a]) << " / " << text_of(table[b]);
    }
}

TEST(Orders, StandAsWritten) {
    const std::tuple<const char*, Setting, std::string> kOrders[] = {
        // the table, its order, the ranks of its records
        {"a:a | take 2 | take 10 | Zoo | zoo | ", {{0}, 0, 0, 1}, "01223"},
        {"a:a | take 10 | take 2 | Zoo | zoo | ", {{0}, 0, 1, 1}, "01223"},
        {"a:a | ! | 0 | 00 | 01 | 1 | 2 | 10 | 10a | 10b | 0011 | a | Take | TAKE 02 | take 2 | take 2a | take 10 | "
         "take 99999999999999999999 | take 100000000000000000000 | take x | \xC3\xA9",
         {{0}, 0, 0, 1},
         "abcdefghijklmnopqrst"},
        // After empty keys no other is looked at.
        {"a:a b:a | x,1 | x,2 | y, | ,2 | ,1 | ,", {{0, 1}, 0, 0, 1}, "012334"},
        {"a:a b:a | y, | x,2 | x,1 | ,2 | ,1 | ,", {{0, 1}, 0, 0, -1}, "012345"},
        // Whatever offset and flag; the last such key has the rule.
        {"tc:t | 10:00:00:05 | 10:00:00;05 | 10:00:00;24 | 10:00:01:00", {{0}, 3, 1, 1}, "0012"},
        {"tc:T | 10:00:00:05 | 10:00:00:24 | 10:00:00;05", {{0}, 0, 1, 1}, "012"},
        {"tc:t x:t | a:00:00:,10:00:00;05 | a:00:00:,10:00:00:05", {{0, 1}, 0, 0, 1}, "00"},
        // Beyond the end nothing is left; with the flag it is the whole value.
        {"a:a | x | zz | cd-aa | ab-zz", {{0}, 3, 0, 1}, "0012"},
        {"a:a | y-09 | x-10 | 9a", {{0}, -2, 0, 1}, "012"},
        {"a:a | 9a | x-10 | y-09", {{0}, -2, 1, 1}, "012"},
        // A key that names no field becomes -1, which ends the list.
        {"a:a b:a | x,2 | x,1 | y,0", {{0, 2, 1}, 0, 0, 1}, "001"},
        {"a:a | b | a | c", {{}, 0, 0, 1}, "000"},
    };
    for (auto [text, setting, ranks] : kOrders) {
        SCOPED_TRACE(text);
        keldb table = table_of(text);
        expect_order(table, setting.prepare(table), ranks);
        EXPECT_EQ(std::count(setting.keys.begin(), setting.keys.end(), 2), 0);
    }
}

// The value before is remembered by 255 bytes: longer equal ones are not seen as equal.
TEST(TagAllDifferent, KnowsValuesOf255BytesApart) {
    for (const std::size_t size : {254U, 255U, 256U, 257U}) {
        const std::string value(size, 'x');
        keldb table = table_of("v:a | " + value + " | " + value);
        EXPECT_EQ(table.tag_all_different(0), size <= 255 ? 1 : 2) << size;
    }
}

// Any two records compare as the numbers of those before them do. That is so in an order, and in nothing else: then the
// comparison is reflexive, antisymmetric and, on all triples a <= b <= c, transitive.
TEST(OrderLaws, HoldForEveryTripleAndSetting) {
    std::vector<std::string> values =
        pieces("10:00:00.05|10:00:00:04|10:00:01;00|01:00:00:00|10:00:00|10:00:00:|10:00:0a:05|10:00:0A:05|10000005;");
    values.insert(values.end(), odd_texts().begin(), odd_texts().end());
    unsigned long long triples = 0;
    for (const char* const fields : {"y:a x:t", "y:a x:T", "y:a x:a"}) {
        keldb table = table_of(fields);
        for (const char* const second : {"", "take 2"}) {
            for (const std::string& first : values) add_record(table, std::string(second) + ',' + first + ',');
        }
        const unsigned long long n = table.get_num_records();
        for (const int offset : {0, 3, -2, -300, INT_MIN, INT_MAX}) {
            for (const auto& [plain, direction] : {std::pair(0, 1), {1, 1}, {0, -1}}) {
                SCOPED_TRACE(fields + (' ' + std::to_string(offset)) + ' ' + std::to_string(plain));
                Setting setting{{1, 0}, offset, plain, direction};
                const Compare compare = setting.prepare(table);
                std::vector<int> ranks(n);
                for (unsigned a = 0; a < n; ++a) {
                    for (unsigned b = 0; b < n; ++b) ranks[a] += compare(table[b], table[a]) < 0;
                }
                expect_order(table, compare, ranks);
                triples += n * (n + 1) * (n + 2) / 6;
            }
        }
    }
    std::printf("REL comparator_triples=%llu\n", triples);
}

TEST(KeyedSort, EqualsAStableSortByTheComparison) {
    // What columns are made of; # is any digit.
    const std::vector<std::string> timecodes = pieces("10:00:0#:1#|10:00:0#;1#| ##:##:##:##");
    std::vector<std::string> parts =
        pieces("#|##|0|00#|take #|Take |#-0#-#-|10:00:0#:1#|10:00:0#;1#| |a|bcdefghijklm|\1");
    for (const auto& [size, c] : {std::pair(31, 'p'), {31, 'P'}, {40, '7'}, {270, '7'}, {300, '1'}, {201, '0'}})
        parts.emplace_back(size, c);
    const std::vector<unsigned> sizes = {0, 1, 8, 9, 40, 700, 1023, 1024, 2000, 5000};
    for (unsigned seed = 0; seed < 130; ++seed) {
        Random random(seed);
        keldb table = table_of("a:t b:a c:a");
        table.add_records(static_cast<int>(sizes[seed % sizes.size()]));
        const bool by_timecode = random.one_in(4);  // nothing but that, as logs are sorted most
        for (unsigned field = 0; field < 3; ++field) {
            // Few parts, so that values are equal for long, or nearly so.
            std::vector<std::string> some = by_timecode ? timecodes : std::vector<std::string>();
            for (unsigned n = by_timecode ? random.below(2) : 1 + random.below(4); n > 0; --n)
                some.push_back(random.of(random.one_in(8) ? odd_texts() : parts));
            const unsigned most = by_timecode ? 1 : 1 + random.below(4);
            for (unsigned row = 0; row < table.get_num_records(); ++row) {
                std::string value;
                for (unsigned n = 1 + random.below(most); n > 0; --n) value += random.of(some);
                for (char& c : value) c = c == '#' ? static_cast<char>('0' + random.below(10)) : c;
                if (row % 50 != 7 && !random.one_in(30)) table.setField(row, field, String(value));
            }
        }
        std::vector<const dbrecord*> records;
        for (unsigned row = 0; row < table.get_num_records(); ++row)
            records.push_back(random.one_in(200) ? nullptr : table.get_record(row));
        Setting setting{{}, random.of(std::vector<int>{0, 0, 0, 0, 3, -2, -300, 33}), random.one_in(4), 1};
        for (unsigned n = by_timecode ? 1 : 1 + random.below(3); n > 0; --n)
            setting.keys.push_back(by_timecode ? 0 : static_cast<int>(random.below(3)));
        for (const int direction : {1, -1}) {
            setting.direction = direction;
            const Compare compare = setting.prepare(table);
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
