// What listeners may do while they are told of a deletion: each script runs once, in the middle of the announcements of
// each act, from a listener of the table, of a view or of a view on it, registered before the views or after them.
//
// At every call each view must name exactly the records that it named at first and that are still there, each with its
// own tag: repair comes before the first announcement. Of an act that goes run by run, the records that were chosen go,
// and no other, while rows and entries move. Afterwards everything must still be in order and usable.
#include "tests/testing/kit.h"

namespace {

struct World;
struct Script {
    const char* name;
    bool keeps_order;  // no entry is shown, removed or moved
    void (*run)(World&);
};

// Views of a table of ten rows, one of them on the first, and a listener that runs a script at its first call.
struct World {
    World(const Script& its_script, int announcer, bool early) : script(its_script) {
        for (const unsigned row : {1U, 3U, 4U, 7U}) table.set_tag(row, 1);
        Notifier* const announcers[] = {&table, *view, *above};
        const auto hear = [this](auto&) { heard(); };
        if (early) guard = listen(*announcers[announcer], kel::records_deleted_type(), hear);
        later = view_showing(table, "5* 3 1 8");
        if (!early) guard = listen(*announcers[announcer], kel::records_deleted_type(), hear);
    }
    void heard() {
        expect_right();
        if (++calls > 1) return;
        in_order = in_order && script.keeps_order;
        const std::set<char> before = names();
        script.run(*this);
        const std::set<char> after = names();
        std::erase_if(left, [&](char name) { return before.contains(name) && !after.contains(name); });
        expect_right();
    }
    std::set<char> names() {  // of the records that are there
        std::set<char> there;
        for (unsigned row = 0; row < table.get_num_records(); ++row) {
            for (const char name : table[row].field_text(0)) there.insert(name);
        }
        return there;
    }
    // Every living view shows, of the records that it showed, those that still exist.
    void expect_right() {
        const std::set<char> there = names();
        const std::pair<const ODBView&, const char*> at_first[] = {
            {view, "j a c* e g* i b d* f h"}, {above, "c h* e e b* d*"}, {later, "f* d b i"}};
        for (const auto& [shown, text] : at_first) {
            EXPECT_TRUE(!shown || shown->ok());
            if (!shown || !in_order) continue;
            std::string kept, now;
            for (const std::string& name : pieces(text, ' ')) kept += there.contains(name[0]) ? name : "";
            for (int i = 0; i < shown->size(); ++i)
                now += shown->getField(static_cast<unsigned>(i), 0).c_str() + std::string(shown->recRef(i)->tag, '*');
            EXPECT_EQ(now, kept);
        }
        EXPECT_TRUE(table.ok() && other.ok());
    }

    const Script& script;
    keldb table = lettered_table(10), other = lettered_table(26);
    ODBView view = view_showing(table, "9 0 2* 4 6* 8 1 3* 5 7"), later,
            above = subview_showing(view, "2 9* 3 3 6* 7*");
    Qv::Ptr<Qv::Guard> guard;
    std::set<char> left = names();  // what no act and no script has deleted
    bool in_order = true;           // views show what they showed at first
    int calls = 0;
};

// clang-format off
const Script kScripts[] = {
    {"deletes a row before", true, [](World& w) { w.table.delete_records(0, 1); }},
    {"deletes every row", true, [](World& w) { w.table.delete_records(0, 99); }},
    {"deletes through the view", true, [](World& w) { w.view->deleteRecords(1, 3); }},
    {"deletes through the view above", true, [](World& w) { w.above->deleteRecords(0, 99); }},
    {"sorts view and table", false, [](World& w) { w.view->sort(-1, 0), w.table.sort(-1, 0); }},
    {"shows a row between", false, [](World& w) { w.view->displayRecordsAt(0, 1, 7); }},
    {"inserts through the view", false, [](World& w) { w.view->insertBlankRecords(0, 1); }},
    {"inserts rows and shows all", false, [](World& w) { w.table.insert_records(0, 2), w.later->displayAllRecords(); }},
    {"removes", false, [](World& w) { w.later->removeTagged(), w.above->clear(), w.view->remove(0, 2); }},
    {"stops listening", true,
     [](World& w) { w.table.deregisterNotification(w.guard), w.view->deregisterNotification(w.guard); }},
    {"releases the view above", true, [](World& w) { w.above = ODBView(); }},
    {"releases the view, which the one above holds", true, [](World& w) { w.view = ODBView(); }},
    {"releases all", true, [](World& w) { w.view = w.above = w.later = ODBView(); }},
    {"makes more views", false, [](World& w) { w.later = ODBView(w.view, true), w.above = w.view.copy(); }},
    {"attaches the view above elsewhere", false, [](World& w) { w.above->odb(&w.other); }},
    {"detaches the view above", false, [](World& w) { w.above->odb(nullptr); }},
    {"detaches and attaches again", false, [](World& w) { w.later->odb(nullptr), w.later->odb(&w.table); }},
    {"attaches the view elsewhere, under the one above", false, [](World& w) {
        w.view->odb(&w.other), w.view->displayAllRecords(), w.above->displayAllRecords(), w.above->sort(1, 0);
        w.above->set_tag(9, 1), w.above->removeTagged(), w.above->deleteRecords(0, 3), w.above->insertBlankRecords(0, 2);
    }},
};

// What announces, behind the names of the records that it deletes.
const std::pair<std::string, void (*)(World&)> kActs[] = {
    {"cd", [](World& w) { w.table.delete_records(2, 2); }},
    {"cdg", [](World& w) { w.view->deleteTagged(); }},
    {"bdh", [](World& w) { w.above->deleteTagged(); }},
    {"", [](World& w) {  // takes h and then b and d out of both views
        const dbrecord* const d = w.table.get_record(3);
        w.in_order = false;
        w.above->removeTagged();
        EXPECT_FALSE(w.view && w.view->member(d));
    }},
    {"", [](World& w) {  // shows every row, whatever the script did to table and views
        w.in_order = false;
        w.above->displayAllRecords();
        if (w.view) w.view->displayAllRecords();
        for (unsigned row = 0; w.view && w.view->odb() == &w.table && row < w.table.get_num_records(); ++row)
            EXPECT_TRUE(w.view->member(w.table.get_record(row)));
    }},
    {"", [](World&) {}},  // the script runs in what follows every act
};
// clang-format on

TEST(ListenersOfADeletion, MayDoAnythingButDestroyTheAnnouncer) {
    for (const Script& script : kScripts) {
        for (int setting = 0; setting < 6 * static_cast<int>(std::size(kActs)); ++setting) {
            SCOPED_TRACE(script.name + std::string(", setting ") + std::to_string(setting));
            const auto& [deletes, act] = kActs[setting / 6];
            World world(script, setting / 2 % 3, setting % 2 == 0);
            for (const char name : deletes) world.left.erase(name);
            act(world);
            world.expect_right();
            const bool elsewhere = world.view && world.view->odb() == &world.other;  // then chosen records may stay
            EXPECT_TRUE(elsewhere || world.names() == world.left);
            world.table.delete_tagged_records();
            if (world.view) world.view->deleteRecords(0, 2);
            world.expect_right();
            EXPECT_GE(world.calls, 1);
            world.in_order = false;
            if (world.view) world.view->removeNonTagged();
            world.expect_right();
        }
    }
}

}  // namespace
