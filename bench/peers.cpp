#include "bench/peers.h"

#include <fcntl.h>
#include <unistd.h>

#define CSV_IO_NO_THREAD
#include <libfccp/csv.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

#include "bench/log_data.h"
#include "bench/rows.h"

namespace bench {
namespace {

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> values;
    values.reserve(kFields);
    std::size_t at = 0;
    while (at < line.size() && line[at] == '"') {
        std::string value;
        for (++at; at < line.size(); ++at) {
            if (line[at] == '"') {
                if (at + 1 == line.size() || line[at + 1] != '"') break;
                ++at;
                value += '"';
            } else if (line[at] == '\\' && at + 1 < line.size() && line[at + 1] == 'n') {
                ++at;
                value += '\n';
            } else {
                value += line[at];
            }
        }
        values.push_back(std::move(value));
        at += 2;  // the quote and the comma
    }
    return values;
}

void flush(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY);
    require(file >= 0 && ::fsync(file) == 0, "fsync");
    ::close(file);
}

std::string columns(const char* before, const char* after) {
    std::string text;
    for (const char* name : kFieldNames)
        text.append(text.empty() ? "" : ", ").append(before).append(name).append(after);
    return text;
}

}  // namespace

PlainRows read_plainly(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    for (int i = 0; i < kHeaderLines; ++i) std::getline(file, line);
    PlainRows rows;
    while (std::getline(file, line)) rows.push_back(split(line));
    return rows;
}

PlainRows read_with_csv_parser(const std::string& path) {
    io::CSVReader<kFields, io::trim_chars<>, io::double_quote_escape<',', '"'>> reader(path);
    for (int i = 0; i < kHeaderLines; ++i) reader.next_line();
    std::array<char*, kFields> values{};
    PlainRows rows;
    const auto all = std::make_index_sequence<kFields>();
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        reader.set_header(kFieldNames[i]...);
        while (reader.read_row(values[i]...)) rows.emplace_back(values.begin(), values.end());
    }
    (all);
    return rows;
}

void append_line(std::string& text, const std::vector<std::string>& row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (i != 0) text += ',';
        text += '"';
        for (const char c : row[i]) {
            if (c == '"')
                text += "\"\"";
            else if (c == '\n')
                text += "\\n";
            else if (c != '\r')
                text += c;
        }
        text += '"';
    }
    text += '\n';
}

void save_plainly(const PlainRows& rows, const std::string& path) {
    const std::string temporary = path + ".new";
    std::ofstream file(temporary, std::ios::binary);
    std::string line;
    for (const auto& row : rows) {
        line.clear();
        append_line(line, row);
        file << line;
    }
    file.close();
    require(file.good(), "writing");
    flush(temporary);
    std::filesystem::rename(temporary, path);
    flush(std::filesystem::path(path).parent_path().string());
}

Statement::Statement(sqlite3* database, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        std::fprintf(stderr, "%s: %s\n", sql.c_str(), sqlite3_errmsg(database));
    statement_.reset(statement);
    require(statement != nullptr, "preparing a statement");
}

void Statement::bind(int place, std::string_view text) {
    sqlite3_bind_text(statement_.get(), place, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

bool Statement::step() {
    const int result = sqlite3_step(statement_.get());
    require(result == SQLITE_ROW || result == SQLITE_DONE, "a step of SQLite");
    return result == SQLITE_ROW;
}

int Statement::run() {
    int rows = 0;
    while (step()) ++rows;
    reset();
    return rows;
}

std::string_view Statement::text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

Database::Database() {
    sqlite3* database = nullptr;
    const int result = sqlite3_open(":memory:", &database);
    database_.reset(database);
    require(result == SQLITE_OK, "opening SQLite");
    execute("CREATE TABLE clips (" + columns("\"", "\" TEXT") + ")");
}

void Database::insert(const PlainRows& rows) {
    std::string places = "?";
    for (unsigned i = 1; i < kFields; ++i) places += ",?";
    Statement statement = prepare("INSERT INTO clips VALUES (" + places + ")");
    execute("BEGIN");
    for (const auto& row : rows) {
        for (unsigned i = 0; i < kFields; ++i) statement.bind(static_cast<int>(i) + 1, row[i]);
        statement.run();
    }
    execute("COMMIT");
}

void Database::execute(const std::string& sql) {
    char* message = nullptr;
    const int result = sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, &message);
    if (message) std::fprintf(stderr, "%s: %s\n", sql.c_str(), message);
    sqlite3_free(message);
    require(result == SQLITE_OK, "a statement of SQLite");
}

}  // namespace bench
