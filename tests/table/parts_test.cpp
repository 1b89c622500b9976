// The parts that a table is made of, each against its promise. Its fields are held to theirs by the model
// (tests/model).
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "keldb/table/parameter_list.h"
#include "keldb/table/row_ids.h"
#include "keldb/table/row_set.h"
#include "tests/testing/random.h"

namespace {

TEST(ParameterList, KeepsTheRevisionFirstAndMatchesNamesIgnoringCase) {
    using Outcome = kel::ParameterList::Outcome;
    const struct {
        const char* name;
        const char* value;
        Outcome outcome;
        const char* after;  // of the calls so far
    } kCalls[] = {
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
    for (const auto& call : kCalls) {
        EXPECT_EQ(list.set(call.name, call.value), call.outcome);
        std::string text;
        for (unsigned i = 0; i < list.size(); ++i)
            text += std::string(list.name(i).view()) + '=' + std::string(list.value(i).view()) + ' ';
        EXPECT_EQ(text, call.after);
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
            if (random.one_in(50)) {
                ids.clear(), twin.clear();
            } else if (random.one_in(50)) {
                ids.reserve(random.below(200));
            } else if (random.one_in(2)) {
                ids.put(Cookie(String(id), false), row), twin[id] = row;
            } else {
                ids.put_first(Cookie(String(id), false), row), twin.try_emplace(id, row);
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
        const unsigned size = random.below(200), first = random.below(size + 1);
        std::set<unsigned> twin;
        kel::RowSet rows = kel::RowSet::for_rows_below(size);
        if (run % 2 == 0) {
            const unsigned count = random.below(size - first + 1);
            rows = kel::RowSet::run(first, count);
            for (unsigned i = first; i < first + count; ++i) twin.insert(i);
        } else {
            for (unsigned i = size == 0 ? 0 : random.below(100); i > 0; --i) {
                const unsigned row = random.below(size);
                rows.add(row), twin.insert(row);
            }
            rows.seal();
        }
        std::vector<unsigned> visited;
        rows.each([&](unsigned row) { visited.push_back(row); });
        ASSERT_EQ(visited, std::vector<unsigned>(twin.begin(), twin.end()));
        ASSERT_EQ(rows.size(), twin.size());
        for (unsigned row = 0; row < size + 130; ++row) {
            ASSERT_EQ(rows.contains(row), twin.contains(row)) << row;
            ASSERT_EQ(rows.below(row), std::distance(twin.begin(), twin.lower_bound(row))) << row;
        }
        ASSERT_FALSE(rows.contains(~0U));
        ASSERT_EQ(rows.below(~0U), twin.size());
    }
}

}  // namespace
