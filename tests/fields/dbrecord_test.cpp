// One row: its texts, typed reads and writes at the edge of text, flags, shape, and the labels handed to a
// configuration block; and the names of types in files.
#include "keldb/fields/dbrecord.h"

#include <iomanip>

#include "tests/testing/kit.h"

namespace {

TEST(RecordNumbers, AreStoredAsPrintfWritesThem) {
    dbrecord record(3);
    for (const double value : {0.0, -0.0, 2.5, -1e-9, 0.000000005, 123456789.123456789, DBL_MAX, -DBL_MAX, DBL_TRUE_MIN,
                               double{INFINITY}, -double{INFINITY}, double{NAN}, 0.1}) {
        std::ostringstream expected;  // in the C locale, as no printf is here
        expected << std::fixed << std::setprecision(8) << value;
        ASSERT_EQ(record.set_field(0, value), 1);
        EXPECT_EQ(record.get_field(0), expected.str());
        double read = 7;
        EXPECT_EQ(record.in_field(0, read), 1);
        EXPECT_TRUE(read == value || std::abs(read - value) < 1e-8 || (std::isnan(value) && std::isnan(read))) << value;
    }
    EXPECT_EQ(record.set_field(0, INT_MIN) + record.set_field(1, UINT_MAX) + record.set_field(2, false), 3);
    EXPECT_EQ(text_of(record), "-2147483648,4294967295,f");
    int number = 7;
    bool truth = true;
    EXPECT_EQ(record.in_field(0, number) + record.in_field(2, truth), 2);
    EXPECT_TRUE(number == INT_MIN && !truth);
}

// As loaded or made blank, written to, and copied. A text that was handed out stays as it is until its value is written
// or the count changes.
TEST(RecordTexts, AgreeWithAVectorOfStrings) {
    keldb loaded;
    load_bytes(loaded, "KELDB:Rev 1\nKELDB\n1,1,1,1\na,a,a,a\nn,m,o,p\nloaded,,a text of more than fifteen bytes,x\n");
    for (unsigned seed = 0; seed < 200; ++seed) {
        Random random(seed);
        dbrecord record(loaded[0]), blank(static_cast<unsigned short>(random.below(200)));
        if (seed % 2 == 0) record = blank;
        std::vector<std::string> twin;
        for (unsigned i = 0; i < record.get_num_fields(); ++i) twin.emplace_back(record.field_text(i));
        std::vector<std::pair<unsigned short, const char*>> held;
        for (unsigned step = 0; step < 200 && !twin.empty(); ++step) {
            const auto i = static_cast<unsigned short>(random.below(twin.size()));
            const unsigned kind = random.below(40);
            std::erase_if(held, [&](const auto& text) { return kind == 0 || (kind < 20 && text.first == i); });
            if (kind == 0) {
                record.removeField(i);
                twin.erase(twin.begin() + i);
            } else if (kind < 15) {  // around the limit of 16-bit offsets, too
                twin[i] = random.one_in(32) ? std::string(65500 + random.below(256), 'x') : random.of(odd_texts());
                record.setField(i, String(twin[i]));
            } else if (kind < 20) {  // from a text of the very same record
                const auto from = random.below(twin.size());
                const std::size_t at = random.below(twin[from].size() + 1);
                record.set_field(i, record.field_text(from).substr(at), false);
                twin[i] = std::string(twin[from], at);
            } else {
                held.emplace_back(i, kind < 30 ? record.get_field(i) : record.getField(i).c_str());
            }
            const dbrecord copy(record);
            for (const dbrecord* each : {&copy, static_cast<const dbrecord*>(&record)}) {
                for (unsigned k = 0; k < twin.size(); ++k) ASSERT_EQ(each->field_text(k), twin[k]) << seed;
            }
            for (const auto& [k, text] : held) ASSERT_EQ(std::string_view(text, twin[k].size() + 1), twin[k] + '\0');
        }
    }
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
    EXPECT_EQ(record.get_field_size(0), 4);
    char untouched = '#';
    EXPECT_EQ(record.in_field(0, &untouched, -1) + record.in_field(1, &untouched, 0), 0);
    EXPECT_EQ(untouched, '#');
}

TEST(RecordIndexes, OutsideTouchNothing) {
    const keldb table = table_of("a:a b:a | x,y");
    dbrecord& record = *table.get_record(0);
    for (const int i : {-1, 2, 65535, 65536, INT_MAX, INT_MIN})
        EXPECT_EQ(record.set_field(i, "z", true) + record.get_field_size(i), 0) << i;
    EXPECT_TRUE(!record.get_field(2) && &record.getField(2) == &record.getField(65535));
    record.removeField(2);
    for (const int count : {-1, 65536, INT_MAX}) record.resizeRecord(count, &count, true);
    record.resizeRecord(1, nullptr, true);
    EXPECT_EQ(record.get_changed() + table.get_changed() + record.setField(2, "z"), 0);
    EXPECT_EQ(text_of(record), "x,y");
}

TEST(RecordWrites, TrimAndSetTheChangedFlags) {
    const std::tuple<const char*, bool, const char*> kWrites[] = {
        {" \t\n\v\f\rab ", true, "*ab ,"}, {" ab", false, "* ab,"}, {" \n", true, "*,"}, {nullptr, false, "*,"}};
    keldb table = table_of("f:a g:a | *old,");
    const auto expect_written = [&table](const char* after) {
        EXPECT_EQ(text_of(table[0]), after);
        EXPECT_EQ(table[0].get_changed() + table.get_changed(), 2) << after;
        table.clear_changed();
    };
    for (const auto& [written, trim, after] : kWrites) {
        EXPECT_EQ(table[0].set_field(0, written, trim), 1);
        expect_written(after);
    }
    dbrecord source(3);
    source.set_field(1, "  two", false);
    table[0] = source;
    expect_written("*,two,");
    source.set_container(&table);
    EXPECT_TRUE(text_of(dbrecord(source)) == ",  two," && !dbrecord(source).get_container());
    source.clear();
    EXPECT_EQ(text_of(source), ",,");
}

TEST(RecordLabels, AreHandedOverUnderTheirKeys) {
    keldb table = table_of(  // each value is its key
        "NAME:a notes:a who:a scene:a description:a Shot:a reel:a snd~reel:a 24P~reel:a cam~reel:a comp~reel:a "
        "lab~reel:a tc:t | "
        "name,notes,who,scene,description,shot,reelid,reelid1,24P_reel,camreel,comp_reel,lab_reel,tc");
    for (const int setting : {0, -1, 1}) {
        kel::dbv_reel_field_editable = setting;
        configb block;
        const unsigned labels = setting == 0 ? 6 : 11;
        EXPECT_EQ(table[0].update(&block), static_cast<int>(labels));
        EXPECT_EQ(block.size(), labels + 2);
        EXPECT_STREQ(block.get("slate/take"), "name");
        for (unsigned short i = 0; i <= labels; ++i) EXPECT_STREQ(block.get(table[0][i]), table[0][i]);
    }
    configb block;
    table.set_fieldname(0, "no name");
    EXPECT_TRUE(table[0].update(&block) == 0 && block.size() == 0);
}

TEST(KnownNames, OfTypes) {
    for (const std::string& row : pieces("timecode t|timecode_s T|text a|text_s A|time_of_day D|date d|dos_date M|"
                                         "numeric n|long l|double f|c c|x x")) {
        const auto type = static_cast<DBFieldTypes::eType>(row.back());
        const std::string name = row.substr(0, row.size() - 2);
        EXPECT_TRUE(kel::type_from_name(name) == type && kel::name_of_type(type) == name.c_str()) << row;
    }
    const std::pair<const char*, int> kOnlyRead[] = {{"TimeCode", 't'}, {"char", 'c'}, {"a", 'a'},  {"xy", 0},
                                                     {"timecode_", 0},  {"", 0},       {nullptr, 0}};
    for (const auto& [name, type] : kOnlyRead) EXPECT_EQ(kel::type_from_name(name), type) << name;
}

}  // namespace
