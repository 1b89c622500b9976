// Saving tables: the bytes that are written, and that loading them gives back everything but what storage_losses names.
#include "tests/testing/kit.h"

namespace {

using Kind = StorageLoss::Kind;
using Reason = StorageLoss::Reason;

// Every record gets its own tag, also those that are not shown; a save of the tagged ones stores none.
TEST(Writer, SavesTheExampleAndReadsItBack) {
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
    keldb loaded(path, kAllRecords, false);
    EXPECT_EQ(text_of(loaded), "Name:a Start:t TAG:n | Reel \"7\",10:00:00:00,1 | two\\nlines,,0");
    EXPECT_STREQ(loaded.get_param_val("owner"), "ed");
    EXPECT_EQ(loaded.get_changed() + loaded[0].get_changed(), 0);
}

TEST(WriterHeader, WritesNamesOfAnyLengthAndOddTypesAsTheirCode) {
    const std::string name(70000, 'n');
    keldb table({{String(name), DBFieldTypes::character}, {String(""), static_cast<DBFieldTypes::eType>('x')}});
    EXPECT_EQ(saved_bytes(table), "\"KELDB\"\n\"4\",\"4\"\n\"c\",\"x\"\n\"" + name + "\",\"\"\n");
}

// A short text of what the format treats in some way of its own, and of what it must not.
std::string odd_text(Random& random, std::size_t most_pieces) {
    static const std::vector<std::string> kPieces = {" ",  "\t",   "\n",    "\r", "\\n",  "\\",   "n",
                                                     "\"", "\"\"", ",",     "\"", "\x01", "\x80", std::string(1, '\0'),
                                                     "é",  "a",    "KELDB", "'"};
    std::string text;
    for (std::size_t n = random.below(most_pieces + 1); n > 0; --n) text += random.of(kPieces);
    return text;
}

struct RoundTrip : testing::Test {
    RoundTrip() {
        setLogSink([](const char*, void*) {}, nullptr);
    }
    static void TearDownTestSuite() { std::cout << "REL lossy_classes=" << lossy.size() << '\n'; }

    // What is named before a save, once the table came back accordingly. Counts the kinds that some table had alone.
    static std::vector<StorageLoss> losses_of(keldb& table) {
        const std::vector<StorageLoss> losses = storage_losses(table);
        EXPECT_EQ(round_trip_fault(table), "");
        std::set<std::pair<Kind, Reason>> kinds;
        for (const StorageLoss& loss : losses) kinds.emplace(loss.kind, loss.reason);
        if (kinds.size() == 1) lossy.merge(kinds);
        return losses;
    }
    inline static std::set<std::pair<Kind, Reason>> lossy;
};

TEST_F(RoundTrip, NamesEachValueThatComesBackOtherwise) {
    Random random(1);
    for (int round = 0; round < 3000; ++round) {
        keldb table = table_of("a:a b:t | , | ,"), back;
        table.add_param("source", "test");
        for (unsigned i = 0; i < 4; ++i) table.setField(i / 2, i % 2, String(odd_text(random, 6)));
        std::vector<unsigned> named, lost;
        for (const StorageLoss& loss : losses_of(table)) named.push_back(loss.row * 2 + loss.field);
        load_bytes(back, saved_bytes(table));
        for (unsigned i = 0; i < 4; ++i) {
            if (table[i / 2].field_text(i % 2) != back[i / 2].field_text(i % 2)) lost.push_back(i);
        }
        ASSERT_EQ(named, lost);
    }
}

// A table in which anything may be odd. Most things are not, so that many tables come back equal.
keldb odd_table(Random& random) {
    const auto rarely = [&] { return random.one_in(12); };
    keldb table{std::vector<DBFieldDesc>()};
    for (unsigned n = random.below(4); n > 0; --n) {
        const std::string name = rarely() ? odd_text(random, 3) + (rarely() ? "&" : "") : "f" + std::to_string(n);
        const auto code = rarely() ? static_cast<DBFieldTypes::eType>(random.below(300)) : DBFieldTypes::date;
        table.addField({String(rarely() ? "tag" : name), code});
    }
    for (unsigned n = rarely() ? 0 : random.below(4) + 1; n > 0; --n) {
        const std::string name = rarely() ? odd_text(random, 3) + (rarely() ? ":" : "") : "p" + std::to_string(n);
        table.add_param(name.c_str(), (rarely() ? odd_text(random, 3) : "a:b, c").c_str());
    }
    if (rarely()) table.add_param("keldb", "Rev 2");
    table.add_records(static_cast<int>(random.below(3)));
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        table.set_tag(row, rarely() ? 2 : 0);
        const int map = 0;
        if (rarely() && rarely()) table[row].resizeRecord(5, &map, false);
        for (unsigned i = 0; i < table[row].get_num_fields(); ++i) {
            std::string value = rarely() ? odd_text(random, 3) : "v";
            if (rarely() && rarely()) value.resize(4094 + random.below(4), 'x');
            table.setField(row, i, String(value));
        }
        const int tag = table.get_fieldnum("Tag");
        if (tag >= 0 && !rarely()) table[row].set_field(tag, static_cast<int>(table.get_tag(row)));
    }
    return table;
}

TEST_F(RoundTrip, NamesExactlyWhatDoesNotComeBack) {
    Random random(2);
    int equal = 0;
    for (int round = 0; round < 20000; ++round) {
        keldb table = odd_table(random);
        equal += losses_of(table).empty() ? 1 : 0;
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_TRUE(equal > 2000 && equal < 18000) << equal;
}

TEST_F(RoundTrip, SaysWhatIsLostAndWhy) {
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
        {field_type, "\n", odd_code}, {value, longest, none}, {value, "\n\"a\", \\b", none},
        {field_name, "a,b:c", none}, {parameter, "a ,b", none}, {field_type, "x", none},
        // clang-format on
    };
    for (const auto& [kind, text, reason] : kRows) {
        SCOPED_TRACE(text.substr(0, 9));
        keldb table{std::vector<DBFieldDesc>()};
        const auto type = static_cast<DBFieldTypes::eType>(kind == field_type ? text[0] : 'a');
        table.addField({String(kind == field_name ? text : "a"), type});
        table.addField({"b", DBFieldTypes::text});
        table.add_param(kind == parameter ? text.c_str() : "p", "v");
        table.add_records(1);
        if (kind == value) table.setField(0, 0, String(text));
        const std::vector<StorageLoss> losses = losses_of(table);
        ASSERT_EQ(losses.size(), reason == none ? 0U : 1U);
        for (const StorageLoss& loss : losses) {
            EXPECT_TRUE(loss.kind == kind && loss.reason == reason && loss.field == (kind == parameter ? 1U : 0U));
            const std::string words(describe(loss).view());
            EXPECT_EQ(words.find("another number") != words.npos, kind == value && reason == too_long) << words;
            EXPECT_FALSE(words.empty());
        }
    }
}

}  // namespace
