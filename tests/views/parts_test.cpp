// What a view is made of: the room for its entries, its field spec, its parameters, its handles; and how deep views may
// stand on each other on the small stack of a helper thread.
#include <gtest/gtest.h>
#include <pthread.h>

#include <memory>

#include "keldb/support/log.h"
#include "keldb/views/row_index.h"
#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

TEST(ViewIndex, GrowsAndShrinksByTheRule) {
    const std::vector<std::pair<int, int>> kRooms[] = {
        // what is needed and the room after it, call by call
        {{1, 20}, {20, 20}, {21, 40}, {100, 100}},
        {{80, 80}, {40, 80}, {39, 40}, {10, 40}, {0, 0}, {1, 20}},  // halved, once a call; nothing for nothing
        {{1000, 1000}, {1, 500}, {1, 250}, {1, 125}, {1, 62}, {1, 31}},
    };
    for (const auto& calls : kRooms) {
        kel::RowIndex index;
        for (const auto& [needed, room] : calls) {
            index.make_room_for(needed);
            EXPECT_EQ(index.capacity(), room) << needed << " of " << calls[0].first;
        }
    }
}

TEST(ViewIndex, MoreEntriesThanAnIntCountsAreAnAllocationFailure) {
    keldb table = lettered_table(2);
    const ODBView view = view_showing(table, "0 1");
    EXPECT_THROW(view->displayRecordsAt(0, 2147483647, 0), std::bad_alloc);
    EXPECT_THROW(view->insertBlankRecords(0, 2147483647), std::bad_alloc);
    EXPECT_TRUE(rows(*view) == "0 1" && table.get_num_records() == 2U);
}

std::string described(const ODBView& view) {
    GrowString text;
    view->asString(text);
    return text.c_str();
}

TEST(ViewFieldSpec, NamesFieldsExactlyAndOnlyDescribes) {
    const char* const kSpecs[][3] = {
        // the text, how it is described, a name that is unknown
        {nullptr, "fieldSpec: name,Start time\nfields: (name Start time)\n", ""},
        {"Start time,,name,", "fieldSpec: Start time,,name,\nfields: (Start time name)\n", ""},
        {"name\tname", "fieldSpec: name\tname\nfields: (name name)\n", ""},
        {"Name,name", "fieldSpec: Name,name\nfields: (name)\n", "Name"},
    };
    keldb table = table_of("name:a Start~time:t | x,10");
    std::string logged;
    setLogSink([](const char* message, void* log) { *static_cast<std::string*>(log) += message; }, &logged);
    for (const auto& [text, expected, unknown] : kSpecs) {
        logged.clear();
        const ODBView view(&table, text);
        const std::string warning = "Warning: ODBView::fieldSpec, non-existant fieldname \"";
        EXPECT_EQ(logged, *unknown ? warning + unknown + "\".\n" : "");
        for (const ODBView& same : {view, view.copy(), ODBView(view, true)}) EXPECT_EQ(described(same), expected);
    }
    setLogSink(nullptr, nullptr);
    const char* names[] = {"Start time", nullptr};
    EXPECT_EQ(described(ODBView(&table, names)), "fieldSpec: Start time,\nfields: (Start time)\n");
    const ODBView view(&table, static_cast<const char**>(nullptr));
    EXPECT_EQ(described(view), kSpecs[0][1]);
    view->fieldSpec(nullptr);
    EXPECT_TRUE(!view.copy()->fieldSpec() && described(view) == "fieldSpec: \n");
}

TEST(ViewAttachment, TakesParametersAndFileName) {
    const auto params = [](const ODBView& view) {
        std::string text;
        for (const auto& entry : view->params().entries()) text += std::string(entry.key()) + '=' + entry.value() + ' ';
        return text;
    };
    keldb plain = lettered_table(1), table = lettered_table(1);
    table.add_param("Name", "clip");
    table.set_param_val("KELDB", "mine");
    table.set_filename(L"log.keldb");
    const ODBView view = view_showing(plain, "0");
    view->odb(&table);
    EXPECT_EQ(params(view), "KELDB=mine Name=clip ");
    EXPECT_TRUE(view->fileName() == L"log.keldb" && view->size() == 0);
    view->add_param("name", "own");
    EXPECT_STREQ(table.get_param_val("Name"), "clip");
    EXPECT_EQ(params(ODBView(view, true).copy()) + params(view.copy()), "KELDB=mine Name=own KELDB=mine Name=clip ");
    view->odb(nullptr);
    EXPECT_EQ(params(view), "KELDB=mine Name=own ");
}

TEST(ViewHandles, MayHoldNoViewOrADetachedOne) {
    keldb table = lettered_table(1);
    ODBView view(&table);
    ODBView& itself = view;
    view = itself;
    EXPECT_TRUE(view->refs() == 1U && view == ODBView(view) && view != ODBView());
    for (const ODBView& nothing : {ODBView(), ODBView(static_cast<keldb*>(nullptr))}) {
        EXPECT_TRUE(!nothing.copy() && !nothing.copyWithNewBaseView() && !nothing[0]);
        EXPECT_TRUE((!nothing || !nothing->newTagSubview()) && !Convert_ODBView_to_keldb(nothing));
    }
    EXPECT_EQ(std::make_unique<ODBViewRep>(&table)->decRef(), 0U);
}

TEST(ViewHandles, LetADerivedViewBuildItsEntries) {
    struct Derived : ODBViewRep {
        explicit Derived(keldb* table) : ODBViewRep(table) {
            buildIndex();
            identityFieldSpec(names);
            numbers = dbFieldIndex("b") * 100 + dbFieldIndex("B") * 10 + dbFieldIndex(nullptr);
        }
        GrowString names;
        int numbers;
    };
    keldb table = table_of("a:a b:a b:a | x | y");
    const Derived view(&table);
    EXPECT_EQ(rows(view) + " " + view.names.c_str() + rows(Derived(nullptr)), "0 1 a,b,b");
    EXPECT_EQ(view.numbers, 89);  // 1, -1, -1
}

TEST(SmallStack, HoldsAHundredStackedViews) {  // an overflow ends the test program
    const auto run = [](void* nothing) {
        keldb table = lettered_table(3);
        const ODBView bottom = view_showing(table, "0* 1 2*");
        ODBView top = bottom;
        for (int i = 0; i < 100; ++i) top = subview_showing(top, "2 1 0");
        table.delete_records(1, 1);
        EXPECT_EQ(rows(*top), "1 0");
        bottom->deleteTagged();
        EXPECT_EQ(top->size(), 0);
        return nothing;
    };
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 << 10), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, run, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace
