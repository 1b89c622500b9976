#include "bench/rows.h"

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "bench/log_data.h"

namespace bench {
namespace {

constexpr unsigned kMostRuns = 10;           // how many times as many runs a small log gets
constexpr unsigned kRecordsInRuns = 100000;  // in all of these together
constexpr const char* kBytes = "bytes";

unsigned repetitions = 5;
clockid_t measured_clock = CLOCK_MONOTONIC;

std::string name_of(const std::string& work, const std::string& by, unsigned records) {
    return work + '/' + by + '/' + std::to_string(records);
}

std::string with_unit(double seconds) {
    const char* unit = "s";
    if (seconds < 1e-3)
        seconds *= 1e6, unit = "us";
    else if (seconds < 1)
        seconds *= 1e3, unit = "ms";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s", seconds < 10 ? 2 : seconds < 100 ? 1 : 0, seconds, unit);
    return text;
}

struct Measured {
    std::string by;
    double value = 0;
};

struct Row {
    std::string work;
    unsigned records = 0;
    bool in_bytes = false;
    std::optional<double> ours, sqlite;
    std::vector<Measured> obvious;

    std::string text(double value) const {
        char bytes[32];
        std::snprintf(bytes, sizeof bytes, "%.1f B", value);
        return in_bytes ? bytes : with_unit(value);
    }
    std::string text(const std::optional<double>& value) const { return value ? text(*value) : std::string(); }
    std::string ratio(const std::optional<double>& other) const {
        if (!ours || !other || *ours <= 0) return {};
        char times[32];
        std::snprintf(times, sizeof times, "%.2f", *other / *ours);
        return times;
    }
};

void print_cells(std::string work, const std::string& records, const std::string& ours, const std::string& obvious,
                 const std::string& ratio, const std::string& sqlite, const std::string& sqlite_ratio) {
    std::replace(work.begin(), work.end(), '_', ' ');
    std::printf("| %-42s | %8s | %8s | %-32s | %6s | %8s | %6s |\n", work.c_str(), records.c_str(), ours.c_str(),
                obvious.c_str(), ratio.c_str(), sqlite.c_str(), sqlite_ratio.c_str());
}

void print_header() {
    print_cells("Work", "Records", "keldb", "Obvious version", "times", "SQLite", "times");
    std::puts("|:---|---:|---:|:---|---:|---:|---:|");
}

// Collects the medians and prints the rows at the end.
class Table : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        const std::string name = runs.front().run_name.function_name;
        std::vector<double> values;
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
            if (run.repetitions > 1 && run.repetition_index == 0) continue;
            const auto bytes = run.counters.find(kBytes);
            values.push_back(bytes != run.counters.end()
                                 ? bytes->second.value
                                 : run.real_accumulated_time / static_cast<double>(run.iterations));
        }
        if (values.empty()) return;
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        enter(name, *middle, runs.front().counters.count(kBytes) != 0);
        const auto [least, most] = std::minmax_element(values.begin(), values.end());
        std::fprintf(stderr, "%s: %g (%g to %g)\n", name.c_str(), *middle, *least, *most);
    }

    void Finalize() override {
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            const std::string& work = rows_[i].work;
            const auto first =
                std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) { return row.work == work; });
            if (&*first != &rows_[i]) continue;  // printed with the first row of its work
            for (const Row& row : rows_) {
                if (row.work == work) print(row);
            }
        }
    }

private:
    void enter(const std::string& name, double value, bool in_bytes) {
        const std::size_t first = name.find('/'), last = name.rfind('/');
        const std::string work = name.substr(0, first), by = name.substr(first + 1, last - first - 1);
        const auto records = static_cast<unsigned>(std::strtoul(name.c_str() + last + 1, nullptr, 10));
        auto row = std::find_if(rows_.begin(), rows_.end(),
                                [&](const Row& known) { return known.work == work && known.records == records; });
        if (row == rows_.end()) row = rows_.insert(row, {work, records, in_bytes, {}, {}, {}});
        if (by == kOurs)
            row->ours = value;
        else if (by == kSqlite)
            row->sqlite = value;
        else
            row->obvious.push_back({by, value});
    }

    static void print(const Row& row) {
        std::vector<Measured> obvious = row.obvious;
        if (obvious.empty()) obvious.emplace_back();
        for (std::size_t i = 0; i < obvious.size(); ++i) {
            const bool none = row.obvious.empty(), first = i == 0;
            print_cells(row.work, std::to_string(row.records), row.text(row.ours),
                        none ? "" : obvious[i].by + ' ' + row.text(obvious[i].value),
                        none ? "" : row.ratio(obvious[i].value), first ? row.text(row.sqlite) : "",
                        first ? row.ratio(row.sqlite) : "");
        }
    }

    std::vector<Row> rows_;
};

std::vector<unsigned> numbers(std::string_view list) {
    std::vector<unsigned> found;
    while (!list.empty()) {
        const std::string one(list.substr(0, list.find(',')));
        found.push_back(static_cast<unsigned>(std::strtoul(one.c_str(), nullptr, 10)));
        list.remove_prefix(std::min(list.size(), one.size() + 1));
    }
    return found;
}

// The value of an option written NAME=VALUE.
std::optional<std::string_view> option(std::string_view argument, std::string_view name) {
    if (!argument.starts_with(name)) return {};
    return argument.substr(name.size());
}

}  // namespace

double now() {
    timespec time{};
    clock_gettime(measured_clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

void measure_processor_time() { measured_clock = CLOCK_PROCESS_CPUTIME_ID; }

bool measures_processor_time() { return measured_clock == CLOCK_PROCESS_CPUTIME_ID; }

void require(bool done, const char* what) {
    if (done) return;
    std::fprintf(stderr, "benchmark: %s failed\n", what);
    std::exit(2);
}

void add_timing(const std::string& work, const std::string& by, unsigned records, std::function<double()> once) {
    const unsigned runs = std::clamp(kRecordsInRuns / std::max(records, 1U), 1U, kMostRuns);
    benchmark::RegisterBenchmark(name_of(work, by, records).c_str(),
                                 [once = std::move(once)](benchmark::State& state) {
                                     for (auto _ : state) state.SetIterationTime(once());
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(static_cast<int>(1 + runs * repetitions));
}

void add_bytes(const std::string& work, const std::string& by, unsigned records, std::function<double()> once) {
    benchmark::RegisterBenchmark(name_of(work, by, records).c_str(),
                                 [once = std::move(once)](benchmark::State& state) {
                                     for (auto _ : state) state.counters[kBytes] = once();
                                 })
        ->Iterations(1)
        ->Repetitions(1);
}

int run(int argc, char** argv, void (*add_rows)(unsigned records)) {
    std::vector<unsigned> records = {10000};
    bool header = false;
    std::vector<char*> others = {argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (const auto list = option(argv[i], "--records="))
            records = numbers(*list);
        else if (const auto count = option(argv[i], "--repetitions="))
            repetitions = numbers(*count).at(0);
        else if (const auto folder = option(argv[i], "--data="))
            keep_log_files_in(std::string(*folder));
        else if (std::string_view(argv[i]) == "--cpu")
            measure_processor_time();
        else if (std::string_view(argv[i]) == "--header")
            header = true;
        else
            others.push_back(argv[i]);
    }
    int other_count = static_cast<int>(others.size());
    others.push_back(nullptr);
    benchmark::Initialize(&other_count, others.data());
    if (benchmark::ReportUnrecognizedArguments(other_count, others.data())) return 2;
    if (header) print_header();
    for (const unsigned count : records) add_rows(count);
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
    return 0;
}

}  // namespace bench
