// Saving and loading gives back everything but what storage_losses names, and names nothing that comes back.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "keldb/support/log.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::PlainTable;
using testing_kit::round_trip_fault;
using Kind = StorageLoss::Kind;
using Reason = StorageLoss::Reason;

// Short texts of what the format treats in some way of its own, and of what it must not.
class OddTexts {
public:
    explicit OddTexts(unsigned seed) : random_(seed) {}
    std::size_t below(std::size_t n) { return random_() % n; }
    std::string next(std::size_t most_pieces) {
        static const std::string kPieces[] = {" ",  "\t",   "\n",    "\r", "\\n",  "\\",   "n",
                                              "\"", "\"\"", ",",     "\"", "\x01", "\x80", std::string(1, '\0'),
                                              "é",  "a",    "KELDB", "'"};
        std::string text;
        for (std::size_t n = below(most_pieces + 1); n > 0; --n) text += kPieces[below(std::size(kPieces))];
        return text;
    }

private:
    std::mt19937 random_;
};

// What a value of up to 4095 bytes comes back as. A carriage return is dropped by the writer; a line feed and a
// backslash with n are written alike and come back as a line feed; white space at the ends is dropped by the reader,
// where the line feed at the start is still a backslash and n, no white space, while the one at the end is white space
// already.
std::string normalised(std::string value) {
    std::erase(value, '\r');
    value.erase(0, std::min(value.find_first_not_of(" \t\v\f"), value.size()));
    for (std::size_t at = value.find("\\n"); at != std::string::npos; at = value.find("\\n", at)) {
        value.replace(at, 2, "\n");
    }
    value.erase(value.find_last_not_of(" \t\v\f\n") + 1);
    return value;
}

TEST(RoundTrip, GivesBackEveryValueAsTheRuleSays) {
    OddTexts texts(1);
    for (int round = 0; round < 3000; ++round) {
        keldb table = testing_kit::table_of("a:a b:t c:n");
        table.add_param("source", "test");
        table.add_records(static_cast<int>(texts.below(4)));
        std::vector<StorageLoss> expected_losses;
        PlainTable expected(table);
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            for (unsigned field = 0; field < 3; ++field) {
                const std::string value = texts.next(6);
                table.setField(row, field, String(value));
                expected.records[row][field] = normalised(value);
                if (normalised(value) != value) expected_losses.push_back({Kind::value, Reason::none, row, field});
            }
        }
        const std::vector<StorageLoss> losses = storage_losses(table);
        const auto same_place = [](const StorageLoss& a, const StorageLoss& b) {
            return a.kind == b.kind && a.row == b.row && a.field == b.field;
        };
        ASSERT_TRUE(
            std::equal(losses.begin(), losses.end(), expected_losses.begin(), expected_losses.end(), same_place));
        keldb loaded;
        const std::string bytes = testing_kit::saved_bytes(table);
        testing_kit::load_bytes(loaded, bytes);
        ASSERT_EQ(PlainTable(loaded), expected) << bytes;
        ASSERT_EQ(round_trip_fault(loaded), "");
    }
}

// A table in which anything may be odd. Most things are not, so that many tables come back equal.
void make_odd(keldb& table, OddTexts& texts) {
    const auto rarely = [&] { return texts.below(12) == 0; };
    for (std::size_t n = texts.below(4); n > 0; --n) {
        const std::string name = rarely() ? texts.next(3) + (rarely() ? "&" : "") : "f" + std::to_string(n);
        const auto code = rarely() ? static_cast<DBFieldTypes::eType>(texts.below(300)) : DBFieldTypes::date;
        table.addField({String(rarely() ? "tag" : name), code});
    }
    for (std::size_t n = rarely() ? 0 : texts.below(4) + 1; n > 0; --n) {
        const std::string name = rarely() ? texts.next(3) + (rarely() ? ":" : "") : "p" + std::to_string(n);
        table.add_param(name.c_str(), (rarely() ? texts.next(3) : "a:b, c").c_str());
    }
    if (rarely()) table.add_param("keldb", "Rev 2");
    table.add_records(static_cast<int>(texts.below(3)));
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        table.set_tag(row, rarely() ? 2 : 0);
        const int map = 0;
        if (rarely() && rarely()) table[row].resizeRecord(5, &map, false);
        for (unsigned i = 0; i < table[row].get_num_fields(); ++i) {
            std::string value = rarely() ? texts.next(3) : "v";
            if (rarely() && rarely()) value.resize(4094 + texts.below(4), 'x');
            table.setField(row, i, String(value));
        }
        const int tag = table.get_fieldnum("Tag");
        if (tag >= 0 && !rarely()) table[row].set_field(tag, static_cast<int>(table.get_tag(row)));
    }
}

TEST(RoundTrip, NamesExactlyWhatDoesNotComeBack) {
    OddTexts texts(2);
    setLogSink([](const char*, void*) {}, nullptr);
    int equal = 0;
    constexpr int kRounds = 20000;
    for (int round = 0; round < kRounds; ++round) {
        keldb table{std::vector<DBFieldDesc>()};
        make_odd(table, texts);
        equal += storage_losses(table).empty() ? 1 : 0;
        ASSERT_EQ(round_trip_fault(table), "") << "round " << round;
    }
    setLogSink(nullptr, nullptr);
    EXPECT_GT(equal, kRounds / 10);
    EXPECT_LT(equal, kRounds * 9 / 10);
}

// One odd thing at a time: what it is put into, and how it is named.
struct Named {
    Kind kind;
    std::string text;
    Reason reason;
};

const Named kNamed[] = {
    {Kind::value, "a\rb", Reason::line_end},
    {Kind::value, "C:\\new", Reason::backslash_n},
    {Kind::value, " a", Reason::blanks_at_ends},
    {Kind::value, "a\n", Reason::blanks_at_ends},
    {Kind::value, std::string(4096, 'x'), Reason::too_long},
    {Kind::value, "\n\"a\", \\b", Reason::none},
    {Kind::value, std::string(4095, 'x'), Reason::none},
    {Kind::field_name, "a\"b", Reason::double_quote},
    {Kind::field_name, "a\nb", Reason::line_end},
    {Kind::field_name, "a\\nb", Reason::backslash_n},
    {Kind::field_name, "a ", Reason::blanks_at_ends},
    {Kind::field_name, "a&b", Reason::ampersand},
    {Kind::field_name, std::string(4096, 'x'), Reason::too_long},
    {Kind::field_name, "a,b:c", Reason::none},
    {Kind::field_type, "\n", Reason::odd_code},
    {Kind::field_type, "x", Reason::none},
    {Kind::parameter, "a:b", Reason::colon},
    {Kind::parameter, " ", Reason::no_name},
    {Kind::parameter, " a", Reason::blanks_at_ends},
    {Kind::parameter, "a\"", Reason::double_quote},
    {Kind::parameter, "a\nb", Reason::line_end},
    {Kind::parameter, "a ,b", Reason::none},
};

TEST(RoundTrip, SaysWhatIsLostAndWhy) {
    for (const Named& named : kNamed) {
        SCOPED_TRACE(named.text.substr(0, 9));
        const bool name = named.kind == Kind::field_name, type = named.kind == Kind::field_type;
        keldb table{std::vector<DBFieldDesc>()};
        table.addField({String(name ? named.text : "a"),
                        type ? static_cast<DBFieldTypes::eType>(named.text[0]) : DBFieldTypes::text});
        table.addField({"b", DBFieldTypes::text});
        table.add_param(named.kind == Kind::parameter ? named.text.c_str() : "p", "v");
        table.add_records(1);
        if (named.kind == Kind::value) table.setField(0, 0, String(named.text));
        const std::vector<StorageLoss> losses = storage_losses(table);
        ASSERT_EQ(losses.size(), named.reason == Reason::none ? 0U : 1U);
        EXPECT_EQ(round_trip_fault(table), "");
        if (losses.empty()) continue;
        EXPECT_EQ(losses[0].kind, named.kind);
        EXPECT_EQ(losses[0].reason, named.reason);
        EXPECT_EQ(losses[0].field, named.kind == Kind::parameter ? 1U : 0U);
    }
}

}  // namespace
