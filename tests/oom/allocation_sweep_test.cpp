// Memory that runs out, at every allocation of every operation: once, and from there on for good. Only std::bad_alloc
// may come out; every object keeps its invariants; what is there afterwards is what was there before, or what the
// operation leaves when it is not disturbed, announcements and files included; the operation can then be done; and
// nothing leaks.
//
// Some operations are allowed to stop half-way, at whole records: they are marked so.
#include <gtest/gtest.h>

#include <set>

#include "keldb/container/qv_container_file.h"
#include "keldb/fieldmap/field_map.h"
#include "keldb/support/config_block.h"
#include "keldb/support/log.h"
#include "keldb/support/text_file.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/views_text.h"

namespace {

using testing_kit::AllocationFaults;
using testing_kit::table_of;
using testing_kit::text_of;
using testing_kit::wide;

const char* const kLongText = "  a text that needs memory of its own";
Cookie long_id() { return Cookie("Midentifier of many bytes", false); }

// Hears without allocating.
class Ear {
public:
    Ear() { heard_.reserve(1000); }
    const std::string& heard() const { return heard_; }
    void listen(Notifier& announcer) {
        using Callback = MethodCallback<Ear, NotifyMsg, int>;
        const auto callback = [this](auto method) { return Qv::Ptr<NotifyCallback>(new Callback(this, method)); };
        announcer.registerNotification(callback(&Ear::deleted), kel::records_deleted_type());
        announcer.registerNotification(callback(&Ear::changed), kel::records_changed_type());
    }

private:
    int deleted(const NotifyMsg& message) { return heard_.append("-").append(message.text().view()), 0; }
    int changed(const NotifyMsg& message) { return heard_.append(message.payload() ? "!ids" : "!"), 0; }
    std::string heard_;
};

std::string whole_text_of(ODBViewRep& view) {
    std::string text = std::string(view.fieldSpec()) + ": " + testing_kit::rows(view);
    for (const auto& entry : view.params().entries()) text += std::string(" ") + entry.key() + '=' + entry.value();
    return text + (view.ok() ? "" : " BROKEN");
}

std::string whole_text_of(keldb& table) {
    std::string text = text_of(static_cast<ODBBase&>(table));
    for (unsigned i = 0; i < table.get_num_records(); ++i) text += table[i].get_changed() ? " c" : " -";
    for (int i = 0; i < static_cast<int>(table.get_num_params()); ++i)
        text += std::string(" ") + table.get_nth_param_name(i) + '=' + table.get_nth_param_val(i);
    for (const int number : {table.get_valid(), table.get_changed(), table.match_record(0), table.getSortFieldIdx()})
        text += ' ' + std::to_string(number);
    return text + (table.ok() ? "" : " BROKEN");
}

// A table with a view, one stacked on it and a subview of its tagged entries, another table, and what operations make.
struct House {
    testing_kit::TempDir dir;
    keldb table = table_of(
        "Name:a Start~time:t Cookie:a Tag:a | a name beyond fifteen bytes,10:00:00:05,M1, | *take 2,10:00:00;05,M2,1 |"
        " *take 10,10:00:01:00,M3,1 | ,,, | *another name that is not short,09:00:00:00,M5, | take 2,,M6,0");
    keldb other = table_of("Cookie:a Start~time:T Notes:a | M7,10000005,a note beyond fifteen bytes | *M8,10000006,n");
    ODBView root{&table, "(Name \"Start time\")"}, stacked, over, view;
    Ear ear;
    std::unique_ptr<keldb> made;
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
        testing_kit::show(*root, "0 1* 2* 3 4* 5");
        stacked = testing_kit::subview_showing(root, "0* 1* 2* 3* 4* 5*");
        over = testing_kit::subview_showing(stacked, "0 1* 2 3 4 5");
        root->fileName(wide(dir.path("view")));
        const std::pair<const char*, const char*> files[] = {
            {"saved",
             "\"KELDB:Rev 1\"\n\"Owner:me\"\n\"KELDB\"\n\"32\",\"12\"\n\"text\",\"text\"\n\"Name\",\"Cookie\"\n"
             "\"a name beyond fifteen bytes\",\"M1\"\n\"b\",\"M2\"\n"},
            {"rows", "left out\n\"a name beyond fifteen bytes\",\"\",\"M8\",\"\"\n\"b\",\"\",\"\",\"\"\n"},
            {"table", "an old table\n"},
            {"view", "an old view\n"},
            {"box", "an old box\n"}};
        for (const auto& [name, bytes] : files) testing_kit::write_file(dir.path(name), bytes);
        table.clear_changed();
        for (Notifier* announcer : std::initializer_list<Notifier*>{&table, root.get(), over.get()}) {
            if (listened) ear.listen(*announcer);
        }
    }

    std::string state() {
        std::string text = whole_text_of(table) + '\n' + whole_text_of(other) + '\n' + ear.heard() + '\n';
        for (const ODBView& each : {root, stacked, over, view}) text += each ? whole_text_of(*each) + '\n' : "null\n";
        if (made) text += whole_text_of(*made) + '\n';
        if (record) text += text_of(*record) + '\n';
        return text + map.asString().c_str() + '\n' + result + files();
    }
    std::string files() const {
        std::string text;
        for (const std::string& name : testing_kit::names_in(dir.path()))
            text += '\n' + name + ": " + testing_kit::file_bytes(dir.path(name));
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
using H = House&;

void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

ODBView shown_view(keldb& table) {
    ODBView view(&table);
    view->displayAllRecords();
    return view;
}

void show_tags_only(H h) { h.table.set_show_tags_only(1); }
void open_update(H h) { h.table.beginUpdate(), h.table.addToUpdate(long_id()); }
void load_rows(H h) { h.table.set_filename(wide(h.dir.path("rows"))), h.table.load_text(100); }

void show_identifiers(H h) {
    CookieVec ids;
    for (int i = 0; i < 30; ++i) ids.add(Cookie(i % 2 ? "M2" : "M5", false));
    h.root->displayRecordsAt(ids, 1);
}

void copy_with_table(H h) {
    const ODBView copy = h.root.copyWithNewBaseView();
    h.made.reset(copy->odb());
}

void write_container(H h) {
    DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text}, {"Notes", DBFieldTypes::text}, {}};
    QVContainerFile::Writer writer(fields);
    writer.setName("the name of a container");
    writer.addItem(long_id()).setAttrib(1, kLongText);
    writer.save(wide(h.dir.path("box")));
}

void read_container(H h) {
    const QVContainerFile::Reader reader(wide(h.dir.path("saved")), false);
    if (reader.valid()) h.result = reader.getItem(reader.getNumItems() - 1).getCookie().text().c_str();
}

const Operation kOperations[] = {
    {"add_records", whole, [](H h) { h.table.add_records(600); }},
    {"insert_records", whole, [](H h) { h.table.insert_records(1, 600); }},
    {"delete_records", whole, [](H h) { h.table.delete_records(1, 3); }},
    {"delete_tagged_records", run_wise, [](H h) { h.table.delete_tagged_records(); }},
    {"set_field text", whole, [](H h) { h.table.set_field(0, 1, kLongText); }},
    {"set_field number", whole, [](H h) { h.table.set_field(3, 1, 1e300); }},
    {"set_field id", whole, [](H h) { h.table.set_field(3, long_id()); }},
    {"setField", whole, [](H h) { h.table.setField(3, 0, kLongText); }},
    {"getField", whole, [](H h) { h.result = h.table.getField(0, 0).c_str(); }},
    {"make_dummy_record", whole, [](H h) { h.record.reset(h.table.make_dummy_record()); }},
    {"set_fieldname", whole, [](H h) { h.table.set_fieldname(0, "a & name of many bytes"); }},
    {"addField", whole,
     [](H h) {
         h.table.addField(DBFieldDesc{"a field of many bytes", DBFieldTypes::date});
     }},
    {"removeField", whole, [](H h) { h.table.removeField("start time"); }},
    {"add_param", whole, [](H h) { h.table.add_param("a name of many bytes", "and a value as long as that"); }},
    {"add_param again", whole, [](H h) { h.table.add_param("OWNER", "and a value as long as that"); }},
    {"add_param first", whole, [](H h) { h.other.add_param("a name of many bytes", "and a value as long"); }},
    {"sort", whole, [](H h) { h.table.sort(1, 0); }},
    {"sort descending", whole, [](H h) { h.table.sort(-1, 0); }, show_tags_only},
    {"set_show_tags_only", whole, show_tags_only},
    {"set_query", whole, [](H h) { h.table.set_query(h.table.get_record(4)); }},
    {"tag_matching_records", whole, [](H h) { h.table.tag_matching_records(0); }},
    {"tag_all_different", whole, [](H h) { h.table.tag_all_different(1); }},
    {"findFirst", whole, [](H h) { h.result = std::to_string(h.table.findFirst("cookie", "M6", 0)); }},
    {"copy", whole, [](H h) { h.made = std::make_unique<keldb>(h.table); }},
    {"copy of the layout", whole, [](H h) { h.made = std::make_unique<keldb>(h.table, 0); }},
    {"assignment", whole, [](H h) { h.other = h.table; }, show_tags_only},
    {"assignment to it", whole, [](H h) { h.table = h.other; }},
    {"add_keldb", whole, [](H h) { h.table.add_keldb(&h.table); }},
    {"merge_all_matching", record_wise, [](H h) { h.table.merge_all_matching(&h.other); }},
    {"copy_record", value_wise, [](H h) { h.table.copy_record(3, &h.table, 0); }},
    {"addToUpdate", whole, [](H h) { h.table.addToUpdate(long_id()); }},
    {"endUpdate", whole, [](H h) { h.table.endUpdate(); }, open_update},
    {"update", whole, [](H h) { h.result = h.table.update(&h.block, 0) ? "done" : "not done"; }},
    {"save_text", record_wise, [](H h) { h.result = std::to_string(h.table.save_text()); }},
    {"save_tags", record_wise, [](H h) { h.result = std::to_string(h.table.save_tags()); }},
    {"loadFromFile", never_raises, [](H h) { h.other.loadFromFile(100, false); }},
    {"load_text", record_wise, load_rows},
    {"a view", whole, [](H h) { h.view = shown_view(h.table); }},
    {"fieldSpec", whole, [](H h) { h.root->fieldSpec("(Cookie \"Start time\" Name)"); }},
    {"displayRecordsAt", whole, [](H h) { h.over->displayRecordsAt(0, 60, 1); }},
    {"displayAllRecords", whole, [](H h) { h.root->displayAllRecords(); }},
    {"displayRecordsAt of ids", whole, show_identifiers},
    {"setupViewTags", whole, [](H h) { h.root->setupViewTagsFromKeldbTagField(); }},
    {"remove", whole, [](H h) { h.root->remove(1, 3); }},
    {"removeTagged", run_wise, [](H h) { h.root->removeTagged(); }},
    {"removeNonTagged above", run_wise, [](H h) { h.over->removeNonTagged(); }},
    {"deleteRecords", run_wise, [](H h) { h.root->deleteRecords(0, 3); }},
    {"deleteTagged above", run_wise, [](H h) { h.stacked->deleteTagged(); }},
    {"insertBlankRecords", whole, [](H h) { h.over->insertBlankRecords(1, 30); }},
    {"sort a view", whole, [](H h) { h.root->sort(1, 0); }},
    {"tagMatches", whole, [](H h) { h.root->tagMatches(0); }},
    {"tagDuplicates", whole, [](H h) { h.root->tagDuplicates(0); }},
    {"a subview", whole, [](H h) { h.view = ODBView(h.root->newTagSubview()); }},
    {"copy of a view", whole, [](H h) { h.view = h.over.copy(); }},
    {"copy with its table", whole, copy_with_table},
    {"conversion", whole, [](H h) { h.made.reset(Convert_ODBView_to_keldb(h.over)); }},
    {"odb", whole, [](H h) { h.over->odb(&h.other); }},
    {"save a view", whole, [](H h) { h.result = std::to_string(h.root->save_text()); }},
    {"a field map", whole, [](H h) { h.map = FieldMap(h.root); }},
    {"append to a map", whole, [](H h) { h.map.append("a name of many bytes", true); }},
    {"a container", in_two_steps, write_container},
    {"read a container", gives_up, read_container},
};

// An operation that is not disturbed, and then disturbed at every point.
class Sweep {
public:
    Sweep(const Operation& operation, bool listened) : operation_(operation), listened_(listened) {
        House house(listened);
        operation.prepare(house);
        keep(house, before_);
        operation.run(house);
        keep(house, after_);
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
    struct State {
        std::string all, files;
    };
    void keep(House& house, State& state) {
        state = {house.state(), house.files()};
        for (keldb* table : {&house.table, &house.other}) {
            for (unsigned i = 0; i < table->get_num_records(); ++i) records_.insert(text_of((*table)[i]));
        }
    }

    std::string wrong(House& house, bool raised) const {
        const State now{house.state(), house.files()};
        const Kind kind = operation_.kind == run_wise ? (listened_ ? record_wise : whole) : operation_.kind;
        bool right = now.all == after_.all || (now.all == before_.all && (raised || kind == gives_up));
        if (kind == never_raises) right |= house.other.get_valid() == 0;
        if (kind == in_two_steps)  // the container, as it is afterwards, under its second name
            right |=
                after_.files.find("\nbox: " + testing_kit::file_bytes(house.dir.path("box.tmp"))) != std::string::npos;
        if (kind == value_wise) right |= now.files == before_.files;
        if (kind == record_wise && !right) {
            right = now.files == before_.files || now.files == after_.files;
            for (unsigned i = 0; i < house.table.get_num_records(); ++i)
                right &= records_.contains(text_of(house.table[i]));
        }
        if (right && now.all.find("BROKEN") == std::string::npos) return "";
        return now.all + "\nneither as before:\n" + before_.all + "\nnor as afterwards:\n" + after_.all;
    }

    // False when the operation got by without allocation number `at`.
    bool point(long at, bool for_good) {
        SCOPED_TRACE((listened_ ? "listened to: allocation " : "allocation ") + std::to_string(at) +
                     (for_good ? " and all after" : ""));
        const long baseline = testing_kit::live_blocks();
        bool struck = false, raised = false;
        {
            House house(listened_);
            operation_.prepare(house);
            AllocationFaults faults(at, for_good);
            try {
                operation_.run(house);
            } catch (const std::bad_alloc&) {
                raised = true;
            }
            faults.stop();
            struck = faults.struck();
            EXPECT_FALSE(raised && operation_.kind == never_raises);
            EXPECT_EQ(wrong(house, raised), "");
            if (raised && house.state() == before_.all) {
                operation_.run(house);
                EXPECT_EQ(house.state(), after_.all) << "done again";
            }
        }
        if (testing::Test::HasFailure()) return false;
        EXPECT_EQ(testing_kit::live_blocks(), baseline) << "blocks leaked";
        return struck;
    }

    const Operation& operation_;
    const bool listened_;
    State before_, after_;
    std::set<std::string> records_;  // each as it was before or as it is afterwards
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

TEST_P(AllocationSweepOf, EveryPoint) {
    setLogSink([](const char*, void*) {}, nullptr);
    std::printf("REL oom_points=%u\n", Sweep(GetParam(), false).run() + Sweep(GetParam(), true).run());
}

INSTANTIATE_TEST_SUITE_P(Operations, AllocationSweepOf, testing::ValuesIn(kOperations), [](const auto& tested) {
    std::string name = tested.param.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
});

}  // namespace
