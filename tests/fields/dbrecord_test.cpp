// One row: typed reads and writes at the edge of text, flags, shape, and the labels handed to a configuration block;
// and the names of types in files.
#include "keldb/fields/dbrecord.h"
#include "keldb/fields/well_known_fields.h"
#include "tests/testing/kit.h"

namespace {

TEST(RecordNumbers, AreStoredAsPrintfWritesThem) {
    dbrecord record(3);
    for (const double value : {0.0, -0.0, 2.5, -1e-9, 0.000000005, 123456789.123456789, DBL_MAX, -DBL_MAX, DBL_TRUE_MIN,
                               double{INFINITY}, -double{INFINITY}, double{NAN}, 0.1}) {
        char expected[400];
        const int length = std::snprintf(expected, sizeof expected, "%.8lf", value);
        const double rounded = std::strtod(expected, nullptr);
        std::replace(expected, expected + length, *std::localeconv()->decimal_point,
                     '.');  // a host's locale has no say
        ASSERT_EQ(record.set_field(0, value), 1);
        EXPECT_STREQ(record.get_field(0), expected);
        double read = 7;
        EXPECT_EQ(record.in_field(0, read), 1);
        EXPECT_TRUE(read == rounded || (std::isnan(value) && std::isnan(read))) << expected;
    }
    EXPECT_EQ(record.set_field(0, INT_MIN) + record.set_field(1, UINT_MAX) + record.set_field(2, false), 3);
    EXPECT_EQ(text_of(record), "-2147483648,4294967295,f");
    int number = 7;
    bool truth = true;
    EXPECT_EQ(record.in_field(0, number) + record.in_field(2, truth), 2);
    EXPECT_TRUE(number == INT_MIN && !truth);
}

// The buffer has length + 1 bytes and not one more.
TEST(RecordReads, FillTheCallersBufferExactly) {
    dbrecord record(1);
    const std::string all("ab\0d\0\0", 6);
    record.setField(0, String(all.data(), 4));
    for (std::size_t length = 0; length <= 6; ++length) {
        const std::unique_ptr<char[]> buffer(new char[length + 1]);
        std::fill_n(buffer.get(), length + 1, '#');
        ASSERT_EQ(record.in_field(0, buffer.get(), static_cast<int>(length)), 1);
        EXPECT_EQ(std::string(buffer.get(), length + 1), all.substr(0, length) + '\0') << length;
    }
    char untouched = '#';
    EXPECT_EQ(record.in_field(0, &untouched, -1) + record.in_field(1, &untouched, 0), 0);
    EXPECT_EQ(untouched, '#');
}

TEST(RecordIndexes, OutsideTouchNothing) {
    const keldb table = table_of("a:a b:a | x,y");
    dbrecord& record = *table.get_record(0);
    bool truth = true;
    int number = 7;
    for (const int i : {-1, 2, 65535, 65536, INT_MAX, INT_MIN}) {
        EXPECT_EQ(record.set_field(i, "z", true) + record.get_field_size(i) + record.in_field(i, truth), 0) << i;
        EXPECT_EQ(record.in_field(i, number), 0);
    }
    EXPECT_TRUE(truth && number == 7 && !record.get_field(2) && &record.getField(2) == &record.getField(65535));
    record.removeField(2);
    for (const int count : {-1, 65536, INT_MAX}) record.resizeRecord(count, &count, true);
    record.resizeRecord(1, nullptr, true);
    EXPECT_EQ(record.get_changed() + table.get_changed() + record.setField(2, "z"), 0);
    EXPECT_EQ(text_of(record), "x,y");
    const int map = 0;
    record.resizeRecord(0, &map, false);
    EXPECT_EQ(text_of(record), "");
}

TEST(RecordWrites, TrimAndSetTheChangedFlags) {
    const std::tuple<const char*, bool, const char*> kWrites[] = {
        {" \t\n\v\f\rab ", true, "ab "}, {" ab", false, " ab"}, {" \n", true, ""}, {nullptr, false, ""}};
    keldb table = table_of("f:a | old");
    for (const auto& [written, trim, after] : kWrites) {
        EXPECT_EQ(table[0].set_field(0, written, trim), 1);
        EXPECT_STREQ(table[0].get_field(0), after);
        EXPECT_EQ(table[0].get_changed() + table.get_changed(), 2) << after;
        table.clear_changed();
    }
    table[0].clear();
    EXPECT_EQ(table[0].get_changed() + table.get_changed() + table[0].get_field_size(0), 0);
}

TEST(RecordAssignment, TakesCountAndTrimmedValuesAndKeepsTableAndTag) {
    keldb table = table_of("a:a b:a c:a");
    dbrecord source(3), target(5);
    source.set_field(1, "  two", false);
    source.set_tag(2);
    target.set_container(&table);
    target.set_tag(257);
    target = source;
    EXPECT_EQ(text_of(target), "*,two,");
    EXPECT_TRUE(target.get_container() == &table && target.get_tag() == 1 && target.get_changed() == 1);
    source.set_container(&table);
    const dbrecord copy(source);
    EXPECT_TRUE(text_of(copy) == ",  two," && !copy.get_container() && table.get_changed());
}

// What a record hands over under each setting, and how many fields count.
TEST(RecordLabels, AreHandedOverUnderTheirKeys) {
    const std::tuple<const char*, int, const char*> kRows[] = {
        {"a:a reel:a | x,y", 1, "0"},
        {"Cam~Reel:a NAME:a | c,n", 1, "1 slate/take=n name=n camreel=c"},
        {"name:a notes:a who:a scene:a description:a shot:a reel:a snd~reel:a 24P~reel:a cam~reel:a comp~reel:a "
         "lab~reel:a | n,1,2,3,4,5,6,7,8,9,10,",
         -1,
         "11 slate/take=n name=n notes=1 who=2 scene=3 description=4 shot=5 reelid=6 reelid1=7 24P_reel=8 camreel=9 "
         "comp_reel=10 lab_reel="},
        {"name:a snd~reel:a reel:a lab~reel:a | n,7,6,11", 0, "1 slate/take=n name=n reelid=6"},
    };
    for (const auto& [text, setting, expected] : kRows) {
        kel::dbv_reel_field_editable = setting;
        keldb table = table_of(text);
        configb block;
        std::string handed = std::to_string(table[0].update(&block));
        for (const std::string& key : pieces(
                 "slate/take name notes who scene description shot reelid reelid1 24P_reel camreel comp_reel lab_reel",
                 ' ')) {
            if (block.get(key.c_str())) handed += ' ' + key + '=' + block.get(key.c_str());
        }
        EXPECT_EQ(handed, expected);
    }
    kel::dbv_reel_field_editable = 1;
}

TEST(KnownNames, OfTypes) {
    // The name as read, the code (0: none), and the name as written.
    for (const std::string& row :
         pieces("timecode t timecode|timecode_s T timecode_s|text a text|text_s A text_s|time_of_day D time_of_day|"
                "date d date|dos_date M dos_date|char c c|numeric n numeric|long l long|double f double|"
                "TimeCode t timecode|c c c|x x x|a a text|xy 0 |timecode_ 0 | 0 ")) {
        const std::vector<std::string> parts = pieces(row, ' ');
        const DBFieldTypes::eType type = kel::type_from_name(parts[0]);
        EXPECT_EQ(type, parts[1][0] == '0' ? 0 : parts[1][0]) << row;
        EXPECT_TRUE(type == 0 || kel::name_of_type(type) == parts[2].c_str()) << row;
    }
    EXPECT_EQ(kel::type_from_name(nullptr), DBFieldTypes::none);
}

}  // namespace
