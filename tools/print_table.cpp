#include "print_table.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "display_text.h"
#include "keldb/support/ascii.h"
#include "progress.h"

namespace tool {
namespace {

constexpr std::string_view kGap = "  ";
constexpr std::size_t kLeastWidth = 12;  // of a column that is cut to fit: names and dates stay readable
constexpr const char* kBold = "\x1b[1m";
constexpr const char* kDim = "\x1b[2m";
constexpr const char* kPlain = "\x1b[0m";

enum class Align { left, right, decimal };

struct Column {
    unsigned field;
    std::string header;
    Align align = Align::left;
    std::size_t width = 0;
    std::size_t fraction = 0;  // of decimal columns: the longest part from the point on
};

// Digits with at most one point among them, a sign in front.
bool is_number(std::string_view text) {
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    const auto points = std::count(text.begin(), text.end(), '.');
    const auto digits = std::count_if(text.begin(), text.end(), kel::is_digit);
    return digits > 0 && points <= 1 && static_cast<std::size_t>(digits + points) == text.size();
}

std::size_t fraction_of(std::string_view number) {
    const std::size_t point = number.find('.');
    return point == std::string_view::npos ? 0 : number.size() - point;
}

bool holds_only_numbers(const Selection& records, unsigned field) {
    bool any = false;
    for (unsigned i = 0; i < records.size(); ++i) {
        const std::string_view value = records.record(i).field_text(field);
        if (value.empty()) continue;
        if (!is_number(value)) return false;
        any = true;
    }
    return any;
}

Align alignment(const Selection& records, unsigned field) {
    if (holds_only_numbers(records, field)) return Align::decimal;
    const DBFieldTypes::eType type = records.table().get_field_type(field);
    return type == DBFieldTypes::timecode || type == DBFieldTypes::timecode_s ? Align::right : Align::left;
}

void measure_decimals(const Selection& records, Column& column, Progress& progress) {
    std::size_t whole = 0;
    for (unsigned i = 0; i < records.size(); ++i) {
        const std::string_view value = records.record(i).field_text(column.field);
        const std::size_t fraction = fraction_of(value);
        whole = std::max(whole, value.size() - fraction);
        column.fraction = std::max(column.fraction, fraction);
        progress.step();
    }
    column.width = std::max(column.width, whole + column.fraction);
}

void measure_texts(const Selection& records, Column& column, Progress& progress) {
    for (unsigned i = 0; i < records.size(); ++i) {
        const std::string_view value = records.record(i).field_text(column.field);
        column.width = std::max(column.width, display_width(displayable(value)));
        progress.step();
    }
}

Column column_of(const Selection& records, unsigned field, Progress& progress) {
    Column column{field, displayable(records.table().get_fieldname(field)), alignment(records, field)};
    column.width = display_width(column.header);
    if (column.align == Align::decimal) {
        measure_decimals(records, column, progress);
    } else {
        measure_texts(records, column, progress);
    }
    return column;
}

std::vector<Column> measured_columns(const Selection& records, const std::vector<unsigned>& fields) {
    Progress progress("measuring columns", fields.size() * records.size());
    std::vector<Column> columns;
    for (const unsigned field : fields) columns.push_back(column_of(records, field, progress));
    return columns;
}

std::size_t total_width(const std::vector<Column>& columns) {
    std::size_t total = columns.empty() ? 0 : (columns.size() - 1) * kGap.size();
    for (const Column& column : columns) total += column.width;
    return total;
}

// Takes from the widest column of texts until the line fits or none can give more. Numbers and timecodes stay whole.
void fit(std::vector<Column>& columns, std::size_t width) {
    const auto spare = [](const Column& column) {
        return column.align == Align::left && column.width > kLeastWidth ? column.width : 0;
    };
    for (std::size_t total = total_width(columns); total > width; --total) {
        const auto widest = std::max_element(columns.begin(), columns.end(),
                                             [&](const Column& a, const Column& b) { return spare(a) < spare(b); });
        if (spare(*widest) == 0) return;
        --widest->width;
    }
}

void append_aligned(std::string& line, std::string_view text, const Column& column, std::size_t on_the_right) {
    const std::string shown = cut_to_width(text, column.width);
    const std::size_t room = column.width - std::min(column.width, display_width(shown));
    const std::size_t before = column.align == Align::left ? 0 : room - std::min(room, on_the_right);
    line.append(before, ' ').append(shown).append(room - before, ' ');
}

void drop_trailing_blanks(std::string& line, std::size_t start) {
    const std::size_t last = line.find_last_not_of(' ');
    line.resize(last == std::string::npos ? start : std::max(start, last + 1));
}

void print_header(const std::vector<Column>& columns, bool colour, Output& out) {
    std::string names, rules;
    for (const Column& column : columns) {
        const std::string_view gap = names.empty() ? "" : kGap;
        names += gap;
        rules += gap;
        append_aligned(names, column.header, column, 0);
        for (std::size_t i = 0; i < column.width; ++i) rules += "\u2500";
    }
    drop_trailing_blanks(names, 0);
    out.line() += colour ? kBold + names + kPlain : names;
    out.end_line();
    out.line() += colour ? kDim + rules + kPlain : rules;
    out.end_line();
}

void print_record(const dbrecord& record, const std::vector<Column>& columns, Output& out) {
    std::string& line = out.line();
    const std::size_t start = line.size();
    for (const Column& column : columns) {
        if (&column != columns.data()) line += kGap;
        const std::string_view value = record.field_text(column.field);
        const std::size_t behind = column.align == Align::decimal ? column.fraction - fraction_of(value) : 0;
        append_aligned(line, displayable(value), column, behind);
    }
    drop_trailing_blanks(line, start);
    out.end_line();
}

}  // namespace

void print_table(const Selection& records, const std::vector<unsigned>& fields, const TableStyle& style, Output& out) {
    std::vector<Column> columns = measured_columns(records, fields);
    if (style.width != 0) fit(columns, style.width);
    print_header(columns, style.colour, out);
    for (unsigned i = 0; i < records.size(); ++i) print_record(records.record(i), columns, out);
}

}  // namespace tool
