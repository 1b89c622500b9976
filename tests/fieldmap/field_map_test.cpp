// Field maps: the numbers that a stored text stands for, maps made from a source, arranged, and written back.
#include "keldb/fieldmap/field_map.h"
#include "keldb/fieldmap/map_text.h"
#include "tests/testing/kit.h"

namespace {

using namespace std::string_view_literals;

// The reading by scanf itself: a number takes at most three characters.
std::vector<int> read_slowly(std::string text) {
    std::vector<int> numbers;
    int number = 0;
    while (std::sscanf(text.substr(0, 3).c_str(), "%d", &number) == 1) {
        if (number != 0) numbers.push_back(number);
        std::size_t passed = std::min(text.find_first_not_of("0123456789-"), text.size());
        if (text.substr(passed, 1) == " ") ++passed;
        if (passed == 0) break;
        text.erase(0, passed);
    }
    return numbers;
}

TEST(MapText, ReadsEveryShortTextAsScanfDoes) {
    const auto compare = [](const std::string& text) {
        const auto exact = exact_copy(text);
        ASSERT_EQ(kel::read_map({exact.get(), text.size()}), read_slowly(text)) << '"' << text << '"';
    };
    for (std::size_t length = 0; length <= 6; ++length) every_text("019-+ x\0"sv, length, compare);
    for (std::size_t length = 0; length <= 5; ++length) every_text("9- \t\n\v\f\r", length, compare);
    EXPECT_EQ(kel::read_map("1 \xA0 2"), std::vector<int>{1});  // in no locale a blank
}

// The entries in order: "-" in front of a hidden one, "()" for the empty name.
std::string shown(const FieldMap& map) {
    std::string text;
    for (int i = 0; i < map.size(); ++i)
        text += std::string(i == 0 ? "" : " ") + (map.isVisible(i) ? "" : "-") + (map[i] == "" ? "()" : map[i].c_str());
    return text;
}

TEST(Map, TakesTheStoredTextOfItsSourceAndWritesIt) {
    const std::tuple<const char*, const char*, const char*, const char*> kMaps[] = {
        // the entry that is there before, the stored text, the entries, what is written
        {nullptr, nullptr, "Name Reel Scene", "1 2 3"},
        {nullptr, "0 -0", "Name Reel Scene", "1 2 3"},
        {nullptr, "3 -1 +2", "Scene -Name Reel", "3 -1 2"},
        {nullptr, "-4 2 2 -2 9", "-() Reel", "-0 2"},  // what names no field: "", once
        {"scene", "3 -1", "scene -Name", "3 -1"},
        {"Other", nullptr, "Other", "0"},
    };
    keldb table = table_of("Name:a Reel:a Scene:a");
    for (const auto& [before, stored, expected, written] : kMaps) {
        FieldMap map;
        if (before) map.append(before, true);
        for (const ODBView& nothing : {ODBView(static_cast<keldb*>(nullptr)), ODBView()}) map.setSourceDb(nothing);
        EXPECT_TRUE(map.asString() == (before ? "1" : "") && map.getVisibleFieldIndex(0) == -1);  // by position
        const ODBView view(&table);
        if (stored) view->add_param("v5_field_map", stored);
        map.setSourceDb(view);
        EXPECT_EQ(shown(map), expected);
        EXPECT_EQ(map.asString(), written);
        EXPECT_EQ(shown(FieldMap(table)), "Name Reel Scene");  // what the view stores, its table does not
        map.clear();
        EXPECT_TRUE(map.size() == 0 && map.getSourceDb()->refs() == 3U);  // the source stays, held here and twice above
    }
}

TEST(Map, ArrangesEntriesAndIgnoresPositionsOutside) {
    keldb table = table_of("Reel:a REEL:a Scene:a Name:a");  // names are the same in any case
    FieldMap map(table);
    map.append("SCENE", false);
    map.swap(0, 1);
    map.setVisible(1, false);
    for (const int outside : {INT_MIN, -1, 3, 65536, INT_MAX}) {
        EXPECT_EQ(map[outside], "");
        EXPECT_FALSE(map.isVisible(outside) || map.getVisibleFieldIndex(outside) != -1);
        map.setName(outside, "x"), map.set(outside, "x", false);
        map.setVisible(outside, false), map.invertVisible(outside);
        map.swap(outside, 0), map.swap(0, outside);
        EXPECT_EQ(shown(map), "Scene -Reel Name") << outside;
    }
    EXPECT_TRUE(map.isVisible("SCENE") && map.containsField("REEL") && map.getVisibleFieldIndex(1) == 3);
    EXPECT_FALSE(map.isVisible("reel") || map.isVisible("Take") || map.containsField("") || map.remove("Take"));
    map.setName(1, "Scene");  // a repeat is not looked for; the first of the two is found
    map.set(2, "Take", true);
    EXPECT_EQ(shown(map) + map.asString().c_str(), "Scene -Scene Take3 -3 0");
    EXPECT_TRUE(map.isVisible("Scene") && map.numVisible() == 2 &&
                map.getVisibleFieldIndex(1) == -1);  // no field of the source
    map.invertVisible(1);
    EXPECT_TRUE(map.remove("tAKE"));
    EXPECT_EQ(shown(map), "Scene Scene");
}

}  // namespace
