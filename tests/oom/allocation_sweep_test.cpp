// Memory that runs out, at every allocation of every operation: once, and from there on for good. Only std::bad_alloc
// may come out; every object keeps its invariants; what is there afterwards is what was there before, or what the
// operation leaves undisturbed, announcements and files included (but see Kind); the operation can then be done; and
// nothing leaks.
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
struct Ear {
    Ear() { heard.reserve(1000); }
    void listen(Notifier& announcer) {
        using Callback = MethodCallback<Ear, NotifyMsg, int>;
        for (const int type : {kel::records_deleted_type(), kel::records_changed_type()})
            announcer.registerNotification(Qv::Ptr<NotifyCallback>(new Callback(this, &Ear::hear)), type);
    }
    int hear(const NotifyMsg& message) {
        heard.append(message.payload() ? "!ids" : "!").append(message.text().view());
        return 0;
    }
    std::string heard;
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
        std::string text = whole_text_of(table) + '\n' + whole_text_of(other) + '\n' + ear.heard + '\n';
        for (const ODBView& each : {root, stacked, over, view}) text += each ? whole_text_of(*each) + '\n' : "null\n";
        if (made) text += whole_text_of(*made) + '\n';
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

void show_tags_only(H h) { h.table.set_show_tags_only(1); }
void open_update(H h) { h.table.beginUpdate(), h.table.addToUpdate(long_id()); }
void load_rows(H h) { h.table.set_filename(wide(h.dir.path("rows"))), h.table.load_text(100); }
void copy_with_table(H h) { h.made.reset(h.root.copyWithNewBaseView()->odb()); }
void show_identifiers(H h) {
    CookieVec ids;
    for (int i = 0; i < 30; ++i) ids.add(Cookie(i % 2 ? "M2" : "M5", false));
    h.root->displayRecordsAt(ids, 1);
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
    {"set_field_text", whole, [](H h) { h.table.set_field(0, 1, kLongText); }},
    {"set_field_id", whole, [](H h) { h.table.set_field(3, long_id()); }},
    {"setField", whole, [](H h) { h.table.setField(3, 0, kLongText); }},
    {"getField", whole, [](H h) { h.result = h.table.getField(0, 0).c_str(); }},
    {"set_fieldname", whole, [](H h) { h.table.set_fieldname(0, "a & name of many bytes"); }},
    {"addField", whole,
     [](H h) {
         h.table.addField(DBFieldDesc{"a field of many bytes", DBFieldTypes::date});
     }},
    {"removeField", whole, [](H h) { h.table.removeField("start time"); }},
    {"add_param", whole, [](H h) { h.table.add_param("a name of many bytes", "and a value as long as that"); }},
    {"sort", whole, [](H h) { h.table.sort(1, 0); }},
    {"set_show_tags_only", whole, show_tags_only},
    {"set_query", whole, [](H h) { h.table.set_query(h.table.get_record(4)); }},
    {"tag_matching_records", whole, [](H h) { h.table.tag_matching_records(0); }},
    {"tag_all_different", whole, [](H h) { h.table.tag_all_different(1); }},
    {"findFirst", whole, [](H h) { h.result = std::to_string(h.table.findFirst("cookie", "M6", 0)); }},
    {"copy", whole, [](H h) { h.made = std::make_unique<keldb>(h.table); }},
    {"assignment", whole, [](H h) { h.other = h.table; }, show_tags_only},
    {"assignment_to_it", whole, [](H h) { h.table = h.other; }},
    {"add_keldb", whole, [](H h) { h.table.add_keldb(&h.table); }},
    {"merge_all_matching", record_wise, [](H h) { h.table.merge_all_matching(&h.other); }},
    {"addToUpdate", whole, [](H h) { h.table.addToUpdate(long_id()); }},
    {"endUpdate", whole, [](H h) { h.table.endUpdate(); }, open_update},
    {"update", whole, [](H h) { h.result = h.table.update(&h.block, 0) ? "done" : "not done"; }},
    {"save_text", record_wise, [](H h) { h.result = std::to_string(h.table.save_text()); }},
    {"loadFromFile", never_raises, [](H h) { h.other.loadFromFile(100, false); }},
    {"load_text", record_wise, load_rows},
    {"a_view", whole, [](H h) { h.view = ODBView(&h.table); }},
    {"fieldSpec", whole, [](H h) { h.root->fieldSpec("(Cookie \"Start time\" Name)"); }},
    {"displayRecordsAt", whole, [](H h) { h.over->displayRecordsAt(0, 60, 1); }},
    {"displayRecordsAt_of_ids", whole, show_identifiers},
    {"setupViewTags", whole, [](H h) { h.root->setupViewTagsFromKeldbTagField(); }},
    {"removeTagged", run_wise, [](H h) { h.root->removeTagged(); }},
    {"removeNonTagged_above", run_wise, [](H h) { h.over->removeNonTagged(); }},
    {"deleteRecords", run_wise, [](H h) { h.root->deleteRecords(0, 3); }},
    {"deleteTagged_above", run_wise, [](H h) { h.stacked->deleteTagged(); }},
    {"insertBlankRecords", whole, [](H h) { h.over->insertBlankRecords(1, 30); }},
    {"sort_a_view", whole, [](H h) { h.root->sort(1, 0); }},
    {"tagDuplicates", whole, [](H h) { h.root->tagDuplicates(0); }},
    {"a_subview", whole, [](H h) { h.view = ODBView(h.root->newTagSubview()); }},
    {"copy_of_a_view", whole, [](H h) { h.view = h.over.copy(); }},
    {"copy_with_its_table", whole, copy_with_table},
    {"conversion", whole, [](H h) { h.made.reset(Convert_ODBView_to_keldb(h.over)); }},
    {"odb", whole, [](H h) { h.over->odb(&h.other); }},
    {"save_a_view", whole, [](H h) { h.result = std::to_string(h.root->save_text()); }},
    {"a_field_map", whole, [](H h) { h.map = FieldMap(h.root); }},
    {"append_to_a_map", whole, [](H h) { h.map.append("a name of many bytes", true); }},
    {"a_container", in_two_steps, write_container},
    {"read_a_container", gives_up, read_container},
};

struct State {
    explicit State(House& house) : all(house.state()), files(house.files()) {
        for (keldb* table : {&house.table, &house.other}) {
            for (unsigned i = 0; i < table->get_num_records(); ++i) records.insert(text_of((*table)[i]));
        }
    }
    std::string all, files;
    std::set<std::string> records;
};

bool may_end_as(House& house, bool raised, Kind kind, const State& before, const State& after) {
    const State now(house);
    if (now.all.find("BROKEN") != std::string::npos) return false;
    if (now.all == after.all || (now.all == before.all && (raised || kind == gives_up))) return true;
    if (kind == never_raises) return house.other.get_valid() == 0;
    if (kind == in_two_steps)  // the container, as it is afterwards, under its second name
        return after.files.find("\nbox: " + testing_kit::file_bytes(house.dir.path("box.tmp"))) != std::string::npos;
    const auto known = [&](const auto& record) {
        return before.records.contains(record) || after.records.contains(record);
    };
    return kind == record_wise && (now.files == before.files || now.files == after.files) &&
           std::all_of(now.records.begin(), now.records.end(), known);
}

// The operation undisturbed, and then disturbed at every point. How many there were.
unsigned sweep(const Operation& operation, bool listened) {
    const Kind kind = operation.kind == run_wise ? (listened ? record_wise : whole) : operation.kind;
    House calm(listened);
    operation.prepare(calm);
    const State before(calm);
    operation.run(calm);
    const State after(calm);
    unsigned points = 0;
    for (const bool for_good : {false, true}) {
        bool struck = true;
        for (long at = 0; struck && !testing::Test::HasFailure(); at += 1 + (at > 40 ? at / 8 : 0)) {
            SCOPED_TRACE(std::to_string(at) + (listened ? " listened to" : "") + (for_good ? " and all after" : ""));
            const long baseline = testing_kit::live_blocks();
            {
                House house(listened);
                operation.prepare(house);
                bool raised = false;
                AllocationFaults faults(at, for_good);
                try {
                    operation.run(house);
                } catch (const std::bad_alloc&) {
                    raised = true;
                }
                faults.stop();
                struck = faults.struck();
                EXPECT_FALSE(raised && kind == never_raises);
                EXPECT_TRUE(may_end_as(house, raised, kind, before, after)) << house.state() << "\nneither as before:\n"
                                                                            << before.all << "\nnor as afterwards:\n"
                                                                            << after.all;
                if (raised && house.state() == before.all) {
                    operation.run(house);
                    EXPECT_EQ(house.state(), after.all) << "done again";
                }
            }
            EXPECT_EQ(testing_kit::live_blocks(), baseline) << "blocks leaked";
            points += struck ? 1 : 0;
        }
    }
    EXPECT_GT(points, 0U) << "nothing was allocated";
    return points;
}

class AllocationSweepOf : public testing::TestWithParam<Operation> {};

TEST_P(AllocationSweepOf, EveryPoint) {
    setLogSink([](const char*, void*) {}, nullptr);
    std::printf("REL oom_points=%u\n", sweep(GetParam(), false) + sweep(GetParam(), true));
}

INSTANTIATE_TEST_SUITE_P(Operations, AllocationSweepOf, testing::ValuesIn(kOperations),
                         testing::PrintToStringParamName());

}  // namespace
