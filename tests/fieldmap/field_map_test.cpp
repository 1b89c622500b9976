// Field maps: made from a source and its stored text, arranged, and written back.

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "keldb/fieldmap/field_map.h"
#include "tests/testing/table_text.h"

namespace {

// The entries in order: "-" in front of a hidden one, "()" for the empty name.
std::string shown(const FieldMap& map) {
    std::string text;
    for (int i = 0; i < map.size(); ++i) {
        const String name = map.getName(i);
        text += (i == 0 ? "" : " ") + std::string(map.isVisible(i) ? "" : "-");
        text += name.empty() ? "()" : name.c_str();
    }
    return text;
}

FieldMap map_of(std::string_view entries) {
    FieldMap map;
    for (const std::string& entry : testing_kit::pieces(entries, ' ')) {
        map.append(entry.c_str() + (entry[0] == '-' ? 1 : 0), entry[0] != '-');
    }
    return map;
}

struct Stored {
    const char* text;  // null: no parameter
    const char* shown;
    const char* written;
};

const Stored kStored[] = {
    {nullptr, "Name Reel Scene", "1 2 3"},
    {"3 -1 2", "Scene -Name Reel", "3 -1 2"},
    {"2 2 -2", "Reel", "2"},
    {"1  2", "Name Reel", "1 2"},
    {"+2 1", "Reel", "2"},
    {"4 9 1 -5", "() Name", "0 1"},  // numbers that name no field: the empty name, once
    {"-4 2", "-() Reel", "-0 2"},
    {"0 -0", "Name Reel Scene", "1 2 3"},
    {"x 1", "Name Reel Scene", "1 2 3"},
};

class Map : public testing::Test {
protected:
    keldb table = testing_kit::table_of("Name:a Reel:a Scene:a");
};

TEST_F(Map, ReadsAndWritesTheStoredText) {
    for (const Stored& stored : kStored) {
        SCOPED_TRACE(stored.text ? stored.text : "(none)");
        keldb source(table);
        if (stored.text) source.add_param(FieldMap::kParameter, stored.text);
        const FieldMap map(source);
        EXPECT_EQ(shown(map), stored.shown);
        EXPECT_EQ(map.asString(), stored.written);
        EXPECT_EQ(source.get_num_params(), stored.text ? 2U : 0U);  // the map itself stores nothing
    }
}

TEST_F(Map, GivesBackVisibleNumbersTo999AndHiddenOnesTo99) {
    struct Row {
        const char* entry;  // named as it is written
        bool comes_back;
    };
    keldb wide;
    for (int i = 1; i <= 1001; ++i) wide.addField({String(std::to_string(i)), DBFieldTypes::text});
    for (const Row& row :
         {Row{"-99", true}, Row{"-100", false}, Row{"100", true}, Row{"999", true}, Row{"1000", false}}) {
        FieldMap map = map_of(row.entry);
        const ODBView source(&wide);
        map.setSourceDb(source);
        EXPECT_EQ(map.asString(), row.entry);
        source->add_param(FieldMap::kParameter, row.entry);
        EXPECT_EQ(shown(FieldMap(source)) == row.entry, row.comes_back) << row.entry;
    }
}

TEST_F(Map, ReadsTheParameterOfTheViewItIsGiven) {
    const ODBView view(&table);
    table.add_param(FieldMap::kParameter, "1");
    EXPECT_EQ(shown(FieldMap(view)), "Name Reel Scene");  // attached before the table had one
    view->add_param("v5_field_map", "-3");
    EXPECT_EQ(shown(FieldMap(view)), "-Scene");
    EXPECT_EQ(shown(FieldMap(table)), "Name");
    EXPECT_EQ(FieldMap(table).getSourceDb()->size(), 0);  // a view of its own, which shows no rows
}

TEST_F(Map, KeepsWhatItHoldsWhenASourceComes) {
    FieldMap map = map_of("-scene Other");
    EXPECT_EQ(map.asString(), "-1 2");
    EXPECT_EQ(map.getVisibleFieldIndex(0), -1);  // without a source
    map.setSourceDb(ODBView(&table));
    EXPECT_EQ(shown(map), "-scene Other");
    EXPECT_EQ(map.asString(), "-3 0");
    table.add_param(FieldMap::kParameter, "3 -1");
    map.setSourceDb(ODBView(&table));
    EXPECT_EQ(shown(map), "-scene Other -Name");
    for (const ODBView& nothing : {ODBView(), ODBView(static_cast<keldb*>(nullptr))}) {
        EXPECT_EQ(FieldMap(nothing).asString(), "");
        FieldMap copy(map);
        copy.setSourceDb(nothing);
        EXPECT_EQ(shown(copy), "-scene Other -Name");
    }
    map.clear();
    EXPECT_EQ(map.asString(), "");
    map.append("Reel", true);
    EXPECT_EQ(map.asString(), "2");  // the source has stayed
}

TEST_F(Map, FindsNamesInAnyCase) {
    FieldMap map(table);
    map.append("REEL", false);
    EXPECT_EQ(shown(map), "Name Reel Scene");
    map.setVisible(1, false);
    EXPECT_FALSE(map.isVisible("reel"));
    EXPECT_TRUE(map.isVisible("NAME"));
    EXPECT_FALSE(map.isVisible("Take") || map.containsField("") || !map.containsField("sCENE"));
    EXPECT_FALSE(map.remove("Take"));
    EXPECT_TRUE(map.remove("name"));
    EXPECT_EQ(shown(map), "-Reel Scene");
    keldb repeats = testing_kit::table_of("Name:a NAME:a Reel:a");
    EXPECT_EQ(shown(FieldMap(repeats)), "Name Reel");
}

TEST_F(Map, ArrangesEntries) {
    FieldMap map(table);
    map.swap(0, 2);
    map.invertVisible(0);
    map.swap(0, 1);
    map.swap(1, 1);
    EXPECT_EQ(shown(map), "Reel -Scene Name");
    EXPECT_EQ(map.numVisible(), 2);
    EXPECT_EQ(map.getVisibleFieldIndex(0), 1);
    EXPECT_EQ(map.getVisibleFieldIndex(1), 0);
    map.setName(0, "Scene");  // a repeat is not looked for; the first of the two is found
    map.set(2, "Take", false);
    EXPECT_EQ(shown(map), "Scene -Scene -Take");
    EXPECT_TRUE(map.isVisible("Scene"));
    EXPECT_EQ(map.asString(), "3 -3 -0");
    map.invertVisible(2);
    EXPECT_EQ(map.getVisibleFieldIndex(1), -1);  // the source has no such field
}

TEST_F(Map, AnswersForPositionsOutside) {
    constexpr int kLeast = std::numeric_limits<int>::min(), kMost = std::numeric_limits<int>::max();
    FieldMap map(table);
    for (const int outside : {kLeast, -65536, -1, 3, 65535, 65536, 65538, kMost}) {
        SCOPED_TRACE(outside);
        EXPECT_EQ(map[outside], "");
        EXPECT_FALSE(map.isVisible(outside));
        EXPECT_EQ(map.getVisibleFieldIndex(outside), -1);
        map.setName(outside, "x");
        map.set(outside, "x", false);
        map.setVisible(outside, false);
        map.invertVisible(outside);
        map.swap(outside, 0);
        map.swap(0, outside);
        EXPECT_EQ(shown(map), "Name Reel Scene");
    }
}

TEST_F(Map, CopiesShareTheSourceAndNothingElse) {
    const ODBView view(&table);
    {
        FieldMap map(view);
        map.setVisible(0, false);
        FieldMap copy(map), assigned = map_of("x y");
        assigned = map;
        const FieldMap& same = assigned;
        assigned = same;
        EXPECT_EQ(view->refs(), 4U);
        copy.remove("Name");
        map.clear();
        EXPECT_EQ(copy.getSourceDb(), view);
        EXPECT_EQ(shown(copy), "Reel Scene");
        EXPECT_EQ(shown(assigned), "-Name Reel Scene");
    }
    EXPECT_EQ(view->refs(), 1U);
}

}  // namespace
