// Loading a file into a table, from its name to its last line, and reporting what was met.

#include <utility>

#include "keldb/support/ascii.h"
#include "keldb/support/conversions.h"
#include "keldb/textfile/line_splitter.h"
#include "keldb/textfile/table_reader.h"

keldb::keldb(WString fileName, int maxRecords, bool flag) : file_name_(std::move(fileName)) {
    loadFromFile(maxRecords, flag);
}

namespace {

// Into the room that the report was made with. It has none when the findings were moved elsewhere and there is no
// memory for others.
void tell_memory_ran_out(LoadReport& report) noexcept {
    report.end = LoadReport::End::out_of_memory;
    report.findings.clear();
    if (report.findings.capacity() != 0) report.findings.push_back({.kind = LoadFinding::Kind::out_of_memory});
}

}  // namespace

void keldb::loadFromFile(int maxRecords, bool /*flag*/, LoadReport* report) {
    if (report) report->clear();
    try {
        if (report) report->findings.reserve(1);
        free();
        TextFile file;
        // A report looks behind the line that ended the load, so it wants all lines at hand.
        const bool opened = report ? file.load(file_name_, '\n', false) : file.loadLineByLine(file_name_);
        if (opened) kel::TableReader(*this, file, report).load(file_name_.endsWith(L".csv"), maxRecords);
        if (file.readFailed()) free();  // as if it could not have been opened
        if (!opened && report) report->findings.push_back({.kind = LoadFinding::Kind::unreadable});
    } catch (...) {
        valid_ = 0;
        if (report) tell_memory_ran_out(*report);
    }
}

namespace kel {

void TableReader::load(bool comma_separated, int most) {
    if (report_) report_->lines = file_.numLines();
    const End end = comma_separated ? import_csv() : load_table(most);
    if (!report_) return;
    report_->lines_read = file_.lineNumber();
    report_->end = with_unread_lines(end);
}

TableReader::End TableReader::load_table(int most) {
    read_parameters();
    if (table_.params_.size() == 0) {
        found({.kind = Kind::no_parameters});
        return End::not_a_table;
    }
    if (!equal_ignoring_case(value(0), kRevisionName)) {
        found({.kind = Kind::no_marker});
        return End::not_a_table;
    }
    if (!read_header()) return End::not_a_table;
    table_.valid_ = 1;
    table_.post_init();
    if (report_) report_->first_record_line = file_.lineNumber() + 1;
    int records = 0;
    const End end = read_records(most, records);
    if (report_ && records == 0) report_->first_record_line = 0;
    return end;
}

bool TableReader::next_line() {
    const std::string_view line = file_.nextLine();
    if (isEssentiallyEmpty(line)) {
        values_.start(0);
        return false;
    }
    const bool odd = split_line(line, values_);
    if (odd && report_) found_odd(line);
    return true;
}

void TableReader::found(LoadFinding finding) {
    if (!report_) return;
    if (finding.line == 0) finding.line = file_.lineNumber();
    report_->findings.push_back(std::move(finding));
}

// The line is split once more, now with a list of what is odd about it.
void TableReader::found_odd(std::string_view line) {
    constexpr Kind kKinds[kLineOddities] = {Kind::value_cut,  Kind::blanks_dropped,   Kind::stray_quote,
                                            Kind::open_quote, Kind::controls_dropped, Kind::too_many_values};
    LineOddities odd;
    split_line(line, values_, &odd);
    for (std::size_t i = 0; i < kLineOddities; ++i) {
        const LineOddities::Met& met = odd.met[i];
        if (met.count != 0) found({.kind = kKinds[i], .column = static_cast<int>(met.first), .count = met.count});
    }
}

// What stands behind the line that ended the reading. Lines without visible characters at the very end do not count.
TableReader::End TableReader::with_unread_lines(End end) {
    if (end == End::not_a_table || end == End::file_end) return end;
    const std::size_t ended = file_.lineNumber();
    std::size_t first = 0, last = 0;  // 1-based, with visible characters
    while (!file_.atEnd()) {
        if (isEssentiallyEmpty(file_.nextLine())) continue;
        last = file_.lineNumber();
        if (first == 0) first = last;
    }
    if (first == 0 && end != End::bad_record) {
        report_->lines_read = file_.lineNumber();
        return End::file_end;
    }
    if (end == End::blank_line) found({.kind = Kind::blank_line, .line = ended});
    if (first != 0 && end != End::enough) found({.kind = Kind::not_read, .line = first, .count = last - first + 1});
    return end;
}

}  // namespace kel
