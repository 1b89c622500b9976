// What a view is made of: the room for its entries, its field spec, its parameters, its handles and copies; and how
// deep views may stand on each other on a small stack.
#include <sys/resource.h>

#include "tests/testing/kit.h"

namespace {

struct Derived : ODBViewRep {
    using ODBViewRep::buildIndex, ODBViewRep::dbFieldIndex, ODBViewRep::identityFieldSpec, ODBViewRep::indexCapacity,
        ODBViewRep::init, ODBViewRep::ODBViewRep, ODBViewRep::sizeIndexFor;
    bool chosen(int position) { return (*this)[position]->field_text(0) == "y"; }
    void set_tag(unsigned row, int value) override { ++tags_set, ODBViewRep::set_tag(row, value); }
    int tags_set = 0;
};

TEST(DerivedView, BuildsItsEntriesAndIsAskedToTag) {  // and nobody holds it
    keldb table = table_of("a:a b:a b:a | x | y");
    Derived view(&table), detached(nullptr);
    GrowString names;
    view.buildIndex();
    detached.buildIndex();
    view.identityFieldSpec(names);
    EXPECT_EQ(rows(view) + " " + names.c_str() + rows(detached), "0 1 a,b,b");
    EXPECT_EQ(view.dbFieldIndex("b"), 1);
    EXPECT_EQ(view.dbFieldIndex("B") + view.dbFieldIndex(nullptr) + detached.dbFieldIndex("b"), -3);
    EXPECT_EQ(view.removeSome(static_cast<bool (ODBViewRep::*)(int)>(&Derived::chosen)), 1);
    EXPECT_EQ(rows(view), "0");
    table.set_query(&table[0]);
    EXPECT_TRUE(view.tagMatches(0) == 1 && view.tags_set == 1);
    view.append(1);
    EXPECT_EQ(view.tagDuplicates(1), 1);
    EXPECT_EQ(rows(view), "0 1*");
    view.init();
    EXPECT_TRUE(view.size() == 0 && !view.odb() && !view.fieldSpec() && view.params().entries().size() == 1U);
}

TEST(ViewIndex, GrowsAndShrinksByTheRuleUpToWhatAnIntCounts) {
    keldb table = lettered_table(0);
    table.add_records(201);
    Derived view(&table);
    std::string rooms;  // each after what is needed
    for (const int needed : {1, 21, 100, 50, 49, 10, 0, 1000, 1}) {
        view.sizeIndexFor(needed);
        rooms += std::to_string(view.indexCapacity()) + ' ';
    }
    EXPECT_EQ(rooms, "20 40 100 100 50 25 0 1000 500 ");
    view.displayAllRecords();
    table.delete_records(0, 199);
    EXPECT_EQ(view.indexCapacity(), 25);  // as if they had gone one by one
    EXPECT_THROW(view.displayRecordsAt(0, 2147483647, 0), std::bad_alloc);
    EXPECT_THROW(view.insertBlankRecords(0, 2147483647), std::bad_alloc);
    EXPECT_TRUE(view.size() == 2 && table.get_num_records() == 2U);
}

TEST(ViewMaking, ShowsDescribesAndCarriesWhatItShould) {
    keldb table = table_of("name:a Start~time:t | a,1 | b,2 | *c,3");
    table.add_param("Name", "clip");
    const ODBView view(&table, "Start time,,name,\tname");
    show(**view, "2 0* 9 2");
    view->add_param("name", "own");
    const ODBView above = subview_showing(view, "3 2 1*");
    const char* names[] = {"Start time", nullptr};
    const Logged log;
    const std::tuple<ODBView, const char*, const char*, const char*, const char*> kMade[] = {
        // what it shows, its field spec, the fields that this names, and the parameter Name
        {ODBView(&table), "", "name,Start time", "name Start time", "clip"},
        {ODBView(&table, static_cast<const char**>(nullptr)), "", "name,Start time", "name Start time", "clip"},
        {ODBView(&table, names), "", "Start time,", "Start time", "clip"},
        {ODBView(&table, "Name,name"), "", "Name,name", "name", "clip"},
        {view.copy(), "2 0* 9 2", "Start time,,name,\tname", "Start time name name", "clip"},
        {ODBView(view, true), "1", "Start time,,name,\tname", "Start time name name", "own"},
        {above.copy(), "3 2 1*", "Start time,,name,\tname", "Start time name name", "own"},
        {view.copyWithNewBaseView(), "2 0* 2", "name,Start time", "name Start time", "own"},
        {above.copyWithNewBaseView(), "2 0*", "name,Start time", "name Start time", "own"},
    };
    EXPECT_EQ(log.text, "Warning: ODBView::fieldSpec, non-existant fieldname \"Name\".\n");
    for (const auto& [made, shows, spec, fields, name] : kMade) {
        std::string expected = shows;
        expected.append("\nfieldSpec: ").append(spec).append("\nfields: (").append(fields);
        EXPECT_EQ(described(**made), expected.append(")\nKELDB=Rev 1 Name=").append(name).append(" "));
        const std::unique_ptr<keldb> own(made->odb() != &table ? made->odb() : nullptr);
        made->odb(nullptr);
    }
    const std::unique_ptr<keldb> made(Convert_ODBView_to_keldb(view));
    EXPECT_EQ(text_of(static_cast<ODBBase&>(*made)), "name:a Start~time:t | c,3 | a,1 | , | c,3");
    EXPECT_STREQ(made->get_param_val("Name"), "clip");
}

TEST(ViewAttachment, TakesParametersAndFileNameAndRenamesFields) {
    auto left = std::make_unique<keldb>(lettered_table(1));
    keldb table = table_of("a:a | x");
    table.add_param("Name", "clip");
    table.set_param_val("KELDB", "mine");
    table.set_filename(L"log.keldb");
    const ODBView view = view_showing(*left, "0");
    view->odb(&table);
    left.reset();
    EXPECT_EQ(described(**view), "\nfieldSpec: Name\nfields: (a)\nKELDB=mine Name=clip ");
    EXPECT_TRUE(view->fileName() == L"log.keldb");
    view->add_param("name", "own");
    EXPECT_STREQ(table.get_param_val("Name"), "clip");
    view->odb(nullptr);
    EXPECT_EQ(described(**view), "\nfieldSpec: Name\nfields: (voidref)\nKELDB=mine Name=own ");
    view->odb(&table);
    view->fieldSpec(nullptr);
    EXPECT_TRUE(!view.copy()->fieldSpec() && !ODBView(view, true)->fieldSpec());
    view->add_param("Name", "own");
    view->addParamsFrom(&table);
    view->addParamsFrom(static_cast<const keldb*>(nullptr));
    EXPECT_EQ(described(**view), "\nfieldSpec: \nKELDB=mine Name=clip ");
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
    EXPECT_TRUE(!above->isSubview() && view->refs() == 1U && above->params().entries().empty());
}

TEST(SmallStack, HoldsAHundredStackedViews) {  // an overflow ends the child
    const auto stack_them = [] {
        const rlimit small = {512 << 10, 512 << 10};
        if (::setrlimit(RLIMIT_STACK, &small) != 0) return 1;
        keldb table = lettered_table(3);
        const ODBView bottom = view_showing(table, "0* 1 2*");
        ODBView top = bottom;
        for (int i = 0; i < 100; ++i) top = subview_showing(top, "2 1 0");
        table.delete_records(1, 1);
        const bool followed = rows(**top) == "1 0";
        bottom->deleteTagged();
        return followed && top->size() == 0 ? 0 : 2;
    };
    EXPECT_EQ(in_child(stack_them), 0);
}

}  // namespace
