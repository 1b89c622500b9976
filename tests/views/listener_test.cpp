// What listeners may do while they are told of a deletion: each script runs once, in the middle of the announcements,
// from a listener of the table, of a view or of a view on it, registered before the views or after them.
//
// At every call each view must name exactly the records that it named at first and that are still there, each with its
// own tag: repair comes before the first announcement. Afterwards everything must still be in order and usable.
#include "tests/testing/kit.h"

namespace {

const int kDeleted = kel::records_deleted_type();

struct World;
struct Script {
    const char* name;
    bool keeps_order;  // no entry is shown, removed or moved
    void (*run)(World&);
};

// Two views of a table of ten rows, one on the first of them, and a listener that runs a script at its first call.
struct World {
    World(const Script& script, int announcer, bool early) {
        Notifier* const announcers[] = {&table, *view, *above};
        const auto hear = [this, &script](auto&) { heard(script); };
        if (early) guard = listen(*announcers[announcer], kDeleted, hear);
        later = view_showing(table, "5* 3 1 8");
        if (!early) guard = listen(*announcers[announcer], kDeleted, hear);
    }
    void heard(const Script& script) {
        expect_right();
        if (++calls > 1) return;
        in_order = script.keeps_order;
        script.run(*this);
        expect_right();
    }
    // Every living view shows, of the records that it showed, those that still exist.
    void expect_right() {
        std::string there;
        for (unsigned row = 0; row < table.get_num_records(); ++row) there += table[row].field_text(0);
        const std::pair<const ODBView&, const char*> at_first[] = {
            {view, "j a c* e g* i b d* f h"}, {above, "c h* e e a f*"}, {later, "f* d b i"}};
        for (const auto& [shown, text] : at_first) {
            EXPECT_TRUE(!shown || shown->ok());
            if (!shown || !in_order) continue;
            std::string left, now;
            for (const std::string& name : pieces(text, ' ')) left += there.find(name[0]) == there.npos ? "" : name;
            for (int i = 0; i < shown->size(); ++i)
                now += shown->getField(static_cast<unsigned>(i), 0).c_str() + std::string(shown->recRef(i)->tag, '*');
            EXPECT_EQ(now, left);
        }
        EXPECT_TRUE(table.ok() && other.ok());
    }

    keldb table = lettered_table(10), other = lettered_table(26);
    ODBView view = view_showing(table, "9 0 2* 4 6* 8 1 3* 5 7"), later, above = subview_showing(view, "2 9* 3 3 1 8*");
    Qv::Ptr<Qv::Guard> guard;
    bool in_order = true;  // no script has shown other rows or sorted
    int calls = 0;
};

// clang-format off
const Script kScripts[] = {
    {"deletes a row before", true, [](World& w) { w.table.delete_records(0, 1); }},
    {"deletes every row", true, [](World& w) { w.table.delete_records(0, 99); }},
    {"deletes through the view", true, [](World& w) { w.view->deleteRecords(1, 3); }},
    {"deletes through the view above", true, [](World& w) { w.above->deleteRecords(0, 99); }},
    {"sorts view and table", false, [](World& w) { w.view->sort(1, 0), w.table.sort(-1, 0); }},
    {"inserts rows and shows all", false, [](World& w) { w.table.insert_records(0, 2), w.view->displayAllRecords(); }},
    {"removes", false, [](World& w) { w.later->remove(1, 1), w.above->removeTagged(), w.view->clear(); }},
    {"stops listening", true,
     [](World& w) { w.table.deregisterNotification(w.guard), w.view->deregisterNotification(w.guard); }},
    {"releases the view above", true, [](World& w) { w.above = ODBView(); }},
    {"releases the view, which the one above holds", true, [](World& w) { w.view = ODBView(); }},
    {"releases all", true, [](World& w) { w.view = w.above = w.later = ODBView(); }},
    {"makes more views", false, [](World& w) { w.later = ODBView(w.view, true), w.above = w.view.copy(); }},
    {"attaches the view above elsewhere", false, [](World& w) { w.above->odb(&w.other); }},
    {"detaches and attaches again", false, [](World& w) { w.later->odb(nullptr), w.later->odb(&w.table); }},
    {"attaches the view elsewhere, under the one above", false, [](World& w) {
        w.view->odb(&w.other), w.view->displayAllRecords(), w.above->displayAllRecords(), w.above->sort(1, 0);
        w.above->set_tag(9, 1), w.above->removeTagged(), w.above->deleteRecords(0, 3), w.above->insertBlankRecords(0, 2);
    }},
};
// clang-format on

// Calls act(world, announcer) in every setting: it makes the announcements.
void in_every_world(void (*act)(World&, int announcer)) {
    for (const Script& script : kScripts) {
        for (int setting = 0; setting < 6; ++setting) {
            SCOPED_TRACE(script.name + std::string(", setting ") + std::to_string(setting));
            World world(script, setting / 2, setting % 2 == 0);
            act(world, setting / 2);
            EXPECT_GE(world.calls, 1);
            world.expect_right();
        }
    }
}

TEST(ListenersOfADeletion, MayDoAnythingButDestroyTheAnnouncer) {
    in_every_world([](World& world, int) {
        world.table.delete_records(2, 2);  // c, d
        world.expect_right();
        world.table.delete_records(1, 1);
        if (world.view) world.view->deleteRecords(0, 2);
    });
}

TEST(ListenersOfADeletion, MayDoSoWhileRunsGoOneByOne) {
    in_every_world([](World& world, int announcer) {
        for (const unsigned row : {1U, 3U, 4U, 7U}) world.table.set_tag(row, 1);
        announcer == 2 ? world.above->deleteTagged() : world.table.delete_tagged_records();
        world.expect_right();
        world.in_order = false;
        if (world.view) world.view->removeNonTagged();
    });
}

// Run by run, while rows and entries move: the records that were chosen go, and no other.
TEST(ListenersOfADeletion, DoNotChangeWhatWasChosen) {
    struct Setting {
        keldb table = lettered_table(6);
        ODBView view = view_showing(table, "0 1* 2 3* 4 5"), above = subview_showing(view, "0 1* 2 3* 4 5");
    };
    void (*const kEdits[])(Setting&) = {
        [](Setting& s) { s.view->sort(-1, 0); },
        [](Setting& s) { s.view->displayRecordsAt(0, 1, 0); },
        [](Setting& s) { s.view->insertBlankRecords(0, 1); },
        [](Setting& s) { s.table.insert_records(0, 1); },
        [](Setting& s) { s.table.sort(-1, 0); },
    };
    int (*const kOperations[])(Setting&) = {
        [](Setting& s) { return s.view->deleteTagged(); },
        [](Setting& s) { return s.above->deleteTagged(); },
        [](Setting& s) { return s.above->removeTagged(); },
    };
    for (int operation = 0; operation < 3; ++operation) {
        const bool removes = operation == 2;
        for (int edit = 0; edit < (removes ? 3 : 5); ++edit) {
            SCOPED_TRACE(std::to_string(operation) + " with " + std::to_string(edit));
            Setting s;
            ODBBase& base = removes ? static_cast<ODBBase&>(**s.view) : s.table;
            bool first = true;
            const auto hear = [&](auto&) {
                if (std::exchange(first, false)) kEdits[edit](s);
            };
            const auto guard = listen(removes ? static_cast<Notifier&>(**s.view) : s.table, kDeleted, hear);
            EXPECT_EQ(kOperations[operation](s), 2);
            std::set<std::string> left;
            for (unsigned row = 0; row < base.get_num_records(); ++row) left.insert(base.getField(row, 0).c_str());
            left.erase("");
            EXPECT_EQ(left, (std::set<std::string>{"a", "c", "e", "f"}));
        }
    }
}

TEST(ViewPropagation, TakesAMessageFromElsewhere) {  // number by number, for this view alone
    const char* const kMessages[][3] = {
        {"2 3 ", "0 2 4", "-1 !"}, {"0 2", "2 4", "-0 -0 !"}, {"x 6", "1 3", "-0 -2 !"}};
    for (const auto& [text, left, said] : kMessages) {
        keldb table = lettered_table(10);
        const ODBView view = view_showing(table, "0 2 4 6");
        Announcements sent(**view);
        EXPECT_EQ(view->recordsDeletedNotify(NotifyMsg(String(text), nullptr)), 0);
        EXPECT_EQ(rows(**view) + " / " + sent.take(), std::string(left) + " / " + said);
    }
}

}  // namespace
