// What the library is measured against: the log as a vector of vectors of strings with the plainest reader and writer,
// a CSV parser, and the log as a table of SQLite in memory.
#ifndef KELDB_BENCH_PEERS_H
#define KELDB_BENCH_PEERS_H

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

using PlainRows = std::vector<std::vector<std::string>>;

PlainRows read_plainly(const std::string& path);  // std::getline, then value after value
// Through Debian's CSV parser (libfccp), into the same vectors; an escaped line feed stays as it is written.
PlainRows read_with_csv_parser(const std::string& path);
void append_line(std::string& text, const std::vector<std::string>& row);
// Line after line into a temporary beside the path, which is flushed and renamed; then the folder is flushed.
void save_plainly(const PlainRows& rows, const std::string& path);

class Statement {
public:
    Statement(sqlite3* database, const std::string& sql);
    void bind(int place, std::string_view text);  // the text must live until the statement has run
    void bind(int place, long long number) { sqlite3_bind_int64(statement_.get(), place, number); }
    bool step();  // true when there is a row
    void reset() { sqlite3_reset(statement_.get()); }
    int run();  // steps to the end and resets; how many rows came
    long long number(int column) const { return sqlite3_column_int64(statement_.get(), column); }
    std::string_view text(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// A table "clips" in memory with the log's columns, all text; rowid k + 1 is row k.
class Database {
public:
    Database();
    explicit Database(const PlainRows& rows) : Database() { insert(rows); }
    void insert(const PlainRows& rows);  // in one transaction, through one prepared statement
    void execute(const std::string& sql);
    Statement prepare(const std::string& sql) { return {database_.get(), sql}; }

private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    std::unique_ptr<sqlite3, Close> database_;
};

}  // namespace bench

#endif
