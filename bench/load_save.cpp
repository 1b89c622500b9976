// Opening, saving, and reading and writing single values, beside rows of std::vector<std::string>, a CSV parser and
// SQLite in memory.
//
//     load                            the file into a table, again and again in one process; SQLite: the insert of rows
//                                     that were read before
//     load_in_a_new_process           the same once, in memory that nobody has touched before
//     bytes_a_value_after_load        what a new process takes more after the load than before, divided by all values
//     peak_bytes_a_value_in_load      the same for the most that it took on the way
//     save                            the whole save: lines formed, written, flushed to the disk, renamed
//     form_lines                      the record lines alone, in pieces of a few thousand
//     random_getField                 as many reads of one value as there are records, in random order; SQLite: a
//                                     prepared SELECT by rowid for each field
//     random_in_field_int             the same, read as a number
//     random_set_field_first          one value of each record written, in random order, right after a load
//     random_set_field_again          the same in records that were written to before; SQLite: a prepared UPDATE for
//                                     each field, all in one transaction
//
// "keldb record" in the obvious column of a read is the same read through a record pointer, without making a String.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/log_data.h"
#include "bench/peers.h"
#include "bench/rows.h"
#include "keldb/support/text_file.h"
#include "keldb/table/keldb.h"

namespace bench {
namespace {

constexpr int kAllRecords = 2000000000;
constexpr const char* kRowsOfStrings = "vector<vector<string>>";
constexpr const char* kGetline = "getline, vectors";
constexpr const char* kCsvParser = "CSV parser, vectors";
constexpr const char* kAppend = "appending";

std::unique_ptr<keldb> load(const std::string& path) {
    return std::make_unique<keldb>(WStringFromAscii(path.c_str()), kAllRecords, false);
}

// --- One load in a new process ---

struct Load {
    double seconds = 0;
    double bytes = 0;       // taken more after it than before
    double peak_bytes = 0;  // taken more at the highest than before
};

// A line of /proc/self/status, in bytes.
double memory(const char* name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(name)) return 1024.0 * std::atof(line.c_str() + std::strlen(name) + 1);
    }
    return 0;
}

template <class Work>
int report_load(Work work) {
    const double before = memory("VmRSS");
    const double took = seconds(work);
    std::printf("%.9g %.0f %.0f\n", took, memory("VmRSS") - before, memory("VmHWM") - before);
    return 0;
}

// What the program does when it is started as the new process.
int load_as_child(const std::string& by, const std::string& path) {
    if (by == kOurs) {
        std::unique_ptr<keldb> table;
        return report_load([&] { table = load(path); });
    }
    PlainRows rows;
    if (by == kGetline) return report_load([&] { rows = read_plainly(path); });
    rows = read_plainly(path);
    Database database;
    return report_load([&] { database.insert(rows); });
}

Load load_in_new_process(const std::string& by, unsigned records) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string clock = measures_processor_time() ? " --cpu" : "";
    const std::string command = program + " --load='" + by + "' '" + log_file(records) + "'" + clock;
    Load load;
    std::FILE* child = popen(command.c_str(), "r");
    const bool read = child && std::fscanf(child, "%lf %lf %lf", &load.seconds, &load.bytes, &load.peak_bytes) == 3;
    require(read && pclose(child) == 0, "the new process");
    return load;
}

void add_loads(unsigned records) {
    add_timing("load", kOurs, records, [=] {
        std::unique_ptr<keldb> table;
        return seconds([&] { table = load(log_file(records)); });
    });
    add_timing("load", kGetline, records, [=] {
        PlainRows rows;
        return seconds([&] { rows = read_plainly(log_file(records)); });
    });
    add_timing("load", kCsvParser, records, [=] {
        PlainRows rows;
        return seconds([&] { rows = read_with_csv_parser(log_file(records)); });
    });
    add_timing("load", kSqlite, records, [=] {
        const PlainRows rows = read_plainly(log_file(records));
        Database database;
        return seconds([&] { database.insert(rows); });
    });
    for (const char* by : {kOurs, kGetline, kSqlite}) {
        const double values = double{kFields} * records;
        add_timing("load_in_a_new_process", by, records, [=] { return load_in_new_process(by, records).seconds; });
        add_bytes("bytes_a_value_after_load", by, records,
                  [=] { return load_in_new_process(by, records).bytes / values; });
        add_bytes("peak_bytes_a_value_in_load", by, records,
                  [=] { return load_in_new_process(by, records).peak_bytes / values; });
    }
}

// --- What the other rows work on; kept from one to the next ---

std::unique_ptr<keldb>& our_table() {
    static std::unique_ptr<keldb> table;
    return table;
}

// As loaded: no record was written to since.
keldb& fresh_table(unsigned records) {
    our_table().reset();
    our_table() = load(log_file(records));
    return *our_table();
}

keldb& any_table(unsigned records) {
    if (!our_table() || our_table()->get_num_records() != records) fresh_table(records);
    return *our_table();
}

PlainRows& plain_rows(unsigned records) {
    static PlainRows rows;
    if (rows.size() != records) rows = read_plainly(log_file(records));
    return rows;
}

Database& database(unsigned records) {
    static std::unique_ptr<Database> database;
    static unsigned held = 0;
    if (held != records) database = std::make_unique<Database>(plain_rows(records));
    held = records;
    return *database;
}

// --- Saving ---

std::string saved_file(unsigned records) { return log_file(records) + ".saved"; }

// Loaded, and tagged as its Tag column says, so that saving changes no value.
keldb& tagged_table(unsigned records) {
    keldb& table = any_table(records);
    for (unsigned row = 0; row < records; ++row) table[row].set_tag(table[row].field_text(kTag) == "1");
    table.set_filename(WStringFromAscii(saved_file(records).c_str()));
    return table;
}

double timed_save(unsigned records) {
    keldb& table = tagged_table(records);
    int saved = 0;
    const double took = seconds([&] { saved = table.save_text(); });
    std::filesystem::remove(saved_file(records));
    require(saved == static_cast<int>(records), "saving");
    return took;
}

void add_saves(unsigned records) {
    constexpr unsigned kPiece = 4096;  // records whose lines are formed in one go
    add_timing("save", kOurs, records, [=] { return timed_save(records); });
    add_timing("save", kAppend, records, [=] {
        const PlainRows& rows = plain_rows(records);
        const double took = seconds([&] { save_plainly(rows, saved_file(records)); });
        std::filesystem::remove(saved_file(records));
        return took;
    });
    add_timing("form_lines", kOurs, records, [=] {
        const keldb& table = any_table(records);
        std::size_t bytes = 0;
        return seconds([&] {
            for (unsigned start = 0; start < records; start += kPiece) {
                TextFile piece;
                for (unsigned row = start; row < std::min(start + kPiece, records); ++row) table[row].write(piece);
                bytes += piece.bytes().size();
            }
            benchmark::DoNotOptimize(bytes);
        });
    });
    add_timing("form_lines", kAppend, records, [=] {
        const PlainRows& rows = plain_rows(records);
        std::size_t bytes = 0;
        return seconds([&] {
            std::string piece;
            for (unsigned start = 0; start < records; start += kPiece) {
                piece.clear();
                for (unsigned row = start; row < std::min(start + kPiece, records); ++row)
                    append_line(piece, rows[row]);
                bytes += piece.size();
            }
            benchmark::DoNotOptimize(bytes);
        });
    });
}

// --- Single values ---

struct Place {
    unsigned row;
    unsigned field;
    unsigned text;  // which of the texts to write
};

const std::vector<std::string>& texts_to_write() {
    static const std::vector<std::string> texts = {"12",
                                                   "take 5",
                                                   "Anna CU 24B-3",
                                                   "good",
                                                   "walks to the window, rain",
                                                   "",
                                                   "10:12:05:11",
                                                   "use end only, boom in shot at the start"};
    return texts;
}

// Each row once, in random order.
const std::vector<Place>& places(unsigned records) {
    static std::vector<Place> places;
    if (places.size() == records) return places;
    std::mt19937 random(7);
    std::vector<unsigned> rows(records);
    std::iota(rows.begin(), rows.end(), 0U);
    std::shuffle(rows.begin(), rows.end(), random);
    places.clear();
    for (const unsigned row : rows)
        places.push_back({row, static_cast<unsigned>(random() % kFields),
                          static_cast<unsigned>(random() % texts_to_write().size())});
    return places;
}

std::vector<Statement> statement_for_each_field(Database& database, const std::string& before,
                                                const std::string& after) {
    std::vector<Statement> statements;
    for (const char* name : kFieldNames) statements.push_back(database.prepare(before + '"' + name + '"' + after));
    return statements;
}

// `read` is given a place and returns a number that depends on what stands there.
template <class Read>
double timed_reads(unsigned records, Read read) {
    const std::vector<Place>& all = places(records);
    return seconds([&] {
        std::size_t sum = 0;
        for (const Place& place : all) sum += read(place);
        benchmark::DoNotOptimize(sum);
    });
}

void add_reads(unsigned records) {
    add_timing("random_getField", kOurs, records, [=] {
        keldb& table = any_table(records);
        return timed_reads(records, [&](const Place& p) { return table.getField(p.row, p.field).size(); });
    });
    add_timing("random_getField", kRowsOfStrings, records, [=] {
        const PlainRows& rows = plain_rows(records);
        return timed_reads(records, [&](const Place& p) { return std::string(rows[p.row][p.field]).size(); });
    });
    add_timing("random_getField", "keldb record", records, [=] {
        const keldb& table = any_table(records);
        return timed_reads(records,
                           [&](const Place& p) { return table.get_record(p.row)->field_text(p.field).size(); });
    });
    add_timing("random_getField", kSqlite, records, [=] {
        auto selects = statement_for_each_field(database(records), "SELECT ", " FROM clips WHERE rowid = ?");
        return timed_reads(records, [&](const Place& p) {
            selects[p.field].bind(1, p.row + 1LL);
            const std::size_t size = selects[p.field].step() ? std::string(selects[p.field].text(0)).size() : 0;
            selects[p.field].reset();
            return size;
        });
    });
    add_timing("random_in_field_int", kOurs, records, [=] {
        const keldb& table = any_table(records);
        return timed_reads(records, [&](const Place& p) {
            int number = 0;
            table.in_field(p.row, p.field, number);
            return static_cast<std::size_t>(number);
        });
    });
    add_timing("random_in_field_int", kRowsOfStrings, records, [=] {
        const PlainRows& rows = plain_rows(records);
        return timed_reads(
            records, [&](const Place& p) { return static_cast<std::size_t>(std::atoi(rows[p.row][p.field].c_str())); });
    });
}

double timed_writes(keldb& table, unsigned records) {
    const std::vector<Place>& all = places(records);
    const std::vector<std::string>& texts = texts_to_write();
    return seconds([&] {
        for (const Place& place : all) table.set_field(place.row, place.field, texts[place.text].c_str());
    });
}

double timed_plain_writes(PlainRows& rows, unsigned records) {
    const std::vector<Place>& all = places(records);
    const std::vector<std::string>& texts = texts_to_write();
    return seconds([&] {
        for (const Place& place : all) rows[place.row][place.field] = texts[place.text];
    });
}

void add_writes(unsigned records) {
    add_timing("random_set_field_first", kOurs, records, [=] { return timed_writes(fresh_table(records), records); });
    add_timing("random_set_field_first", kRowsOfStrings, records, [=] {
        PlainRows rows = read_plainly(log_file(records));
        return timed_plain_writes(rows, records);
    });
    add_timing("random_set_field_again", kOurs, records, [=] {
        keldb& table = fresh_table(records);
        for (unsigned row = 0; row < records; ++row)
            table.set_field(row, kNotes, row % 2 ? "checked" : "to be checked");
        return timed_writes(table, records);
    });
    add_timing("random_set_field_again", kRowsOfStrings, records, [=] {
        PlainRows rows = read_plainly(log_file(records));
        for (unsigned row = 0; row < records; ++row) rows[row][kNotes] = row % 2 ? "checked" : "to be checked";
        return timed_plain_writes(rows, records);
    });
    add_timing("random_set_field_again", kSqlite, records, [=] {
        Database& clips = database(records);
        auto updates = statement_for_each_field(clips, "UPDATE clips SET ", " = ? WHERE rowid = ?");
        const std::vector<Place>& all = places(records);
        clips.execute("BEGIN");
        const double took = seconds([&] {
            for (const Place& place : all) {
                updates[place.field].bind(1, texts_to_write()[place.text]);
                updates[place.field].bind(2, place.row + 1LL);
                updates[place.field].run();
            }
        });
        clips.execute("COMMIT");
        return took;
    });
}

void add_rows(unsigned records) {
    add_loads(records);
    add_saves(records);
    add_reads(records);
    add_writes(records);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    const std::string first = argc > 1 ? argv[1] : "";
    if (first.starts_with("--load=") && argc >= 3) {
        if (argc > 3) bench::measure_processor_time();
        return bench::load_as_child(first.substr(7), argv[2]);
    }
    return bench::run(argc, argv, bench::add_rows);
}
