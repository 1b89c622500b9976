// The parts that a table is made of, each against its promise.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "keldb/table/field_layout.h"
#include "keldb/table/parameter_list.h"
#include "keldb/table/row_ids.h"
#include "keldb/table/row_set.h"
#include "tests/testing/random.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::pieces;

std::string spaced(std::string name) {
    std::replace(name.begin(), name.end(), '~', ' ');
    return name;
}

// `start` are the names given one by one to nameless fields (~ is a blank), `steps` what happens then: 1=y renames
// field 1, +y adds a field, -y removes the one of that name. `left` are the names, each with a * while its field is
// seen as half of a range pair; `finds` says where names are found.
struct Layout {
    const char* start;
    const char* steps;
    const char* left;
    const char* finds;
};
const Layout kLayouts[] = {
    {"a b c", "", "a b c", "a:0 B:1 c:2 d:-1"},
    {"a b c", "1=y", "a y c", "b:-1 Y:1 c:2"},
    {"a b c", "1=a", "a a c", "a:1 b:-1"},  // the name set last
    {"a a", "1=b", "a b", "a:0 b:1"},       // the other one is found again
    {"a b a a", "-b", "a a a", "a:0"},      // after a removal: the first
    {"a b", "0=A", "A b", "a:0"},
    {"a b c", "1= +d", "a  c d", "b:-1 d:3 :-1"},  // the empty name is found nowhere
    {"a b Start~time", "-a", "b Start~time*", "Start~time:1 a:-1"},
    {"a", "+End~time", "a End~time*", "end~TIME:1"},
    {"Start~time x", "0=y 1=snd~end", "y* snd~end", "snd~end:1"},  // the flag tells the name at the time
    {"start~time", "", "start~time", "Start~time:0"},              // pairs are known by their exact names
    {"a", "-A +a -a", "", "a:-1"},
};

TEST(FieldLayout, KeepsNamesFlagsAndMapInStep) {
    for (const Layout& row : kLayouts) {
        SCOPED_TRACE(std::string(row.start) + " / " + row.steps);
        const std::vector<std::string> names = pieces(row.start, ' ');
        kel::FieldLayout layout;
        layout.reset(static_cast<unsigned>(names.size()));
        for (unsigned i = 0; i < names.size(); ++i) layout.rename(i, String(spaced(names[i])));
        layout.compute_range_flags();
        for (const std::string& step : pieces(row.steps, ' ')) {
            if (step.empty()) continue;
            const auto before = layout.version();
            if (step[0] == '+') {
                layout.add(String(spaced(step.substr(1))), DBFieldTypes::text);
            } else if (step[0] == '-') {
                layout.remove(static_cast<unsigned>(layout.find(step.substr(1))));
            } else {
                layout.rename(static_cast<unsigned>(step[0] - '0'), String(spaced(step.substr(2))));
            }
            EXPECT_NE(layout.version(), before);
        }
        std::string left;
        for (unsigned i = 0; i < layout.size(); ++i) {
            left += (i == 0 ? "" : " ") + std::string(layout.name(i).view()) + (layout.in_range_pair(i) ? "*" : "");
        }
        EXPECT_EQ(left, spaced(row.left));
        for (const std::string& find : pieces(row.finds, ' ')) {
            const std::size_t colon = find.rfind(':');
            EXPECT_EQ(layout.find(spaced(find.substr(0, colon))), std::stoi(find.substr(colon + 1))) << find;
        }
        EXPECT_TRUE(layout.ok());
    }
}

using Outcome = kel::ParameterList::Outcome;

std::string text_of(const kel::ParameterList& list) {
    std::string text;
    for (unsigned i = 0; i < list.size(); ++i) {
        text += std::string(list.name(i).view()) + '=' + std::string(list.value(i).view()) + ' ';
    }
    return text;
}

TEST(ParameterList, KeepsTheRevisionFirstAndMatchesNamesIgnoringCase) {
    struct Row {
        const char* name;
        const char* value;
        Outcome outcome;
        const char* after;  // of the calls so far
    };
    const Row rows[] = {
        {nullptr, "v", Outcome::refused, ""},
        {"n", nullptr, Outcome::refused, ""},
        {"", "v", Outcome::refused, ""},
        {"KELDB", "x", Outcome::refused, "KELDB=Rev 1 "},
        {"Name", "clip", Outcome::changed, "KELDB=Rev 1 Name=clip "},
        {"name", "clip", Outcome::unchanged, "KELDB=Rev 1 Name=clip "},
        {"NAME", "Clip", Outcome::changed, "KELDB=Rev 1 Name=Clip "},
        {"keldb", "Rev 9", Outcome::changed, "KELDB=Rev 9 Name=Clip "},
        {"Empty", "", Outcome::changed, "KELDB=Rev 9 Name=Clip Empty= "},
    };
    kel::ParameterList list;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name ? row.name : "null");
        EXPECT_EQ(list.set(row.name, row.value), row.outcome);
        EXPECT_EQ(text_of(list), row.after);
    }
    EXPECT_EQ(list.value_of("none"), nullptr);
    EXPECT_EQ(list.value_of(nullptr), nullptr);
    list.set("Name", list.value_of("Name") + 1);  // out of the value that it replaces
    EXPECT_STREQ(list.value_of("name"), "lip");
}

TEST(RowIds, AgreeWithAMap) {
    testing_kit::Random random(5);
    for (int run = 0; run < 40; ++run) {
        kel::RowIds ids;
        std::map<std::string, int> twin;
        for (int step = 0; step < 300; ++step) {
            const std::string id = "M" + std::to_string(random.below(150)) + std::string(random.below(3), '\0');
            const int row = static_cast<int>(random.below(1000));
            switch (random.below(50)) {
            case 0:
                ids.clear();
                twin.clear();
                break;
            case 1:
                ids.reserve(random.below(200));
                break;
            default:
                if (random.one_in(2)) {
                    ids.put(Cookie(String(id), false), row);
                    twin[id] = row;
                } else {
                    ids.put_first(Cookie(String(id), false), row);
                    twin.try_emplace(id, row);
                }
            }
            const std::string asked = "M" + std::to_string(random.below(150));
            ASSERT_EQ(ids.find(asked), twin.contains(asked) ? twin[asked] : -1);
            ASSERT_EQ(ids.empty(), twin.empty());
        }
        for (const auto& [id, row] : twin) ASSERT_EQ(ids.find(id), row);
        ASSERT_TRUE(ids.ok());
    }
}

TEST(RowSet, AgreesWithASet) {
    testing_kit::Random random(7);
    for (int run = 0; run < 400; ++run) {
        const unsigned size = random.below(200);
        std::set<unsigned> twin;
        kel::RowSet rows = kel::RowSet::for_rows_below(size);
        if (run % 2 == 0) {
            const unsigned first = random.below(size + 1), count = random.below(size - first + 1);
            rows = kel::RowSet::run(first, count);
            for (unsigned i = first; i < first + count; ++i) twin.insert(i);
        } else {
            for (unsigned i = size == 0 ? 0 : random.below(100); i > 0; --i) {
                const unsigned row = random.below(size);
                rows.add(row);
                twin.insert(row);
            }
            rows.seal();
        }
        ASSERT_EQ(rows.size(), twin.size());
        std::vector<unsigned> visited;
        rows.each([&](unsigned row) { visited.push_back(row); });
        ASSERT_TRUE(std::equal(visited.begin(), visited.end(), twin.begin(), twin.end()));
        for (unsigned row = 0; row < size + 130; ++row) {
            ASSERT_EQ(rows.contains(row), twin.contains(row)) << row;
            ASSERT_EQ(rows.below(row), std::distance(twin.begin(), twin.lower_bound(row))) << row;
        }
        ASSERT_FALSE(rows.contains(~0U));
        ASSERT_EQ(rows.below(~0U), twin.size());
    }
}

}  // namespace
