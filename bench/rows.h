// The table that the benchmarks print: each row is one piece of work on a log of so many records, done by the library
// ("keldb"), by one or several obvious versions, and by SQLite in memory.
//
// Every benchmark is named WORK/BY/RECORDS. A time is the median over runs, behind one run that only warms up; small
// logs run more often. What a run needs is made before its clock starts, and what it leaves is thrown away after the
// clock has stopped.
#ifndef KELDB_BENCH_ROWS_H
#define KELDB_BENCH_ROWS_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

inline constexpr const char* kOurs = "keldb";
inline constexpr const char* kSqlite = "SQLite";

// Seconds from some fixed moment: on the wall clock or, once told to, of this process's own processor time.
double now();
void measure_processor_time();
bool measures_processor_time();

template <class Work>
double seconds(Work&& work) {
    const double start = now();
    work();
    return now() - start;
}

// Ends the program with a message when something that a benchmark needs, or the work itself, failed.
void require(bool done, const char* what);

// Registers a way to do a work: `once` does it a single time and returns the seconds that count.
void add_timing(const std::string& work, const std::string& by, unsigned records, std::function<double()> once);
// The same for a work that is measured in bytes a value; runs once.
void add_bytes(const std::string& work, const std::string& by, unsigned records, std::function<double()> once);

// The whole of main: reads the options, registers the rows of each number of records, runs them, prints their lines.
//     --records=N[,N...]   how many records; 10000 when not given
//     --repetitions=N      how many runs count for the largest logs; 5 when not given
//     --cpu                measures processor time, for a machine that is busy with other work: waiting for the disk is
//                          not in it then
//     --data=FOLDER        where the log files are kept
//     --header             prints the head of the table first
// Options that begin with --benchmark_ go to Google Benchmark.
int run(int argc, char** argv, void (*add_rows)(unsigned records));

}  // namespace bench

#endif
