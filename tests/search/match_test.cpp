// Query by example: which records match, by the type of each field and the range rule.
#include "tests/testing/kit.h"

namespace {

void set_query(keldb& table, std::string_view values) {
    const std::unique_ptr<dbrecord> query(table.make_dummy_record());
    int field = 0;
    for (const std::string& value : pieces(values, ',')) query->set_field(field++, value, false);
    table.set_query(query.get());
}

// Of each record a digit: whether it matches; - for no query.
std::string matches_of(keldb& table) {
    std::string matches;
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        const int match = table.match_record(static_cast<int>(row));
        matches += match == 1 ? "1" : match == 0 ? "0" : "-";
    }
    return matches;
}

struct Inside : keldb {
    using keldb::found_in_special_label_field;
    using keldb::isSpecialLabelField;
    using keldb::match_field;
};

TEST(Query, MatchesByTypeAndRange) {
    const char* const kQueries[][3] = {
        // the table, the query, which records match
        // Any type: the text occurs, case ignored.
        {"n:a m:n | Take 2,7 | take 12,7 | x,", "take 1,7", "010"},
        // Timecodes: the separators count as equal; T in its punctuated form.
        {"tc:t | 10:00:00;05 | 10:00:00:05 | 10000005", "10.00.00.05", "110"},
        {"tc:T | 10000005; | 10:00:00:05 | 10000005 | 10000006", "10:00:00:05", "1110"},
        {"tc:T | 10000005 | soon", "oon", "01"},
        // One range, by start or end; the length of the query's text counts.
        {"Start~time:t End~time:t | 10:00:00:00, | 09:00:00:00, | ,10:00:00:00 | ,", ",10:00", "1000"},
        {"snd~start:a snd~end:a | b,d | a,c | bb,dz | B,D", "b,", "1110"},  // bytes, not letters
        {"snd~start:a snd~end:a | b,d | b,dd | c,d", ",dd", "010"},         // d is beyond the end by its second byte
        {"snd~start:a snd~end:a | b,dz", "d,", "1"},                        // only as many bytes as the query has
        {"snd~start:a snd~end:a | bcd,bcf", ",bce", "1"},
        // Half a pair: the leading part alone; without the start nothing.
        {"start~keycode:a | KU 12 3456 | KU 13", "KU 12", "10"},
        {"end~keycode:a | KU 12", "KU 12", "0"},
        {"START~KEYCODE:a end~keycode:a | b,d", ",c", "1"},                    // partners are found ignoring case
        {"Start~Time:t End~Time:t | 09:59:00:00,10:00:30:00", "10:00,", "0"},  // no pair by these spellings
        // The query of a table without fields is empty, so it is none.
        {" | |", "", "--"},
    };
    for (const auto& [fields, query, matches] : kQueries) {
        SCOPED_TRACE(std::string(fields) + " / " + query);
        keldb table = table_of(fields);
        EXPECT_EQ(matches_of(table), std::string(table.get_num_records(), '-'));  // no query yet
        set_query(table, query);
        table.set_case_significant_search(1);  // without a meaning
        EXPECT_EQ(matches_of(table), matches);
        EXPECT_EQ(table.match_record(-1) + table.match_record(static_cast<int>(table.get_num_records())), -2);
        for (unsigned row = 0; row < table.get_num_records() && *query; ++row) {  // the same, field by field
            const dbrecord* const record = table.get_record(row);
            bool all = true;
            for (int i = 0; i < record->get_num_fields(); ++i) {
                const bool match = (table.*&Inside::match_field)(record, i) == 1;
                const bool special = (table.*&Inside::isSpecialLabelField)(static_cast<unsigned>(i));
                EXPECT_EQ((table.*&Inside::found_in_special_label_field)(record, i), match || !special);
                all = all && match;
            }
            EXPECT_EQ(all, matches[row] == '1');
        }
    }
}

TEST(Query, MatchesNothingWithoutARecordOrField) {
    keldb table = table_of("snd~start:a | x");
    set_query(table, "x");
    const TextSearch::Criteria wanted({"x", TextSearch::kContains});
    for (const dbrecord* const record : {table.get_record(0), static_cast<dbrecord*>(nullptr)}) {
        for (const int field : {-1, 0, 1}) {
            EXPECT_EQ((table.*&Inside::match_field)(record, field) != 0, field == 1 || (record && field == 0));
            EXPECT_EQ((table.*&Inside::found_in_special_label_field)(record, field), record && field == 0);
            EXPECT_EQ(table.matchField(record, static_cast<unsigned short>(field), wanted), record && field == 0);
        }
    }
}

TEST(Query, IsRefusedWhenShorterThanTheTable) {
    keldb table = table_of("a:a b:a | x,y");
    dbrecord narrow(1), wide(3);
    wide.set_field(2, "beyond", false);
    table.set_query(&wide);
    table.set_query(&narrow);
    table.set_query(nullptr);
    table.setQuery({});
    EXPECT_EQ(table.match_record(0), 1);
    table.addField({"c", DBFieldTypes::text});  // what lay beyond counts now
    EXPECT_EQ(table.match_record(0), 0);
    for (const char* name : {"a", "b", "c"}) table.removeField(name);
    EXPECT_EQ(table.match_record(0), 1);  // a query without a field left to look at
}

// The time zone is the one at the call.
TEST(Query, SeesADateAsCalendarText) {
    const char* const kRows[][3] = {
        // the time zone, the query, which records match
        {"UTC0", "Thu Jan  1 00:00:00 1970", "101100"}, {"UTC0", "feb 13 23:31:30 2009\n", "010000"},
        {"XYZ-1", "Feb 14 00:31:30 2009", "010000"},    {"XYZ8", "Wed Dec 31 16:00:00 1969", "101100"},
        {"UTC0", "Feb  7 06:28:15 2106", "000010"},     {"UTC0", "1234567890", "000000"},
    };
    keldb table = table_of("d:M | 0 | 1234567890 | junk | | 4294967295 | 86400");
    for (const auto& [zone, query, matches] : kRows) {
        SCOPED_TRACE(std::string(zone) + " " + query);
        ::setenv("TZ", zone, 1);
        set_query(table, query);
        EXPECT_EQ(matches_of(table), matches);
        EXPECT_EQ(table.matchField(table.get_record(1), 0, TextSearch::Criteria({query, TextSearch::kContains})),
                  matches[1] == '1');
    }
    ::unsetenv("TZ");
    table.set_fieldtype(0, DBFieldTypes::text);  // what is worked out for a query is worked out anew
    EXPECT_EQ(matches_of(table), "010000");
}

}  // namespace
