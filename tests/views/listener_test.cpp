// What listeners may do while they are told of a deletion: each script runs once, in the middle of the announcements,
// from a listener of the table, of a view or of a view on it, registered before the views or after them.
//
// At every call each view must name exactly the records that it named at first and that are still there, each with its
// own tag: repair comes before the first announcement. Afterwards everything must still be in order and usable.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "tests/testing/views_text.h"

namespace {

using namespace testing_kit;

class Callback : public NotifyCallback {
public:
    explicit Callback(std::function<void()> act) : act_(std::move(act)) {}
    int call(const NotifyMsg&) override {
        act_();
        return 0;
    }

private:
    std::function<void()> act_;
};

Qv::Ptr<Qv::Guard> listen(Notifier& announcer, std::function<void()> act, const char* type = "recordsDeleted") {
    const Qv::Ptr<NotifyCallback> callback(new Callback(std::move(act)));
    return announcer.registerNotification(callback, NotifyMsgTypeDictionary::instance().intern(type));
}

// Two views of a table of ten rows, one on the first of them, and a listener that runs a script at its first call.
class World {
public:
    enum Announcer { kTable, kView, kAbove };
    using Script = void (*)(World&);

    World(Announcer announcer, bool early, Script script, bool keeps_order)
        : script_(script), script_keeps_order_(keeps_order) {
        view = ODBView(&table);
        above = ODBView(view, true);
        Notifier* const announcers[] = {&table, &*view, &*above};
        if (early) guard = listen(*announcers[announcer], [this] { heard(); });
        later = ODBView(&table);
        show(*view, "9 0 2* 4 6* 8 1 3* 5 7");
        show(*above, "2 9* 3 3 1 8*");
        show(*later, "5* 3 1 8");
        if (!early) guard = listen(*announcers[announcer], [this] { heard(); });
    }

    // Every living view shows, of the records that it showed, those that still exist.
    void expect_right_records() {
        std::set<std::string> there;
        for (unsigned row = 0; row < table.get_num_records(); ++row) there.emplace(table[row].field_text(0));
        const auto left = [&](const char* names) {
            std::string text;
            for (const std::string& name : pieces(names, ' ')) {
                if (there.count(name.substr(0, 1)) != 0) text += (text.empty() ? "" : " ") + name;
            }
            return text;
        };
        if (!in_order) return;
        const auto shown = [](const ODBView& v) { return v ? names(*v) : "gone"; };
        EXPECT_EQ(shown(view), view ? left("j a c* e g* i b d* f h") : "gone");
        EXPECT_EQ(shown(above), above ? left("c h* e e a f*") : "gone");
        EXPECT_EQ(shown(later), later ? left("f* d b i") : "gone");
    }
    void expect_ok() const {
        EXPECT_TRUE(table.ok() && other.ok());
        for (const ODBView* v : {&view, &above, &later}) EXPECT_TRUE(!*v || (*v)->ok());
    }

    keldb table = lettered_table(10), other = lettered_table(3);
    ODBView view, later, above;
    Qv::Ptr<Qv::Guard> guard;
    bool in_order = true;  // no script has shown other rows or sorted
    int calls = 0;

private:
    void heard() {
        ++calls;
        expect_right_records();
        expect_ok();
        if (calls == 1) {
            in_order = script_keeps_order_;
            script_(*this);
        }
        expect_ok();
    }
    Script script_;
    bool script_keeps_order_;
};

struct Named {
    const char* name;
    bool keeps_order;  // no entry is shown, removed or moved
    World::Script script;
};
const Named kScripts[] = {
    {"does nothing", true, [](World&) {}},
    {"deletes a row before", true, [](World& w) { w.table.delete_records(0, 1); }},
    {"deletes a row behind", true, [](World& w) { w.table.delete_records(5, 1); }},
    {"deletes every row", true, [](World& w) { w.table.delete_records(0, 99); }},
    {"deletes through the view", true, [](World& w) { w.view->deleteRecords(1, 3); }},
    {"deletes through the view above", true, [](World& w) { w.above->deleteRecords(0, 99); }},
    {"edits a record", true, [](World& w) { w.table.set_field(0, 0, "a"); }},
    {"sorts the view", false, [](World& w) { w.view->sort(1, 0); }},
    {"sorts the table", false, [](World& w) { w.table.sort(-1, 0); }},
    {"adds and inserts rows", false, [](World& w) { w.table.add_records(3), w.table.insert_records(0, 2); }},
    {"shows all again", false, [](World& w) { w.view->displayAllRecords(), w.later->displayAllRecords(); }},
    {"removes from the view", false, [](World& w) { w.view->remove(0, 2), w.later->remove(1, 1); }},
    {"removes from the chain", false, [](World& w) { w.above->removeTagged(); }},
    {"clears the views", false, [](World& w) { w.view->clear(), w.above->clear(), w.later->clear(); }},
    {"stops listening", true,
     [](World& w) { w.table.deregisterNotification(w.guard), w.view->deregisterNotification(w.guard); }},
    {"releases the view above", true, [](World& w) { w.above = ODBView(); }},
    {"releases the later view", true, [](World& w) { w.later = ODBView(); }},
    {"releases view and view above", true, [](World& w) { w.view = w.above = ODBView(); }},
    {"releases the view, which the one above holds", true, [](World& w) { w.view = ODBView(); }},
    {"releases all", true, [](World& w) { w.view = w.above = w.later = ODBView(); }},
    {"makes more views", false, [](World& w) { w.later = ODBView(w.view, true), w.above = w.view.copy(); }},
    {"detaches the later view", false, [](World& w) { w.later->odb(nullptr); }},
    {"attaches the view above elsewhere", false, [](World& w) { w.above->odb(&w.other); }},
    {"attaches the later view elsewhere and shows it", false,
     [](World& w) { w.later->odb(&w.other), w.later->displayAllRecords(); }},
    {"detaches and attaches again", false,
     [](World& w) { w.later->odb(nullptr), w.later->odb(&w.table), w.later->displayAllRecords(); }},
};

TEST(ListenersOfADeletion, MayDoAnythingButDestroyTheAnnouncer) {
    for (const Named& named : kScripts) {
        for (const auto announcer : {World::kTable, World::kView, World::kAbove}) {
            for (const bool early : {true, false}) {
                SCOPED_TRACE(std::string(named.name) + ", announcer " + std::to_string(announcer) +
                             (early ? ", early" : ""));
                World world(announcer, early, named.script, named.keeps_order);
                world.table.delete_records(2, 2);  // c, d
                EXPECT_GE(world.calls, 1);
                world.expect_right_records();
                world.table.delete_records(1, 1);
                if (world.view) world.view->deleteRecords(0, 2);
                world.expect_right_records();
                world.expect_ok();
            }
        }
    }
}

TEST(ListenersOfADeletion, MayDoSoWhileRunsGoOneByOne) {  // deleteTagged and removeTagged announce run by run
    for (const Named& named : kScripts) {
        for (const auto announcer : {World::kTable, World::kView, World::kAbove}) {
            SCOPED_TRACE(std::string(named.name) + ", announcer " + std::to_string(announcer));
            World world(announcer, true, named.script, named.keeps_order);
            if (announcer == World::kAbove) {
                world.above->deleteTagged();
            } else {
                for (const unsigned row : {1U, 3U, 4U, 7U}) world.table.set_tag(row, 1);
                world.table.delete_tagged_records();
            }
            EXPECT_GE(world.calls, 1);
            world.expect_right_records();
            world.in_order = false;
            if (world.view) world.view->removeNonTagged();
            world.expect_ok();
        }
    }
}

// Listeners 0 to 3 note their calls; number 1 does something to the registrations at its first.
struct Registrations {
    const char* what;
    std::function<void(Notifier&, std::vector<Qv::Ptr<Qv::Guard>>&, std::string&)> act;
    const char* first;   // who is called by this message
    const char* second;  // and by the next one
};
const Registrations kRegistrations[] = {
    {"itself", [](Notifier& n, auto& guards, auto&) { n.deregisterNotification(guards[1]); }, "0123", "023"},
    {"the next one", [](Notifier& n, auto& guards, auto&) { n.deregisterNotification(guards[2]); }, "013", "013"},
    {"the one before", [](Notifier& n, auto& guards, auto&) { n.deregisterNotification(guards[0]); }, "0123", "123"},
    {"all",
     [](Notifier& n, auto& guards, auto&) {
         for (const auto& guard : guards) n.deregisterNotification(guard);
     },
     "01", ""},
    {"a new one",
     [](Notifier& n, auto& guards, auto& heard) { guards.push_back(listen(n, [&heard] { heard += '4'; })); }, "0123",
     "01234"},
};

TEST(ListenersOfADeletion, MayComeAndGo) {
    for (const Registrations& r : kRegistrations) {
        for (const bool of_view : {false, true}) {
            SCOPED_TRACE(r.what);
            keldb table = lettered_table(4);
            const ODBView view = view_showing(table, "0 1 2 3");
            Notifier& announcer = of_view ? static_cast<Notifier&>(*view) : table;
            std::string heard;
            std::vector<Qv::Ptr<Qv::Guard>> guards;
            for (const char who : {'0', '1', '2', '3'}) {
                guards.push_back(listen(announcer, [&, who] {
                    heard += who;
                    if (who == '1' && heard == "01") r.act(announcer, guards, heard);
                }));
            }
            table.delete_records(0, 1);
            EXPECT_EQ(std::exchange(heard, ""), r.first);
            table.delete_records(0, 1);
            EXPECT_EQ(heard, r.second);
            for (const auto& guard : guards) announcer.deregisterNotification(guard);
        }
    }
}

TEST(ListenersOfADeletion, TheAnnouncingViewLivesUntilItHasAnnounced) {
    keldb table = lettered_table(4);
    ODBView view = view_showing(table, "0 1 2 3");
    int calls = 0;
    const auto guard = listen(*view, [&] {
        ++calls;
        view = ODBView();
    });
    table.delete_records(0, 3);
    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(guard->registered());
    table.delete_records(0, 1);
}

// Changing the table below a view that others stand on leaves those on another table than their base view; nothing that
// is done with them then may reach outside a value.
TEST(ViewsAttachedElsewhere, UnderASubviewDoNoHarm) {
    for (const bool heard : {false, true}) {
        keldb table = lettered_table(3), other = lettered_table(26);
        const auto guard = heard ? listen(other, [] {}) : nullptr;
        const ODBView view = view_showing(table, "0* 1* 2*"), above(view, true);
        view->odb(&other);
        view->displayAllRecords();
        above->displayAllRecords();
        above->sort(1, 0);
        above->tagDuplicates(0);
        above->removeTagged();
        above->deleteRecords(0, 26);
        above->insertBlankRecords(0, 2);
        EXPECT_TRUE(table.ok() && other.ok());
        other.deregisterNotification(guard);
    }
}

}  // namespace
