// Memory that runs out, at every allocation of what tests/model does not do: once, and from there on for good. Only
// std::bad_alloc may come out; every object keeps its invariants; what is there afterwards, files included, is what was
// there before, or what the operation leaves undisturbed (but see Kind); the operation can then be done; nothing leaks.
#include "keldb/container/qv_container_file.h"
#include "keldb/fieldmap/field_map.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/kit.h"

namespace {

Cookie long_id() { return Cookie("Midentifier of many bytes", false); }

struct State {
    std::string all, files;
    std::set<std::string> records;
};

// A table with a view, another table with a file, and what operations make.
struct House {
    TempDir dir;
    keldb table = table_of(
        "Name:a Start~time:t Cookie:a Tag:a | a name beyond fifteen bytes,10:00:00:05,M1, | *take 2,10:00:00;05,M2,1 |"
        " ,,, | *another name that is not short,09:00:00:00,M5, | take 2,,M6,0");
    keldb other = table_of("Cookie:a Start~time:T Notes:a | M7,10000005,a note beyond fifteen bytes | *M8,10000006,n");
    ODBView root{&table, "(Name \"Start time\")"}, view;
    std::unique_ptr<keldb> made;
    FieldMap map;
    DBFieldDesc fields[3] = {{"Cookie", DBFieldTypes::text}, {"Notes", DBFieldTypes::text}, {}};
    QVContainerFile::Writer writer{fields};
    configb block;
    LoadReport report;
    std::string result;

    House() {
        write_file(dir.path("saved"),
                   "\"KELDB:Rev 1\"\n\"Owner:me\"\n\"KELDB\"\n\"32\",\"12\"\n\"text\",\"zzz\"\n\"Name\",\"Coo&kie\"\n"
                   "\"a name beyond fifteen bytes\",\"M1\"\n\" b\",\"M2\"\n");
        write_file(dir.path("rows.csv"),
                   "Name,a field of many bytes\n\"a name beyond fifteen bytes\",\"M8\",\"\"\n,,,\n");
        for (const char* const name : {"table", "view"}) write_file(dir.path(name), "what stood here\n");
        table.add_param("Owner", "somebody with a long name");
        table.set_filename(path("table"));
        other.set_filename(path("saved"));
        show(**root, "0 1* 9* 2 4*");
        root->fileName(path("view"));
        table.clear_changed();
    }
    WString path(const char* name) const { return wide(dir.path(name)); }

    State state() {
        State now;
        writer.save(path("box"));
        for (const std::string& name : names_in(dir.path())) now.files += name + ": " + file_bytes(dir.path(name));
        now.all = described(table) + described(other) + (made ? described(*made) : "") + result + '\n';
        for (const ODBView& each : {root, view}) now.all += each ? described(**each) : "null\n";
        now.all += map.asString().c_str() + ('\n' + now.files) + std::to_string(open_descriptors());
        for (keldb* each : {&table, &other}) {
            for (unsigned i = 0; i < each->get_num_records(); ++i) {
                now.all += (*each)[i].get_changed() ? 'c' : '-';
                now.records.insert(text_of((*each)[i]));
            }
        }
        return now;
    }
};
using H = House&;

enum Kind {
    whole,         // all or nothing
    record_wise,   // may stop between two records: of those that it appends, or whose Tag field it writes for the file
    never_raises,  // nothing escapes; the table is not valid then, and the report says so
    gives_up,      // may do nothing without raising: what it reads is not valid then
};

void load(H h) {
    h.other.loadFromFile(100, false, &h.report);
    h.result = std::to_string(h.report.findings.size());
    if (h.report.end == LoadReport::End::out_of_memory && h.result == "1") h.result = "no memory";
}

void read_container(H h) {
    const QVContainerFile::Reader reader(h.path("saved"), false);
    if (reader.valid()) h.result = reader.getItem(reader.getNumItems() - 1).getCookie().text().c_str();
}

struct Operation {
    const char* name;
    void (*run)(House& h);
    Kind kind = whole;
    void (*prepare)(House& h) = [](House&) {};
};

// clang-format off
const Operation kOperations[] = {
    {"getField", [](H h) { h.result = h.table.getField(0, 0).c_str(); }},
    {"add_param", [](H h) { h.table.add_param("a name of many bytes", "and a value as long as that"); }},
    {"add_records", [](H h) { h.table.add_records(9); }, whole, [](H h) { h.table.add_records(490); }},
    {"insert_records", [](H h) { h.table.insert_records(1, 9); }, whole, [](H h) { h.table.add_records(490); }},
    {"copy", [](H h) { h.made = std::make_unique<keldb>(h.table); }},
    {"assignment", [](H h) { h.table = h.other; }},
    {"merge_all_matching", [](H h) { h.table.merge_all_matching(&h.other); }, record_wise},
    {"addToUpdate", [](H h) { h.table.addToUpdate(long_id()); }},
    {"endUpdate", [](H h) { h.table.endUpdate(); }, whole,
     [](H h) { h.table.beginUpdate(), h.table.addToUpdate(long_id()); }},
    {"update", [](H h) { h.result = h.table.update(&h.block, 0) ? "done" : "not done"; }},
    {"save_text", [](H h) { h.result = std::to_string(h.table.save_text()); }, record_wise},
    {"loadFromFile", load, never_raises},
    {"import", load, never_raises, [](H h) { h.other.set_filename(h.path("rows.csv")); }},
    {"load_text", [](H h) { h.table.set_filename(h.path("rows.csv")), h.table.load_text(100); }, record_wise},
    {"addParamsFrom", [](H h) { h.root->addParamsFrom(&h.other); }, whole,
     [](H h) { h.other.add_param("Owner", "another long name"), h.other.add_param("what the view has not", "x"); }},
    {"fieldSpec", [](H h) { h.root->fieldSpec("(Cookie \"Start time\" Name)"); }},
    {"insertBlankRecords in much room", [](H h) { h.root->insertBlankRecords(1, 2); }, whole,
     [](H h) { h.root->displayRecordsAt(0, 500, 0), h.root->remove(0, 500); }},
    {"copy with its table", [](H h) { h.made.reset(h.root.copyWithNewBaseView()->odb()); }},
    {"conversion", [](H h) { h.made.reset(Convert_ODBView_to_keldb(h.root)); }},
    {"save of a view", [](H h) { h.result = std::to_string(h.root->save_text()); }},
    {"a field map", [](H h) { h.map = FieldMap(h.root); }},
    {"setSourceDb", [](H h) { h.map.setSourceDb(h.root); }, whole, [](H h) { h.root->add_param("V5_FIELD_MAP", "3 1"); }},
    {"append to a map", [](H h) { h.map.append("a name of many bytes", true); }},
    {"addItem", [](H h) { h.writer.addItem(long_id()); }},
    {"setName", [](H h) { h.writer.setName("the name of a container"); }},
    {"save of a container", [](H h) { h.writer.save(h.path("kept")); }},
    {"reading a container", read_container, gives_up},
};
// clang-format on

bool may_end_as(House& house, const State& now, bool raised, Kind kind, const State& before, const State& after) {
    if (now.all.find("BROKEN") != std::string::npos || (raised && kind == never_raises)) return false;
    if (now.all == after.all || (now.all == before.all && (raised || kind == gives_up))) return true;
    if (kind == never_raises) return house.other.get_valid() == 0 && house.result == "no memory";
    const auto known = [&](const auto& record) {
        return before.records.contains(record) || after.records.contains(record);
    };
    return kind == record_wise && (now.files == before.files || now.files == after.files) &&
           std::all_of(now.records.begin(), now.records.end(), known);
}

std::unique_ptr<House> prepared(const Operation& operation) {
    auto house = std::make_unique<House>();
    operation.prepare(*house);
    return house;
}

// What is wrong once the operation was disturbed there; "" when nothing is.
std::string fault_at(long at, bool and_after, const Operation& operation, const State& before, const State& after,
                     bool& struck) {
    const std::unique_ptr<House> house = prepared(operation);
    AllocationFaults faults(at, and_after);
    bool raised = false;
    try {
        operation.run(*house);
    } catch (const std::bad_alloc&) {
        raised = true;
    }
    faults.stop();
    struck = faults.struck();
    const State now = house->state();
    if (!may_end_as(*house, now, raised, operation.kind, before, after))
        return now.all + "\nis neither as before:\n" + before.all + "\nnor as afterwards:\n" + after.all;
    if (!raised || now.all != before.all) return "";
    operation.run(*house);
    return house->state().all == after.all ? "" : "done again, it is not as afterwards";
}

// The operation undisturbed, and then disturbed at every point. How many there were.
int sweep(const Operation& operation) {
    std::unique_ptr<House> house = prepared(operation);
    const State before = house->state();
    operation.run(*house);
    const State after = house->state();
    house.reset();
    int points = 0;
    for (const bool and_after : {false, true}) {
        bool struck = true;
        for (long at = 0; struck; ++at, points += struck) {
            const long blocks = live_blocks();
            EXPECT_EQ(fault_at(at, and_after, operation, before, after, struck), "") << operation.name << ' ' << at;
            EXPECT_EQ(live_blocks(), blocks) << operation.name << ' ' << at;
        }
    }
    EXPECT_GT(points, 0) << operation.name << " took no memory: nothing was tried";
    return points;
}

TEST(AllocationSweepOf, EveryPoint) {
    setLogSink([](const char*, void*) {}, nullptr);
    int points = 0;
    for (const Operation& operation : kOperations) points += sweep(operation);
    std::printf("REL oom_points=%d\n", points);
}

}  // namespace
