// Query by example: which records match, by the type of each field and the range rule; and the plan that is worked out
// once, against a straight evaluation of the rules for each record.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "keldb/fields/well_known_fields.h"
#include "keldb/support/timecode.h"
#include "tests/testing/random.h"
#include "tests/testing/table_text.h"
#include "tests/testing/texts.h"

namespace {

using testing_kit::pieces;
using testing_kit::Random;
using testing_kit::table_of;

void set_query(keldb& table, std::string_view values) {
    const std::unique_ptr<dbrecord> query(table.make_dummy_record());
    int field = 0;
    for (const std::string& value : pieces(values, ',')) query->set_field(field++, value, false);
    table.set_query(query.get());
}

// The records of a table, a query, and which records match: a digit each, by match_record.
struct Query {
    const char* table;
    const char* query;
    const char* matches;
};
const Query kQueries[] = {
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

std::string matches_of(keldb& table) {
    std::string matches;
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        const int match = table.match_record(static_cast<int>(row));
        matches += match == 1 ? "1" : match == 0 ? "0" : "-";
    }
    return matches;
}

TEST(Query, MatchesByTypeAndRange) {
    for (const Query& row : kQueries) {
        SCOPED_TRACE(std::string(row.table) + " / " + row.query);
        keldb table = table_of(row.table);
        EXPECT_EQ(matches_of(table), std::string(std::strlen(row.matches), '-'));  // no query yet
        set_query(table, row.query);
        EXPECT_EQ(matches_of(table).substr(0, std::strlen(row.matches)), row.matches);
        table.set_case_significant_search(1);
        EXPECT_EQ(matches_of(table).substr(0, std::strlen(row.matches)), row.matches);
        EXPECT_EQ(table.match_record(-1), -1);
        EXPECT_EQ(table.match_record(static_cast<int>(table.get_num_records())), -1);
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

// --- The rules again, for one record, without a plan ---

class StraightMatch {
public:
    StraightMatch(keldb& table, const std::vector<std::string>& query, const std::vector<bool>& flags, bool whole_words)
        : table_(table), query_(query), flags_(flags), flag_(whole_words ? TextSearch::kWholeWords : 0U) {}

    int match(unsigned row) const {
        const dbrecord* const record = table_.get_record(row);
        if (!record || query_.empty()) return -1;
        for (unsigned i = 0; i < table_.get_num_fields() && i < query_.size(); ++i) {
            if (!query_[i].empty() && !(flags_[i] ? in_range(*record, i) : has_text(*record, i))) return 0;
        }
        return 1;
    }

private:
    std::string value(const dbrecord& record, int field) const {
        return field < 0 ? "" : std::string(record.field_text(static_cast<unsigned>(field)));
    }
    bool in_range(const dbrecord& record, unsigned i) const {
        const kel::FieldPair* const pair = kel::range_pair_of(table_.get_fieldname(i));
        if (!pair) return true;
        const std::string start = value(record, table_.get_fieldnum(pair->start));
        const std::string end = value(record, table_.get_fieldnum(pair->end));
        const std::string& q = query_[i];
        if (start.empty()) return false;
        if (std::strncmp(q.c_str(), start.c_str(), q.size()) == 0) return true;
        return !end.empty() && std::strncmp(q.c_str(), start.c_str(), q.size()) >= 0 &&
               std::strncmp(q.c_str(), end.c_str(), q.size()) <= 0;
    }
    bool has_text(const dbrecord& record, unsigned i) const {
        const TextSearch::Criteria wanted({String(query_[i]), TextSearch::kContains});
        const String text = record.getField(static_cast<unsigned short>(i));
        const DBFieldTypes::eType type = table_.get_field_type(i);
        if (type == DBFieldTypes::timecode) return TextSearch::match(text, wanted, flag_ | TextSearch::kTimecode);
        if (type == DBFieldTypes::timecode_s) {
            return TextSearch::match(time_def(text, 6).get_punctuated_str(), wanted, flag_ | TextSearch::kTimecode);
        }
        if (type != DBFieldTypes::dos_date) return TextSearch::match(text, wanted, flag_);
        const bool number = !text.empty() && text.view().find_first_not_of("0123456789") == std::string_view::npos;
        const std::time_t seconds = number && text.size() < 10 ? std::atol(text.c_str()) : 0;
        return TextSearch::match(std::ctime(&seconds), wanted, flag_);
    }

    keldb& table_;
    const std::vector<std::string>& query_;
    const std::vector<bool>& flags_;
    unsigned flag_;
};

TEST(QueryPlan, AgreesWithTheRulesAcrossEveryChangeOfTheTable) {
    const std::vector<std::string> names = {"a",         "Start time", "End time", "START TIME",
                                            "snd start", "snd end",    "b",        "end time"};
    const std::vector<std::string> texts = {
        "",   "",  "take 2", "Take", "10:00", "10:00:00:05", "10:00:00;05", "10000005", "10.00",
        "09", "1", "86400",  "1970", "Jan",   "a",           "\xFFz",       "b a"};
    const std::string types = "atTM";
    for (unsigned seed = 0; seed < 150; ++seed) {
        Random random(seed);
        keldb table(std::vector<DBFieldDesc>{{"a", DBFieldTypes::text}, {"Start time", DBFieldTypes::timecode}});
        std::vector<bool> flags = {false, true};
        std::vector<std::string> query;
        bool whole_words = false;
        for (int step = 0; step < 40; ++step) {
            const unsigned fields = table.get_num_fields(), field = random.below(fields + 1);
            const auto type = static_cast<DBFieldTypes::eType>(types[random.below(4)]);
            switch (random.below(7)) {
            case 0:
                table.set_fieldname(field, random.of(names).c_str());
                break;
            case 1:
                table.set_fieldtype(field, type);
                break;
            case 2: {
                const std::string& name = random.of(names);
                if (table.addField({String(name), type}) == fields)
                    flags.push_back(kel::range_pair_of(name) != nullptr);
                break;
            }
            case 3: {
                const int found = table.get_fieldnum(String(random.of(names)));
                if (found < 0 || fields < 2) break;
                table.removeField(table.get_fieldname(static_cast<unsigned>(found)));
                flags.erase(flags.begin() + found);
                break;
            }
            case 4:
                whole_words = !whole_words;
                table.set_word_only_search(whole_words);
                break;
            default: {
                query.assign(fields + random.below(3), "");
                for (unsigned k = 0; k < 2; ++k) query[random.below(query.size())] = random.of(texts);
                dbrecord example(static_cast<unsigned short>(query.size()));
                for (unsigned i = 0; i < query.size(); ++i) example.set_field(static_cast<int>(i), query[i], false);
                table.set_query(&example);
            }
            }
            const auto row = static_cast<unsigned>(table.add_records(1));
            for (unsigned i = 0; i < table.get_num_fields(); ++i) table.setField(row, i, String(random.of(texts)));
            const StraightMatch straight(table, query, flags, whole_words);
            for (unsigned i = 0; i <= row + 1; ++i) {
                ASSERT_EQ(table.match_record(static_cast<int>(i)), straight.match(i))
                    << "seed " << seed << ", step " << step << ": " << testing_kit::text_of(table);
            }
        }
    }
}

}  // namespace
