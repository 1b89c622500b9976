// The names that the suite's logs share: of types, of columns with a least width, of start and end timecodes.
#include <gtest/gtest.h>

#include "keldb/fields/well_known_fields.h"
#include "keldb/table/keldb.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::pieces;

TEST(KnownNames, OfTypesWidthsAndRangePairs) {
    // The name as read, the code (0: none), and the name as written.
    for (const std::string& row :
         pieces("timecode t timecode|timecode_s T timecode_s|text a text|text_s A text_s|time_of_day D time_of_day|"
                "date d date|dos_date M dos_date|char c c|numeric n numeric|long l long|double f double|"
                "TimeCode t timecode|c c c|x x x|a a text|xy 0 |timecode_ 0 | 0 ",
                '|')) {
        const std::vector<std::string> parts = pieces(row, ' ');
        const DBFieldTypes::eType type = kel::type_from_name(parts[0]);
        EXPECT_EQ(type, parts[1][0] == '0' ? 0 : parts[1][0]) << row;
        EXPECT_TRUE(type == 0 || kel::name_of_type(type) == parts[2].c_str()) << row;
    }
    for (const std::string& row :
         pieces("1 Tag|2 sequence|3 pulldown|4 Mdrive|6 Type|8 Size|9 film duration|10 lab reel|12 Cookie|"
                "12 end camcode|15 end inkcode|16 Duration|17 start keycode|24 Who|30 Reel Type|32 Name|64 chans|"
                "100 NOTES|4 Comment|4 Nam|4 Names|4 ",
                '|')) {
        EXPECT_EQ(keldb::getMinFieldSize(row.c_str() + row.find(' ') + 1), std::stoul(row)) << row;
    }
    EXPECT_EQ(keldb::getMinFieldSize(nullptr), 4U);
    // Pairs are found by either name, byte for byte.
    for (const std::string& row : pieces("Start time,End time|snd start,snd end|start 24P code,end 24P code|"
                                         "start keycode,end keycode|start camcode,end camcode|"
                                         "start inkcode,end inkcode|START TIME|End time |",
                                         '|')) {
        for (const std::string& name : pieces(row, ',')) {
            const kel::FieldPair* const pair = kel::range_pair_of(name);
            EXPECT_EQ(pair ? std::string(pair->start) + ',' + pair->end : name, row);
        }
    }
}

}  // namespace
