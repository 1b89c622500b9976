// Query by example: which records match, by the type of each field and the range rule.
#include "tests/testing/kit.h"

namespace {

struct Inside : keldb {
    using keldb::found_in_special_label_field;
    using keldb::isSpecialLabelField;
    using keldb::match_field;
};

constexpr const char* kDates = "d:M | 0 | 1234567890 | junk | | 4294967295 | 86400";

const struct {
    const char *fields, *query, *matches, *zone = "UTC0";
} kQueries[] = {
    // Any type: the text occurs, case ignored.
    {"n:a m:n | Take 2,7 | take 12,7 | x,", "take 1,7", "010"},
    // Timecodes: the separators count as equal; T in its punctuated form.
    {"tc:t | 10:00:00;05 | 10:00:00:05 | 10000005", "10.00.00.05", "110"},
    {"tc:T | 10000005; | 10:00:00:05 | 10000005 | 10000006", "10:00:00:05", "1110"},
    {"tc:T | 10000005 | soon", "oon", "01"},
    // A date as calendar text, in the time zone that is set at the call.
    {kDates, "Thu Jan  1 00:00:00 1970", "101100"},
    {kDates, "feb 13 23:31:30 2009\n", "010000"},
    {kDates, "Feb 14 00:31:30 2009", "010000", "XYZ-1"},
    {kDates, "Wed Dec 31 16:00:00 1969", "101100", "XYZ8"},
    {kDates, "Feb  7 06:28:15 2106", "000010"},
    {kDates, "1234567890", "000000"},
    // One range, by start or end; the length of the query's text counts, and bytes, not letters.
    {"Start~time:t End~time:t | 10:00:00:00, | 09:00:00:00, | ,10:00:00:00 | ,", ",10:00", "1000"},
    {"snd~start:a snd~end:a | b,d | a,c | bb,dz | B,D", "b,", "1110"},
    {"snd~start:a snd~end:a | b,d | b,dd | c,d", ",dd", "010"},
    {"snd~start:a snd~end:a | bcd,bcf | b,dz", ",bce", "11"},
    // Half a pair: the leading part alone; without the start nothing. Partners are found ignoring case.
    {"start~keycode:a | KU 12 3456 | KU 13", "KU 12", "10"},
    {"end~keycode:a | KU 12", "KU 12", "0"},
    {"START~KEYCODE:a end~keycode:a | b,d", ",c", "1"},
    {"Start~Time:t End~Time:t | 09:59:00:00,10:00:30:00", "10:00,", "0"},  // no pair by these spellings
    // The query of a table without fields is empty, so it is none.
    {" | |", "", "--"},
};

TEST(Query, MatchesByTypeAndRange) {
    for (const auto& [fields, query, matches, zone] : kQueries) {
        SCOPED_TRACE(std::string(fields) + " / " + query + " / " + zone);
        ::setenv("TZ", zone, 1);
        keldb table = table_of(fields);
        table.set_query(nullptr);
        table.setQuery({});
        EXPECT_EQ(table.match_record(0), -1);  // no query yet
        const std::vector<std::string> wanted = pieces(query, ',');
        const std::unique_ptr<dbrecord> example(table.make_dummy_record());
        for (unsigned short i = 0; i < example->get_num_fields(); ++i) example->setField(i, String(wanted[i]));
        table.set_query(example.get());
        table.set_case_significant_search(1);  // without a meaning
        std::string found;
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            const dbrecord* const record = table.get_record(row);
            found += "-01"[table.match_record(static_cast<int>(row)) + 1];
            bool all = true;
            for (unsigned short i = 0; i < record->get_num_fields(); ++i) {  // the same, field by field
                const bool match = (table.*&Inside::match_field)(record, i) == 1;
                const bool special = (table.*&Inside::isSpecialLabelField)(i);
                const TextSearch::Criteria criteria({String(wanted[i]), TextSearch::kContains});
                EXPECT_EQ((table.*&Inside::found_in_special_label_field)(record, i), match || !special);
                EXPECT_TRUE(table.matchField(record, i, criteria) == match || special);
                all = all && match;
            }
            EXPECT_EQ(all, found.back() != '0');
        }
        EXPECT_EQ(found, matches);
        EXPECT_EQ(table.match_record(-1), -1);
    }
    ::unsetenv("TZ");
}

}  // namespace
