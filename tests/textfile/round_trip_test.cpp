// Saving tables: the bytes that are written, and that loading them gives back everything but what storage_losses names.
#include "tests/testing/kit.h"

namespace {

using Kind = StorageLoss::Kind;
using Reason = StorageLoss::Reason;

// Every record gets its own tag, also those that are not shown; a save of the tagged ones stores none.
TEST(Writer, SavesTheExampleInThreeWays) {
    const std::string parameters = "\"KELDB:Rev 1\"\n\"owner:ed\"\n",
                      header = "\"KELDB\"\n\"32\",\"11\",\"1\"\n\"text\",\"timecode\",\"numeric\"\n",
                      names = "\"Name\",\"Start\",\"TAG\"\n", reel = "\"Reel \"\"7\"\"\",\"10:00:00:00\",",
                      both = names + reel + "\"1\"\n\"two\\nlines\",\"\",\"0\"\n";
    const std::tuple<int (keldb::*)(), int, std::string> kSaves[] = {
        {&keldb::save_text_without_header, 2, parameters + both},
        {&keldb::save_tags, 1, parameters + header + names + reel + "\"x\"\n"},
        {&keldb::save_text, 2, parameters + header + both}};
    const TempDir folder;
    const WString path = wide(folder.path("log"));
    for (const auto& [how, saved, bytes] : kSaves) {
        const bool tags = how == &keldb::save_tags;
        keldb table = table_of("Name:a Start:t TAG:n | *Reel \"7\",10:00:00:00,x | ,,7");
        table.add_param("owner", "ed");
        table.setField(1, 0, "two\nlines");
        table.set_show_tags_only(1);
        table.set_filename(path);
        EXPECT_EQ((table.*how)(), saved);
        EXPECT_EQ(file_bytes(folder.path("log")), bytes);
        table.set_show_tags_only(0);
        EXPECT_EQ(text_of(table[0]) + text_of(table[1]),
                  tags ? "*Reel \"7\",10:00:00:00,xtwo\\nlines,,7" : "*Reel \"7\",10:00:00:00,1two\\nlines,,0");
        EXPECT_TRUE(table[1].get_changed() == (tags ? 1 : 0) && table.get_changed() == 1);
        table.set_filename(wide(folder.path("missing/log")));
        EXPECT_EQ((table.*how)(), 0);
    }
}

// A short text of what the format treats in some way of its own, and of what it must not; a few are too long.
std::string odd_text(Random& random) {
    static const std::vector<std::string> kPieces = {" ",  "\t",   "\n",    "\r", "\\n",  "\\",   "n",
                                                     "\"", "\"\"", ",",     ":",  "\x01", "\x80", std::string(1, '\0'),
                                                     "é",  "a",    "KELDB", "&"};
    std::string text;
    for (unsigned n = random.below(5); n > 0; --n) text += random.of(kPieces);
    if (random.one_in(12)) text.resize(4094 + random.below(4), 'x');
    return text;
}

// A table in which anything may be odd. Most things are not, so that many tables come back equal.
keldb odd_table(Random& random) {
    const auto rarely = [&] { return random.one_in(12); };
    const auto text = [&](const std::string& usual) { return rarely() ? odd_text(random) : usual; };
    keldb table{std::vector<DBFieldDesc>()};
    for (unsigned n = random.below(4); n > 0; --n) {
        const auto code = rarely() ? static_cast<DBFieldTypes::eType>(random.below(300)) : DBFieldTypes::date;
        table.addField({String(rarely() ? "tag" : text("f")), code});
    }
    for (unsigned n = rarely() ? 0 : random.below(4) + 1; n > 0; --n)
        table.add_param(text("p" + std::to_string(n)).c_str(), text("a:b, c").c_str());
    if (rarely()) table.add_param("keldb", "Rev 2");
    table.add_records(static_cast<int>(random.below(3)));
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        table.set_tag(row, rarely() ? 2 : 0);
        const int map = 0;
        if (rarely() && rarely()) table[row].resizeRecord(5, &map, false);
        for (unsigned i = 0; i < table[row].get_num_fields(); ++i)
            table.setField(row, i, String(random.one_in(4) ? odd_text(random) : "v"));
        const int tag = table.get_fieldnum("Tag");
        if (tag >= 0 && !rarely()) table[row].set_field(tag, static_cast<int>(table.get_tag(row)));
    }
    return table;
}

// Kinds of loss count that some table had alone.
TEST(RoundTrip, NamesExactlyWhatDoesNotComeBack) {
    const Logged log;
    Random random(2);
    int equal = 0;
    std::set<std::pair<Kind, Reason>> lossy;
    for (int round = 0; round < 20000; ++round) {
        keldb table = odd_table(random);
        const std::vector<StorageLoss> losses = storage_losses(table);
        ASSERT_EQ(round_trip_fault(table), "") << "round " << round;
        std::set<std::pair<Kind, Reason>> kinds;
        for (const StorageLoss& loss : losses) kinds.emplace(loss.kind, loss.reason);
        if (kinds.size() == 1) lossy.merge(kinds);
        equal += losses.empty() ? 1 : 0;
    }
    EXPECT_TRUE(equal > 2000 && equal < 18000) << equal;
    std::cout << "REL lossy_classes=" << lossy.size() << '\n';
}

TEST(RoundTrip, SaysWhatIsLostAndWhy) {
    using enum StorageLoss::Kind;
    using enum StorageLoss::Reason;
    const std::string longest(4095, 'x'), longer = longest + 'x';
    const std::tuple<Kind, std::string, Reason> kRows[] = {
        // clang-format off
        {value, "a\rb", line_end}, {field_name, "a\nb", line_end}, {parameter, "a\nb", line_end},
        {value, "C:\\new", backslash_n}, {field_name, "a\\nb", backslash_n}, {parameter, "a\\nb", backslash_n},
        {value, " a", blanks_at_ends}, {field_name, "a ", blanks_at_ends}, {parameter, " a", blanks_at_ends},
        {value, "a\n", blanks_at_ends}, {value, longer, too_long}, {field_name, longer, too_long},
        {parameter, longest, too_long}, {field_name, "a\"b", double_quote}, {parameter, "a\"", double_quote},
        {field_name, "a&b", ampersand}, {parameter, "a:b", colon}, {parameter, " ", no_name},
        {field_type, "\n", odd_code},
        // clang-format on
    };
    for (const auto& [kind, text, reason] : kRows) {
        SCOPED_TRACE(text.substr(0, 9));
        const auto type = static_cast<DBFieldTypes::eType>(kind == field_type ? text[0] : 'a');
        keldb table{std::vector<DBFieldDesc>()};
        table.addField({String(kind == field_name ? text : "a"), type});
        table.addField({"b", DBFieldTypes::text});
        table.add_param(kind == parameter ? text.c_str() : "p", "v");
        table.add_records(1);
        table.setField(0, 0, String(kind == value ? text : "v"));
        EXPECT_EQ(round_trip_fault(table), "");
        const std::vector<StorageLoss> losses = storage_losses(table);
        ASSERT_EQ(losses.size(), 1U);
        const StorageLoss& loss = losses[0];
        EXPECT_TRUE(loss.kind == kind && loss.reason == reason && loss.field == (kind == parameter ? 1U : 0U));
        const std::string words(describe(loss).view());
        EXPECT_EQ(words.find("another number") != words.npos, kind == value && reason == too_long) << words;
        EXPECT_FALSE(words.empty());
    }
}

}  // namespace
