// Importing a comma-separated file: the first line names the fields, every further line is a record.

#include <algorithm>
#include <limits>
#include <new>

#include "keldb/textfile/csv_splitter.h"
#include "keldb/textfile/line_splitter.h"
#include "keldb/textfile/table_reader.h"

namespace kel {

TableReader::End TableReader::import_csv() {
    if (!file_.atEnd()) {
        next_csv_line();
        make_csv_fields();
        table_.post_init();
        if (report_ && !file_.atEnd()) report_->first_record_line = 2;
        while (!file_.atEnd()) {
            next_csv_line();
            append_csv_record();
        }
    }
    table_.valid_ = 1;
    return End::file_end;
}

void TableReader::next_csv_line() {
    const std::string_view line = file_.nextLine();
    // Packed values are counted in 32 bits.
    if (line.size() > std::numeric_limits<std::uint32_t>::max() / 2) throw std::bad_alloc();
    const bool open = split_csv_line(line, pieces_);
    if (report_) found_odd_pieces(line, open);
}

void TableReader::make_csv_fields() {
    table_.layout_.reset(static_cast<unsigned>(std::min(pieces_.size(), kMostValues)));
    for (unsigned i = 0; i < table_.layout_.size(); ++i) {
        table_.layout_.rename(i, String(pieces_[i]));
        table_.layout_.set_type(i, DBFieldTypes::text_s);
    }
}

// A field that gets a value counts as written; the empty ones do not.
void TableReader::append_csv_record() {
    const std::size_t pieces = std::min<std::size_t>(pieces_.size(), table_.layout_.size());
    bool written = false;
    values_.start(0);
    for (std::size_t i = 0; i < pieces; ++i) {
        values_.append(pieces_[i]);
        written |= !pieces_[i].empty();
    }
    appending_ = written;
    if (written) table_.changed_ = 1;
    append_record();
}

void TableReader::found_odd_pieces(std::string_view line, bool open) {
    const auto has_quotes = [](std::string_view piece) { return piece.find('"') != std::string_view::npos; };
    const auto quoted = std::find_if(pieces_.begin(), pieces_.end(), has_quotes);
    if (quoted != pieces_.end()) {
        found({.kind = Kind::quotes_kept,
               .column = static_cast<int>(quoted - pieces_.begin()),
               .count = static_cast<std::size_t>(std::count_if(quoted, pieces_.end(), has_quotes))});
    }
    if (line.size() > 1 && line.front() == ',') found({.kind = Kind::first_piece_lost, .column = 0});
    if (open) found({.kind = Kind::line_break_in_quotes, .column = static_cast<int>(pieces_.size() - 1)});
    const std::size_t fields = file_.lineNumber() == 1 ? kMostValues : table_.layout_.size();
    if (pieces_.size() > fields) {
        found({.kind = Kind::surplus_pieces, .column = static_cast<int>(fields), .count = pieces_.size() - fields});
    }
}

}  // namespace kel
