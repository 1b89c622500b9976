// Query by example: which records match, by the type of each field and the range rule.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/testing/random.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::pieces;
using testing_kit::table_of;

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
        {"n:a m:n | Take 2,7 | take 12,7 | x,", "TAKE,", "110"},
        {"n:a m:n | Take 2,7 | take 12,7 | x,", "take 1,7", "010"},
        {"n:a m:n | Take 2,7 | x,", ",", "11"},
        // Timecodes: the separators count as equal; T in its punctuated form.
        {"tc:t | 10:00:00;05 | 10:00:00:05 | 10000005", "10.00.00.05", "110"},
        {"tc:T | 10000005; | 10:00:00:05 | 10000005 | 10000006", "10:00:00:05", "1110"},
        {"tc:T | 10000005 | soon", "10000005", "00"},
        {"tc:T | 10000005 | soon", "oon", "01"},
        // One range, by start or end; the length of the query's text counts.
        {"Start~time:t End~time:t | 09:59:00:00,10:00:30:00 | 10:01:00:00,10:02:00:00", ",10:00", "10"},
        {"Start~time:t End~time:t | 09:59:00:00,10:00:30:00 | 10:01:00:00,10:02:00:00", "10:00,", "10"},
        {"Start~time:t End~time:t | 10:00:00:00, | 09:00:00:00, | ,10:00:00:00 | ,", ",10:00", "1000"},
        {"snd~start:a snd~end:a | b,d", "a,", "0"},
        {"snd~start:a snd~end:a | b,d", "b,", "1"},
        {"snd~start:a snd~end:a | b,d", ",d", "1"},
        {"snd~start:a snd~end:a | b,d", "dd,", "0"},        // beyond the end in its second byte
        {"snd~start:a snd~end:a | b,dz", "d,", "1"},        // only as many bytes as the query has
        {"snd~start:a snd~end:a | B,D | b,d", "c,", "01"},  // bytes, not letters
        {"snd~start:a snd~end:a | bcd,bcf", ",bce", "1"},
        // Half a pair: the leading part alone; without the start nothing.
        {"start~keycode:a | KU 12 3456 | KU 13", "KU 12", "10"},
        {"start~keycode:a | KU 12", "KU 11", "0"},
        {"end~keycode:a | KU 12", "KU 12", "0"},
        {"START~KEYCODE:a end~keycode:a | b,d", ",c", "1"},                    // partners are found ignoring case
        {"Start~Time:t End~Time:t | 09:59:00:00,10:00:30:00", "10:00,", "0"},  // no pair by these spellings
        // The query of a table without fields is empty, so it is none.
        {" | |", "", "--"},
    };
    for (const auto& [fields, query, matches] : kQueries) {
        SCOPED_TRACE(std::string(fields) + " / " + query);
        keldb table = table_of(fields);
        const int count = static_cast<int>(table.get_num_records());
        EXPECT_EQ(matches_of(table), std::string(table.get_num_records(), '-'));  // no query yet
        set_query(table, query);
        table.set_case_significant_search(1);  // without a meaning
        EXPECT_EQ(matches_of(table), matches);
        EXPECT_EQ(table.match_record(-1) + table.match_record(count), -2);
        for (unsigned row = 0; row < table.get_num_records() && *query; ++row) {  // the same, field by field
            bool match = true;
            for (unsigned i = 0; i < table.get_num_fields(); ++i) {
                const auto field = static_cast<int>(i);
                const bool one = (table.*&Inside::match_field)(table.get_record(row), field) == 1;
                match = match && one;
                EXPECT_EQ((table.*&Inside::found_in_special_label_field)(table.get_record(row), field),
                          one || !(table.*&Inside::isSpecialLabelField)(i));
            }
            EXPECT_EQ(match, matches[row] == '1');
        }
    }
}

TEST(Query, MatchesNothingWithoutARecordOrField) {
    keldb table = table_of("snd~start:a | x");
    set_query(table, "x");
    const dbrecord* const record = table.get_record(0);
    const TextSearch::Criteria wanted({"x", TextSearch::kContains});
    EXPECT_TRUE(table.matchField(record, 0, wanted));
    EXPECT_FALSE(table.matchField(nullptr, 0, wanted) || table.matchField(record, 1, wanted));
    for (const int field : {-1, 0, 1}) {
        EXPECT_EQ((table.*&Inside::match_field)(record, field) != 0, field >= 0);
        EXPECT_EQ((table.*&Inside::found_in_special_label_field)(record, field), field == 0);
        EXPECT_EQ((table.*&Inside::match_field)(nullptr, field), 0);
        EXPECT_FALSE((table.*&Inside::found_in_special_label_field)(nullptr, field));
    }
}

TEST(Query, IsRefusedWhenShorterThanTheTable) {
    keldb table = table_of("a:a b:a | x,y");
    set_query(table, "x,");
    dbrecord narrow(1);
    narrow.set_field(0, "q", false);
    table.set_query(&narrow);
    table.set_query(nullptr);
    table.setQuery({});
    EXPECT_EQ(table.match_record(0), 1);
    dbrecord wide(3);
    wide.set_field(2, "beyond", false);
    table.set_query(&wide);
    EXPECT_EQ(table.match_record(0), 1);
    table.addField({"c", DBFieldTypes::text});  // what lay beyond counts now
    EXPECT_EQ(table.match_record(0), 0);
    table.addField({"d", DBFieldTypes::text});  // and this field has no condition
    table.setField(0, 2, "beyond");
    EXPECT_EQ(table.match_record(0), 1);
    table.removeField("c");
    table.removeField("d");
    table.removeField("b");
    table.removeField("a");
    EXPECT_EQ(table.match_record(0), 1);  // a query without a field left to look at
}

// What is worked out once for a query, against the same table with the query set anew.
TEST(QueryPlan, IsMadeAnewAfterEveryChangeOfTheTable) {
    const std::vector<std::string> names = {"a", "Start time", "End time", "START TIME", "snd start", "snd end"};
    const std::vector<std::string> texts = {"", "take 2", "Take", "10:00", "10:00:00:05", "10:00:00;05", "10000005"};
    for (unsigned seed = 0; seed < 100; ++seed) {
        testing_kit::Random random(seed);
        keldb table = table_of("a:a Start~time:t");
        dbrecord query(9);
        table.set_query(&query);
        for (int step = 0; step < 40; ++step) {
            const unsigned kind = random.below(6), field = random.below(table.get_num_fields() + 1);
            const auto type = static_cast<DBFieldTypes::eType>("atTM"[random.below(4)]);
            const String name(random.of(names));
            if (kind == 0) table.set_fieldname(field, name.c_str());
            if (kind == 1) table.set_fieldtype(field, type);
            if (kind == 2 && table.get_num_fields() < 9) table.addField({name, type});
            if (kind == 3 && table.get_num_fields() > 1) table.removeField(name);
            if (kind == 4) table.set_word_only_search(static_cast<int>(random.below(2)));
            if (kind == 5) query.set_field(static_cast<int>(random.below(9)), random.of(texts), false);
            if (kind == 5) table.set_query(&query);
            const auto row = static_cast<unsigned>(table.add_records(1));
            for (unsigned i = 0; i < table.get_num_fields(); ++i) table.setField(row, i, String(random.of(texts)));
            keldb fresh;
            fresh = table;
            fresh.set_query(&query);
            ASSERT_EQ(matches_of(table), matches_of(fresh)) << "seed " << seed << ", step " << step;
        }
    }
}

// The time zone is the one at the call.
TEST(Query, SeesADateAsCalendarText) {
    const struct {
        const char* zone;
        const char* query;
        const char* matches;
    } rows[] = {
        {"UTC0", "Thu Jan  1 00:00:00 1970", "101100"}, {"UTC0", "12:34:56 2009", "000000"},
        {"UTC0", "feb 13 23:31:30 2009\n", "010000"},   {"UTC0", "1234567890", "000000"},
        {"XYZ-1", "Feb 14 00:31:30 2009", "010000"},    {"XYZ8", "Wed Dec 31 16:00:00 1969", "101100"},
        {"UTC0", "Feb  7 06:28:15 2106", "000010"},     {"XYZ-1", "Sat", "010000"},
    };
    keldb table = table_of("d:M | 0 | 1234567890 | junk | | 4294967295 | 86400");
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.zone) + " " + row.query);
        ::setenv("TZ", row.zone, 1);
        set_query(table, row.query);
        EXPECT_EQ(matches_of(table), row.matches);
        EXPECT_EQ(table.matchField(table.get_record(1), 0, TextSearch::Criteria({row.query, TextSearch::kContains})),
                  row.matches[1] == '1');
    }
    ::unsetenv("TZ");
}

}  // namespace
