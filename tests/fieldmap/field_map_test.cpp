// Field maps: the numbers that a stored text stands for, maps made from a source, arranged, and written back.
#include "keldb/fieldmap/field_map.h"
#include "keldb/fieldmap/map_text.h"
#include "tests/testing/kit.h"

namespace {

using namespace std::string_view_literals;

// The reading by scanf itself, character position by character position: a number takes at most three of them.
std::vector<int> read_slowly(const std::string& text) {
    std::vector<int> numbers;
    std::size_t p = 0;
    int number = 0;
    while (p < text.size() && std::sscanf(text.substr(p, 3).c_str(), "%d", &number) == 1) {
        if (number != 0) numbers.push_back(number);
        const std::size_t before = p;
        while (p < text.size() && "0123456789-"sv.find(text[p]) != std::string_view::npos) ++p;
        if (p < text.size() && text[p] == ' ') ++p;
        if (p == before) break;
    }
    return numbers;
}

TEST(MapText, ReadsEveryShortTextAsScanfDoes) {
    const auto compare = [](const std::string& text) {
        const auto exact = exact_copy(text);
        ASSERT_EQ(kel::read_map({exact.get(), text.size()}), read_slowly(text)) << '"' << text << '"';
    };
    for (std::size_t length = 0; length <= 6; ++length) every_text("012-+ ,x", length, compare);
    for (std::size_t length = 0; length <= 5; ++length) every_text("9- \t\n\v\f\r", length, compare);
    for (const auto text : {"999 1000 -99 -1234 99999999999999999999 2"sv, "1 \0 2"sv}) compare(std::string(text));
    EXPECT_EQ(kel::read_map("1 \xA0 2"), std::vector<int>{1});  // in no locale a blank
}

// The entries in order: "-" in front of a hidden one, "()" for the empty name.
std::string shown(const FieldMap& map) {
    std::string text;
    for (int i = 0; i < map.size(); ++i)
        text += std::string(i == 0 ? "" : " ") + (map.isVisible(i) ? "" : "-") + (map[i] == "" ? "()" : map[i].c_str());
    return text;
}

FieldMap map_of(std::string_view entries) {
    FieldMap map;
    for (const std::string& entry : pieces(entries, ' '))
        map.append(entry.c_str() + (entry[0] == '-' ? 1 : 0), entry[0] != '-');
    return map;
}

struct Map : testing::Test {
    keldb table = table_of("Name:a Reel:a Scene:a");
};

TEST_F(Map, ReadsAndWritesTheStoredText) {
    // clang-format off
    const char* const kStored[][3] = {
        {nullptr, "Name Reel Scene", "1 2 3"}, {"3 -1 +2", "Scene -Name Reel", "3 -1 2"},
        {"2 2 -2 4 9 -5", "Reel ()", "2 0"},  // what names no field: "", once
        {"-4 2", "-() Reel", "-0 2"}, {"0 -0", "Name Reel Scene", "1 2 3"}};
    // clang-format on
    for (const auto& [text, expected, written] : kStored) {
        keldb source(table);
        if (text) source.add_param(FieldMap::kParameter, text);
        const FieldMap map(source);
        EXPECT_EQ(shown(map), expected);
        EXPECT_EQ(map.asString(), written);
        EXPECT_EQ(source.get_num_params(), text ? 2U : 0U);  // the map itself stores nothing
        EXPECT_EQ(map.getSourceDb()->size(), 0);             // through a view of its own, which shows no rows
    }
}

TEST_F(Map, KeepsWhatItHoldsWhenASourceComes) {
    FieldMap map = map_of("-scene Other");
    EXPECT_TRUE(map.asString() == "-1 2" && map.getVisibleFieldIndex(0) == -1);  // without a source
    const ODBView view(&table);
    map.setSourceDb(view);
    EXPECT_EQ(map.asString(), "-3 0");
    view->add_param("v5_field_map", "3 -1");  // of the view, not of its table
    map.setSourceDb(view);
    EXPECT_EQ(shown(FieldMap(table)), "Name Reel Scene");
    for (const ODBView& nothing : {ODBView(), ODBView(static_cast<keldb*>(nullptr))}) {
        FieldMap copy(map);
        copy.setSourceDb(nothing);
        EXPECT_EQ(shown(copy) + shown(FieldMap(nothing)), "-scene Other -Name");
    }
    map.clear();
    map.append("Reel", true);
    EXPECT_TRUE(map.asString() == "2" && view->refs() == 2U);  // the source has stayed
}

TEST_F(Map, FindsNamesInAnyCase) {
    keldb repeats = table_of("Name:a NAME:a Reel:a");
    FieldMap map(repeats);
    map.append("REEL", false);
    EXPECT_EQ(shown(map), "Name Reel");
    map.invertVisible(1);
    EXPECT_TRUE(map.isVisible("NAME") && map.containsField("reel"));
    EXPECT_FALSE(map.isVisible("reel") || map.isVisible("Take") || map.containsField("") || map.remove("Take"));
    EXPECT_TRUE(map.remove("nAME"));
    EXPECT_EQ(shown(map), "-Reel");
}

TEST_F(Map, ArrangesEntriesAndIgnoresPositionsOutside) {
    FieldMap map(table);
    map.swap(0, 2);
    map.setVisible(0, false);
    map.swap(0, 1);
    for (const int outside : {INT_MIN, -1, 3, 65536, INT_MAX}) {
        EXPECT_EQ(map[outside], "");
        EXPECT_FALSE(map.isVisible(outside) || map.getVisibleFieldIndex(outside) != -1);
        map.setName(outside, "x"), map.set(outside, "x", false);
        map.setVisible(outside, false), map.invertVisible(outside);
        map.swap(outside, 0), map.swap(0, outside);
        EXPECT_EQ(shown(map), "Reel -Scene Name") << outside;
    }
    EXPECT_TRUE(map.numVisible() == 2 && map.getVisibleFieldIndex(1) == 0);
    map.setName(0, "Scene");  // a repeat is not looked for; the first of the two is found
    map.set(2, "Take", true);
    EXPECT_EQ(shown(map) + map.asString().c_str(), "Scene -Scene Take3 -3 0");
    EXPECT_TRUE(map.isVisible("Scene") && map.getVisibleFieldIndex(1) == -1);  // no field of the source
}

}  // namespace
