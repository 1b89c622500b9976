// Memory that runs out, at every allocation of every operation: once, and from there on for good. Only std::bad_alloc
// may come out; every object keeps its invariants; what is there afterwards is what was there before, or what the
// operation leaves when it is not disturbed, announcements and files included; the operation can then be done; and
// nothing leaks.
//
// Some operations are allowed to stop half-way, at whole records: they are marked so.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

#include "keldb/container/qv_container_file.h"
#include "keldb/fieldmap/field_map.h"
#include "keldb/support/config_block.h"
#include "keldb/support/log.h"
#include "keldb/support/text_file.h"
#include "keldb/views/odb_view.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

using testing_kit::AllocationFaults;
using testing_kit::pieces;
using testing_kit::table_of;
using testing_kit::text_of;
using testing_kit::wide;

const char* const kTable =
    "Name:a Start~time:t Cookie:a Tag:a | a name beyond fifteen bytes,10:00:00:05,M1, | *take 2,10:00:00;05,M2,1 |"
    " *take 10,10:00:01:00,M3,1 | ,,, | *another name that is not short,09:00:00:00,M5, | take 2,,M6,0";
const char* const kOther = "Cookie:a Start~time:T Notes:a | M7,10000005,a note beyond fifteen bytes | *M8,10000006,n";
const char* const kLongText = "  a text that needs memory of its own";

// Hears without allocating.
class Ear {
public:
    int deleted(const NotifyMsg& message) { return note("-", message.text().view()); }
    int changed(const NotifyMsg& message) { return note("!", message.payload() ? "ids" : ""); }
    std::string heard() const { return text_; }

    template <class Announcer>
    void listen(Announcer& announcer) {
        using Callback = MethodCallback<Ear, NotifyMsg, int>;
        announcer.registerNotification(Qv::Ptr<NotifyCallback>(new Callback(this, &Ear::deleted)),
                                       kel::records_deleted_type());
        announcer.registerNotification(Qv::Ptr<NotifyCallback>(new Callback(this, &Ear::changed)),
                                       kel::records_changed_type());
    }

private:
    int note(std::string_view kind, std::string_view text) {
        for (const std::string_view part : {kind, text}) {
            const std::size_t room = sizeof text_ - 1 - size_, taken = std::min(part.size(), room);
            std::copy_n(part.begin(), taken, text_ + size_);
            size_ += taken;
        }
        return 0;
    }
    char text_[400] = {};
    std::size_t size_ = 0;
};

std::string text_of(const ODBViewRep& view) {
    std::string text = std::string(view.fieldSpec()) + ":";
    for (int i = 0; i < view.size(); ++i) {
        text += ' ' + std::to_string(view.recRef(i)->row) + (view.recRef(i)->tag ? "*" : "");
    }
    for (const AssocList::Entry& entry : const_cast<ODBViewRep&>(view).params().entries()) {
        text += std::string(" ") + entry.key() + '=' + entry.value();
    }
    return text + (view.odb() ? "" : " detached") + (view.ok() ? "" : " BROKEN");
}

std::string whole_text_of(keldb& table) {
    std::string text = text_of(static_cast<ODBBase&>(table));
    for (unsigned i = 0; i < table.get_num_records(); ++i) text += table[i].get_changed() ? " c" : " -";
    for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i) {
        text += std::string(" ") + table.get_nth_param_name(i) + '=' + table.get_nth_param_val(i);
    }
    text += " valid " + std::to_string(table.get_valid()) + " changed " + std::to_string(table.get_changed());
    text += " matches " + std::to_string(table.match_record(0)) + " keys " + std::to_string(table.getSortFieldIdx());
    return text + (table.ok() ? "" : " BROKEN");
}

// A table with a view, one stacked on it and a subview of its tagged entries, another table, and what operations make.
struct House {
    testing_kit::TempDir dir;
    keldb table = table_of(kTable);
    keldb other = table_of(kOther);
    ODBView root{&table, "(Name \"Start time\")"};
    ODBView stacked;
    ODBView over;
    Ear ear;
    std::unique_ptr<keldb> made;
    ODBView view;
    FieldMap map;
    configb block;
    std::unique_ptr<dbrecord> record;
    std::string result;

    explicit House(bool listened) {
        table.add_param("Owner", "somebody with a long name");
        table.set_filename(wide(dir.path("table")));
        dbrecord query(4);
        query.set_field(0, "name", true);
        table.set_query(&query);
        other.set_filename(wide(dir.path("saved")));
        root->displayAllRecords();
        for (const int position : {1, 2, 4}) root->set_tag(static_cast<unsigned>(position), 1);
        stacked = ODBView(root, true);
        stacked->displayAllRecords();
        stacked->tagAll(true);
        over = ODBView(stacked, true);
        over->displayAllRecords();
        over->set_tag(1, 1);
        root->fileName(wide(dir.path("view")));
        testing_kit::write_file(dir.path("saved"),
                                "\"KELDB:Rev 1\"\n\"Owner:me\"\n\"KELDB\"\n\"32\",\"12\"\n\"text\",\"text\"\n"
                                "\"Name\",\"Cookie\"\n\"a name beyond fifteen bytes\",\"M1\"\n\"b\",\"M2\"\n");
        testing_kit::write_file(dir.path("rows"),
                                "left out\n\"a name beyond fifteen bytes\",\"\",\"M8\",\"\"\n\"b\",\"\",\"\",\"\"\n");
        testing_kit::write_file(dir.path("table"), "an old table\n");
        testing_kit::write_file(dir.path("view"), "an old view\n");
        testing_kit::write_file(dir.path("box"), "an old box\n");
        table.clear_changed();
        if (listened) {
            ear.listen(table);
            ear.listen(*root);
            ear.listen(*over);
        }
    }

    std::string state() {
        std::string text = whole_text_of(table) + '\n' + whole_text_of(other) + '\n' + ear.heard() + '\n';
        for (const ODBView& each : {root, stacked, over, view}) text += (each ? text_of(*each) : "null") + '\n';
        if (made) text += whole_text_of(*made) + '\n';
        if (record) text += text_of(*record) + '\n';
        return text + map.asString().c_str() + '\n' + result + files();
    }

    std::string files() const {
        std::string text;
        for (const std::string& name : testing_kit::names_in(dir.path())) {
            text += '\n' + name + ": " + testing_kit::file_bytes(dir.path(name));
        }
        return text;
    }
};

enum Kind {
    whole,         // all or nothing
    record_wise,   // may stop between two records: of those that it appends, or whose Tag field it writes for the file
    run_wise,      // may stop between two runs of records, but only while somebody listens: else all or nothing
    value_wise,    // may stop between two values of the record that it assigns
    never_raises,  // nothing escapes; the table is not valid then
    gives_up,      // may do nothing without raising: what it reads is not valid then
    in_two_steps,  // may stop while the new file stands complete beside the place of the old one
};

struct Operation {
    const char* name;
    Kind kind;
    void (*run)(House& h);
    void (*prepare)(House& h) = [](House&) {};
};

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

void show_tags_only(House& h) { h.table.set_show_tags_only(1); }

const Operation kOperations[] = {
    {"add_records", whole, [](House& h) { h.table.add_records(600); }},
    {"insert_records", whole, [](House& h) { h.table.insert_records(1, 600); }},
    {"delete_records", whole, [](House& h) { h.table.delete_records(1, 3); }},
    {"delete_tagged_records", run_wise, [](House& h) { h.table.delete_tagged_records(); }},
    {"set_field text", whole, [](House& h) { h.table.set_field(0, 1, kLongText); }},
    {"set_field number", whole, [](House& h) { h.table.set_field(3, 1, 1e300); }},
    {"set_field id", whole, [](House& h) { h.table.set_field(3, Cookie("Midentifier of many bytes", false)); }},
    {"setField", whole, [](House& h) { h.table.setField(3, 0, kLongText); }},
    {"getField", whole, [](House& h) { h.result = h.table.getField(0, 0).c_str(); }},
    {"make_dummy_record", whole, [](House& h) { h.record.reset(h.table.make_dummy_record()); }},
    {"set_fieldname", whole, [](House& h) { h.table.set_fieldname(0, "a & name of many bytes"); }},
    {"addField", whole,
     [](House& h) {
         h.table.addField({"a field of many bytes", DBFieldTypes::date});
     }},
    {"removeField", whole, [](House& h) { h.table.removeField("start time"); }},
    {"add_param", whole, [](House& h) { h.table.add_param("a name of many bytes", "and a value as long as that"); }},
    {"add_param again", whole, [](House& h) { h.table.add_param("OWNER", "and a value as long as that"); }},
    {"add_param first", whole, [](House& h) { h.other.add_param("a name of many bytes", "and a value as long"); }},
    {"sort", whole, [](House& h) { h.table.sort(1, 0); }},
    {"sort descending", whole, [](House& h) { h.table.sort(-1, 0); }, show_tags_only},
    {"set_show_tags_only", whole, [](House& h) { h.table.set_show_tags_only(1); }},
    {"set_query", whole, [](House& h) { h.table.set_query(h.table.get_record(4)); }},
    {"tag_matching_records", whole, [](House& h) { h.table.tag_matching_records(0); }},
    {"tag_all_different", whole, [](House& h) { h.table.tag_all_different(1); }},
    {"findFirst", whole, [](House& h) { h.result = std::to_string(h.table.findFirst("cookie", "M6", 0)); }},
    {"copy", whole, [](House& h) { h.made = std::make_unique<keldb>(h.table); }},
    {"copy of the layout", whole, [](House& h) { h.made = std::make_unique<keldb>(h.table, 0); }},
    {"assignment", whole, [](House& h) { h.other = h.table; }, show_tags_only},
    {"assignment to it", whole, [](House& h) { h.table = h.other; }},
    {"add_keldb", whole, [](House& h) { h.table.add_keldb(&h.table); }},
    {"merge_all_matching", record_wise, [](House& h) { h.table.merge_all_matching(&h.other); }},
    {"copy_record", value_wise, [](House& h) { h.table.copy_record(3, &h.table, 0); }},
    {"addToUpdate", whole, [](House& h) { h.table.addToUpdate(Cookie("Midentifier of many bytes", false)); }},
    {"endUpdate", whole, [](House& h) { h.table.endUpdate(); },
     [](House& h) {
         h.table.beginUpdate();
         h.table.addToUpdate(Cookie("Midentifier of many bytes", false));
     }},
    {"update", whole, [](House& h) { h.result = h.table.update(&h.block, 0) ? "done" : "not done"; }},
    {"save_text", record_wise, [](House& h) { h.result = std::to_string(h.table.save_text()); }},
    {"save_tags", record_wise, [](House& h) { h.result = std::to_string(h.table.save_tags()); }},
    {"loadFromFile", never_raises, [](House& h) { h.other.loadFromFile(100, false); }},
    {"load_text", record_wise,
     [](House& h) {
         h.table.set_filename(wide(h.dir.path("rows")));
         h.table.load_text(100);
     }},
    {"a view", whole,
     [](House& h) {
         ODBView view(&h.table);
         view->displayAllRecords();
         h.view = view;
     }},
    {"fieldSpec", whole, [](House& h) { h.root->fieldSpec("(Cookie \"Start time\" Name)"); }},
    {"displayRecordsAt", whole, [](House& h) { h.over->displayRecordsAt(0, 60, 1); }},
    {"displayAllRecords", whole, [](House& h) { h.root->displayAllRecords(); }},
    {"displayRecordsAt of ids", whole,
     [](House& h) {
         CookieVec ids;
         for (int i = 0; i < 30; ++i) ids.add(Cookie(i % 2 ? "M2" : "M5", false));
         h.root->displayRecordsAt(ids, 1);
     }},
    {"setupViewTags", whole, [](House& h) { h.root->setupViewTagsFromKeldbTagField(); }},
    {"remove", whole, [](House& h) { h.root->remove(1, 3); }},
    {"removeTagged", run_wise, [](House& h) { h.root->removeTagged(); }},
    {"removeNonTagged above", run_wise, [](House& h) { h.over->removeNonTagged(); }},
    {"deleteRecords", run_wise, [](House& h) { h.root->deleteRecords(0, 3); }},
    {"deleteTagged above", run_wise, [](House& h) { h.stacked->deleteTagged(); }},
    {"insertBlankRecords", whole, [](House& h) { h.over->insertBlankRecords(1, 30); }},
    {"sort a view", whole, [](House& h) { h.root->sort(1, 0); }},
    {"tagMatches", whole, [](House& h) { h.root->tagMatches(0); }},
    {"tagDuplicates", whole, [](House& h) { h.root->tagDuplicates(0); }},
    {"a subview", whole, [](House& h) { h.view = ODBView(h.root->newTagSubview()); }},
    {"copy of a view", whole, [](House& h) { h.view = h.over.copy(); }},
    {"copy with its table", whole,
     [](House& h) {
         const ODBView copy = h.root.copyWithNewBaseView();
         h.made.reset(copy->odb());
     }},
    {"conversion", whole, [](House& h) { h.made.reset(Convert_ODBView_to_keldb(h.over)); }},
    {"odb", whole, [](House& h) { h.over->odb(&h.other); }},
    {"save a view", whole, [](House& h) { h.result = std::to_string(h.root->save_text()); }},
    {"a field map", whole, [](House& h) { h.map = FieldMap(h.root); }},
    {"append to a map", whole, [](House& h) { h.map.append("a name of many bytes", true); }},
    {"a container", in_two_steps,
     [](House& h) {
         DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text}, {"Notes", DBFieldTypes::text}, {}};
         QVContainerFile::Writer writer(fields);
         writer.setName("the name of a container");
         writer.addItem(Cookie("Midentifier of many bytes", true)).setAttrib(1, kLongText);
         writer.save(wide(h.dir.path("box")));
     }},
    {"read a container", gives_up,
     [](House& h) {
         QVContainerFile::Reader reader(wide(h.dir.path("saved")), false);
         if (reader.valid()) h.result = reader.getItem(reader.getNumItems() - 1).getCookie().text().c_str();
     }},
};

class Sweep {
public:
    Sweep(const Operation& operation, bool listened) : operation_(operation), listened_(listened) {
        House untouched(listened);
        operation.prepare(untouched);
        before_ = state_of(untouched);
        before_files_ = untouched.files();
        operation.run(untouched);
        after_ = state_of(untouched);
        after_files_ = untouched.files();
    }

    unsigned run() {
        unsigned points = 0;
        for (const bool for_good : {false, true}) {
            for (long at = 0; point(at, for_good); at += 1 + (at > 40 ? at / 8 : 0)) ++points;
        }
        EXPECT_GT(points, 0U) << operation_.name << ": nothing was allocated";
        return points;
    }

private:
    // Remembers the records on the way.
    std::string state_of(House& house) {
        for (keldb* table : {&house.table, &house.other}) {
            for (unsigned i = 0; i < table->get_num_records(); ++i) known_.insert(text_of((*table)[i]));
        }
        return house.state();
    }

    std::string wrong(House& house, bool raised) {
        const std::string now = house.state();
        if (now.find("BROKEN") != std::string::npos) return "ok() is false: " + differences(now, before_);
        if (now == after_ || (raised && now == before_)) return "";
        if (operation_.kind == never_raises) return house.other.get_valid() == 0 ? "" : "valid, but: " + now;
        const bool by_records = operation_.kind == record_wise || (operation_.kind == run_wise && listened_) ||
                                operation_.kind == value_wise;
        if (by_records && house.files() != before_files_ && house.files() != after_files_)
            return "a file:" + house.files();
        if (by_records) return operation_.kind == value_wise ? "" : torn_record(house.table);
        if (operation_.kind == gives_up && now == before_) return "";
        if (operation_.kind == in_two_steps && complete_beside(house)) return "";
        return "neither as before:\n" + differences(now, before_) + "nor as afterwards:\n" + differences(now, after_);
    }

    // Each record is as it was before or as it is afterwards.
    std::string torn_record(keldb& table) const {
        for (unsigned i = 0; i < table.get_num_records(); ++i) {
            if (!known_.contains(text_of(table[i]))) return "a torn record: " + text_of(table[i]);
        }
        return "";
    }

    // The container, as it is afterwards, under its second name.
    bool complete_beside(const House& house) const {
        const std::string beside = "\nbox.tmp: " + testing_kit::file_bytes(house.dir.path("box.tmp"));
        return after_files_.find("\nbox: " + beside.substr(10)) != std::string::npos;
    }

    static std::string differences(const std::string& is, const std::string& wanted) {
        const std::vector<std::string> lines = pieces(is, '\n'), others = pieces(wanted, '\n');
        std::string text;
        for (std::size_t i = 0; i < std::max(lines.size(), others.size()); ++i) {
            const std::string line = i < lines.size() ? lines[i] : "", other = i < others.size() ? others[i] : "";
            if (line != other) text += "  " + line + "\n  instead of " + other + "\n";
        }
        return text;
    }

    // False when the operation got by without allocation number `at`.
    bool point(long at, bool for_good) {
        SCOPED_TRACE(std::string(operation_.name) + (listened_ ? ", listened to" : "") + ": allocation " +
                     std::to_string(at) + (for_good ? " and all after" : ""));
        const long baseline = testing_kit::live_blocks();
        bool struck = false;
        {
            House house(listened_);
            operation_.prepare(house);
            bool raised = false;
            {
                AllocationFaults faults(at, for_good);
                try {
                    operation_.run(house);
                } catch (const std::bad_alloc&) {
                    raised = true;
                }
                faults.stop();
                struck = faults.struck();
            }
            EXPECT_FALSE(raised && operation_.kind == never_raises);
            EXPECT_EQ(wrong(house, raised), "");
            if (raised && house.state() == before_) {
                operation_.run(house);
                EXPECT_EQ(house.state(), after_) << "done again";
            }
        }
        if (testing::Test::HasFailure()) return false;
        EXPECT_EQ(testing_kit::live_blocks(), baseline) << "blocks leaked";
        return struck;
    }

    const Operation& operation_;
    bool listened_;
    std::string before_;
    std::string after_;
    std::string before_files_;
    std::string after_files_;
    std::set<std::string> known_;
};

// The sweep would be blind if the library did not allocate through the operators and the service that fail.
TEST(AllocationSweep, ReachesTheLibrary) {
    keldb table = table_of("a:a |");
    {
        const AllocationFaults faults(0);
        EXPECT_THROW(table.set_field(0, 0, kLongText), std::bad_alloc);
        EXPECT_TRUE(faults.struck());
    }
    const AllocationFaults faults(0);
    EXPECT_THROW(table.add_records(5000), std::bad_alloc);
}

class AllocationSweepOf : public testing::TestWithParam<Operation> {};

unsigned all_points = 0;

TEST_P(AllocationSweepOf, EveryPoint) {
    setLogSink([](const char*, void*) {}, nullptr);
    for (const bool listened : {false, true}) all_points += Sweep(GetParam(), listened).run();
    RecordProperty("points", static_cast<int>(all_points));
}

INSTANTIATE_TEST_SUITE_P(Operations, AllocationSweepOf, testing::ValuesIn(kOperations), [](const auto& tested) {
    std::string name = tested.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

// After all of them.
class PrintPoints : public testing::Environment {
    void TearDown() override { std::printf("REL oom_points=%u\n", all_points); }
};
[[maybe_unused]] testing::Environment* const print_points = testing::AddGlobalTestEnvironment(new PrintPoints);

}  // namespace
