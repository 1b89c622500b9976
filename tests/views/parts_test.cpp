// What a view is made of: the room for its entries, its field spec, its parameters, its handles and copies.
#include <gtest/gtest.h>

#include <memory>

#include "keldb/support/log.h"
#include "keldb/views/row_index.h"
#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

// --- Room for entries: what is needed, one call after another, and the room after each ---

struct Room {
    const char* needed;
    const char* room;
};
const Room kRooms[] = {
    {"1 20 21 41", "20 20 40 80"},  // from 20 on by doubling
    {"50 51", "50 100"},            // at once to what is needed when that is more
    {"80 10 10", "80 40 40"},       // halved, once a call, and not below twice 20
    {"80 39 19", "80 40 40"},       // 2 x 39 is less than 80
    {"80 40", "80 80"},             //
    {"1000 1 1 1", "1000 500 250 125"},
    {"41 20", "41 20"},
    {"45 22", "45 22"},
    {"30 0 1", "30 0 20"},  // nothing for nothing
};

TEST(ViewIndex, GrowsAndShrinksByTheRule) {
    for (const Room& r : kRooms) {
        SCOPED_TRACE(r.needed);
        kel::RowIndex index;
        std::string room;
        for (const std::string& needed : pieces(r.needed, ' ')) {
            index.make_room_for(kel::read_int(needed));
            room += (room.empty() ? "" : " ") + std::to_string(index.capacity());
        }
        EXPECT_EQ(room, r.room);
    }
}

TEST(ViewIndex, MoreEntriesThanAnIntCountsAreAnAllocationFailure) {
    keldb table = lettered_table(2);
    const ODBView view = view_showing(table, "0 1");
    EXPECT_THROW(view->displayRecordsAt(0, 2147483647, 0), std::bad_alloc);
    EXPECT_THROW(view->insertBlankRecords(0, 2147483647), std::bad_alloc);
    EXPECT_EQ(rows(*view), "0 1");
    EXPECT_EQ(table.get_num_records(), 2U);
}

// --- Field spec: over the fields "name" and "Start time" ---

struct Spec {
    const char* text;
    const char* described;  // asString
    const char* logged;
};
const Spec kSpecs[] = {
    {nullptr, "fieldSpec: name,Start time\nfields: (name Start time)\n", ""},
    {"", "fieldSpec: \n", ""},
    {"name", "fieldSpec: name\nfields: (name)\n", ""},
    {"Start time,,name,", "fieldSpec: Start time,,name,\nfields: (Start time name)\n", ""},
    {"name\tname", "fieldSpec: name\tname\nfields: (name name)\n", ""},
    {"Name,name", "fieldSpec: Name,name\nfields: (name)\n",
     "Warning: ODBView::fieldSpec, non-existant fieldname \"Name\".\n"},
    {" name", "fieldSpec:  name\n", "Warning: ODBView::fieldSpec, non-existant fieldname \" name\".\n"},
};

std::string described(const ODBViewRep& view) {
    GrowString text;
    view.asString(text);
    return text.c_str();
}

TEST(ViewFieldSpec, NamesFieldsExactlyAndOnlyDescribes) {
    for (const Spec& spec : kSpecs) {
        keldb table = table_of("name:a Start~time:t | x,10");
        std::string logged;
        setLogSink([](const char* message, void* log) { *static_cast<std::string*>(log) += message; }, &logged);
        const ODBView view(&table, spec.text);
        EXPECT_EQ(logged, spec.logged);
        EXPECT_EQ(described(*view), spec.described);
        EXPECT_EQ(view->get_num_fields(), 2U);
        EXPECT_EQ(described(*view.copy()), spec.described);
        EXPECT_EQ(described(*ODBView(view, true)), spec.described);
        setLogSink(nullptr, nullptr);
    }
}

TEST(ViewFieldSpec, FromAListOfNames) {
    keldb table = table_of("a:a b:a");
    const char* both[] = {"a", "b", nullptr};
    const char* none[] = {nullptr};
    EXPECT_EQ(described(*ODBView(&table, both)), "fieldSpec: a,b,\nfields: (a b)\n");
    EXPECT_EQ(described(*ODBView(&table, none)), "fieldSpec: \n");
    EXPECT_EQ(described(*ODBView(&table, static_cast<const char**>(nullptr))), "fieldSpec: a,b\nfields: (a b)\n");
    const ODBView view(&table);
    view->fieldSpec(nullptr);
    EXPECT_EQ(view->fieldSpec(), nullptr);
    EXPECT_EQ(described(*view), "fieldSpec: \n");
}

// --- Parameters and file name come with what a view is attached to ---

std::string params(ODBViewRep& view) {
    std::string text;
    for (const AssocList::Entry& entry : view.params().entries())
        text += std::string(entry.key()) + '=' + entry.value() + ' ';
    return text;
}

TEST(ViewAttachment, TakesParametersAndFileName) {
    keldb plain = lettered_table(1), table = lettered_table(1);
    table.add_param("Name", "clip");
    table.set_param_val("KELDB", "mine");
    table.set_filename(L"log.keldb");
    const ODBView view(&plain);
    EXPECT_EQ(params(*view), "KELDB=Rev 1 ");
    view->append(0);
    view->odb(&table);
    EXPECT_EQ(params(*view), "KELDB=mine Name=clip ");
    EXPECT_EQ(view->fileName(), L"log.keldb");
    EXPECT_EQ(view->size(), 0);
    view->add_param("name", "own");
    EXPECT_STREQ(table.get_param_val("Name"), "clip");
    const ODBView above(view, true);
    EXPECT_EQ(params(*above), "KELDB=mine Name=own ");
    EXPECT_EQ(params(*above.copy()), "KELDB=mine Name=own ");
    EXPECT_EQ(params(*view.copy()), "KELDB=mine Name=clip ");
    view->addParamsFrom(&*above);
    view->odb(nullptr);
    EXPECT_EQ(view->db(), nullptr);
}

// --- Handles and copies ---

TEST(ViewHandles, CountWhoHoldsAView) {
    keldb table = lettered_table(3);
    ODBView view(&table), same = view;
    EXPECT_EQ(view->refs(), 2U);
    EXPECT_TRUE(view == same && view != ODBView());
    ODBView& itself = view;
    view = itself;
    EXPECT_EQ(view->refs(), 2U);
    {
        const ODBView above(view, true);
        EXPECT_EQ(view->refs(), 3U);
        EXPECT_EQ(above->baseView(), &*view);
    }
    same = ODBView();
    EXPECT_EQ(view->refs(), 1U);
    EXPECT_EQ(same[0], nullptr);
    EXPECT_TRUE(same.copy() == ODBView() && same.copyWithNewBaseView() == ODBView());
    EXPECT_EQ(Convert_ODBView_to_keldb(same), nullptr);
    const ODBView detached(static_cast<keldb*>(nullptr));
    EXPECT_TRUE(detached.copy() == ODBView() && detached.copyWithNewBaseView() == ODBView());
    EXPECT_EQ(detached->newTagSubview(), nullptr);
    EXPECT_EQ(Convert_ODBView_to_keldb(detached), nullptr);
    const auto unheld = std::make_unique<ODBViewRep>(&table);
    EXPECT_EQ(unheld->decRef(), 0U);
}

TEST(ViewHandles, ABaseViewLivesAsLongAsWhatStandsOnIt) {
    keldb table = lettered_table(3);
    ODBView view = view_showing(table, "2* 1*");
    const ODBView above(view, true);
    view = ODBView();
    EXPECT_EQ(names(*above), "c b");
    table.delete_records(2, 1);
    EXPECT_EQ(names(*above), "b");
}

TEST(ViewCopies, KeepEntriesAndTags) {
    keldb table = lettered_table(5);
    const ODBView view = view_showing(table, "4 1* 4* 9"), above = subview_showing(view, "1* 0");
    EXPECT_EQ(rows(*view.copy()), "4 1* 4* 9");
    const ODBView above_copy = above.copy();
    EXPECT_EQ(rows(*above_copy), "1* 0");
    EXPECT_EQ(above_copy->baseView(), &*view);
    ODBView own = above.copyWithNewBaseView();
    const std::unique_ptr<keldb> own_table(own->odb());
    EXPECT_EQ(rows(*own), "1* 4");
    EXPECT_EQ(own->baseView(), nullptr);
    own_table->delete_records(0, 5);
    EXPECT_EQ(table.get_num_records(), 5U);
    own = ODBView();
    ODBView of_view = view.copyWithNewBaseView();
    const std::unique_ptr<keldb> table_of_view(of_view->odb());
    EXPECT_EQ(rows(*of_view), "4 1* 4*");
    of_view = ODBView();
}

}  // namespace
