// What a view is made of: the room for its entries, its field spec, its parameters, its handles; and how deep views may
// stand on each other on the small stack of a helper thread.
#include <pthread.h>

#include "keldb/views/row_index.h"
#include "tests/testing/kit.h"

namespace {

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
    kel::RowIndex index;
    index.insert_run(0, 0, 201);
    kel::LostEntries lost;
    index.drop(kel::RowSet::run(0, 190), lost);
    EXPECT_EQ(index.capacity(), 25);  // as if they had gone one by one
}

TEST(ViewIndex, MoreEntriesThanAnIntCountsAreAnAllocationFailure) {
    keldb table = lettered_table(2);
    const ODBView view = view_showing(table, "0 1");
    EXPECT_THROW(view->displayRecordsAt(0, 2147483647, 0), std::bad_alloc);
    EXPECT_THROW(view->insertBlankRecords(0, 2147483647), std::bad_alloc);
    EXPECT_TRUE(rows(**view) == "0 1" && table.get_num_records() == 2U);
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
    auto left = std::make_unique<keldb>(std::vector<DBFieldDesc>{{"a", DBFieldTypes::text}});
    const ODBView moved(left.get());
    moved->odb(&table);
    left.reset();
    EXPECT_EQ(described(moved), "fieldSpec: a\nfields: (name)\n");
    moved->odb(nullptr);
    EXPECT_EQ(described(moved), "fieldSpec: a\nfields: (voidref)\n");
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
    view->addParamsFrom(&table);
    view->addParamsFrom(static_cast<const keldb*>(nullptr));
    EXPECT_EQ(params(view), "KELDB=mine Name=clip ");
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
    const ODBView above(view, true);
    view->odb(nullptr), above->odb(nullptr);
    EXPECT_TRUE(!above->isSubview() && view->refs() == 1U);
}

TEST(ViewHandles, LetADerivedViewBuildItsEntries) {
    struct Derived : ODBViewRep {
        explicit Derived(keldb* table) : ODBViewRep(table) {
            buildIndex();
            identityFieldSpec(names);
            numbers = dbFieldIndex("b") * 100 + dbFieldIndex("B") * 10 + dbFieldIndex(nullptr);
        }
        bool chosen(int position) { return (*this)[position]->field_text(0) == "y"; }
        void set_tag(unsigned row, int value) override { numbers -= 70, ODBViewRep::set_tag(row, value); }
        void start_over() { init(); }
        GrowString names;
        int numbers;
    };
    keldb table = table_of("a:a b:a b:a | x | y");
    Derived view(&table);
    EXPECT_EQ(rows(view) + " " + view.names.c_str() + rows(Derived(nullptr)), "0 1 a,b,b");
    EXPECT_EQ(view.numbers, 89);  // 1, -1, -1
    EXPECT_EQ(view.removeSome(static_cast<bool (ODBViewRep::*)(int)>(&Derived::chosen)), 1);
    EXPECT_EQ(rows(view), "0");
    table.set_query(&table[0]);
    EXPECT_EQ(view.tagMatches(0) + view.numbers, 20);  // 89 - 70, through its own set_tag
    view.start_over();
    EXPECT_TRUE(view.size() == 0 && !view.odb() && !view.fieldSpec() && view.params().entries().size() == 1U);
}

TEST(ViewHandles, ADetachedViewShowsTagsAndChangesNothing) {
    keldb table = table_of("name:a Tag:a Cookie:a | *a,1,M1 | b,,M2");
    const ODBView attached = view_showing(table, "0* 1");
    ODBViewRep v(&table);
    v.odb(nullptr);
    v.displayAllRecords(), v.displayAllRecordsWithBaseTagStatus(), v.setupViewTagsFromKeldbTagField();
    v.displayTaggedRecordsAt(0), v.append(0), v.insertBlankRecords(0, 1), v.insert_records(0, 1);
    v.set_all_tags(1), v.invert_all_tags(), v.set_tag(0, 1), v.invert_tag(0), v.tagAll(true), v.invertAllTags();
    v.tagBaseFromTags(), v.sort(1, 0), v.removeRecordsFromBaseView(0, 1), v.deleteRecords(0, 2), v.delete_records(0, 2);
    CookieVec ids;
    ids.add(Cookie("M1", false));
    const int shown = v.displayRecordsAt(0, 1, 0) + v.displayRecordsAt(ids, 0) + v.displayAllFromAt(attached, 0) +
                      v.displayMatchAt("name", "a", 0);
    const int removed = v.removeSome(&ODBViewRep::tag) + v.removeTagged() + v.removeNonTagged() + v.deleteTagged();
    const int tagged = v.countTags() + v.tagMatches(0) + v.tagDuplicates(0) + v.tagDuplicatesOrdered(0) +
                       v.tag_matching_records(0) + v.tag_all_different(0) + v.get_num_tags();
    char text[4] = "old";
    const int stored = v.set_field(0, 0, "x") + v.set_field(0, 0, 1) + v.set_field(0, 0, 1.5) +
                       v.set_field(0, 0, true) + v.set_field(0, Cookie("M3", false)) + v.in_field(0, 0, text, 3) +
                       v.baseIndex(0);
    EXPECT_TRUE(shown == 0 && removed == 0 && tagged == 0 && stored == 0) << shown << removed << tagged << stored;
    EXPECT_TRUE(v.size() == 0 && v.ok() && text == std::string("old"));
    EXPECT_EQ(attached->in_field(1, 0, text, 3), 1);
    EXPECT_EQ(text + text_of(table), "bname:a Tag:a Cookie:a | *a,1,M1 | b,,M2");
}

TEST(SmallStack, HoldsAHundredStackedViews) {  // an overflow ends the test program
    const auto run = [](void* nothing) {
        keldb table = lettered_table(3);
        const ODBView bottom = view_showing(table, "0* 1 2*");
        ODBView top = bottom;
        for (int i = 0; i < 100; ++i) top = subview_showing(top, "2 1 0");
        table.delete_records(1, 1);
        EXPECT_EQ(rows(**top), "1 0");
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
