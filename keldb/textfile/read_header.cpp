// Reading what stands before the records: parameter lines, marker line and header rows.

#include "keldb/fields/dbrecord.h"
#include "keldb/fields/field_name.h"
#include "keldb/support/conversions.h"
#include "keldb/support/log.h"
#include "keldb/textfile/header_rows.h"
#include "keldb/textfile/parameter_line.h"
#include "keldb/textfile/table_reader.h"

void keldb::read_params(TextFile& file, dbrecord* scratch) {
    kel::TableReader reader(*this, file);
    const bool read = reader.read_parameters();
    if (!scratch) return;
    if (read) {
        scratch->take_values(reader.line());
    } else {
        scratch->take_no_values();
    }
}

namespace kel {

bool TableReader::read_parameters() {
    table_.params_.clear();
    const bool read = next_line();
    if (read && read_revision()) read_further_parameters();
    return read;
}

bool TableReader::read_revision() {
    if (!is_revision_entry(value(0))) return false;
    store_parameter();
    table_.revision_ = revision_of(table_.params_.value(0));
    if (table_.revision_ != kCurrentRevision) {
        LogPrint("keldb::read_text:  Warning: keldb is revision %d, current level is %d\n", table_.revision_,
                 kCurrentRevision);
        found({.kind = Kind::other_revision, .text = StringFromInteger(table_.revision_)});
    }
    return true;
}

// Up to the marker line, or to a line that can be neither: then the file is no table, and the caller sees it by the
// line.
void TableReader::read_further_parameters() {
    while (!file_.atEnd()) {
        next_line();
        const ParameterText::Kind kind = read_parameter(value(0)).kind;
        if (kind == ParameterText::Kind::marker) {
            found_surplus_values();
            return;
        }
        if (table_.params_.size() >= ParameterList::kLimit) {
            found({.kind = Kind::surplus_parameter});
        } else if (kind == ParameterText::Kind::no_colon) {
            return;
        } else if (kind == ParameterText::Kind::nameless) {
            found({.kind = Kind::nameless_parameter});
        } else {
            store_parameter();
        }
    }
}

void TableReader::store_parameter() {
    const ParameterText parameter = read_parameter(value(0));
    table_.params_.append_as_read(String(parameter.name), String(parameter.value));
    found_surplus_values();
}

void TableReader::found_surplus_values() {
    if (values_.size() > 1) found({.kind = Kind::surplus_parameter_text, .column = 1, .count = values_.size() - 1});
}

// Rows that are not there are rows of no items, which are those of a table without fields.
bool TableReader::read_header() {
    next_line();
    const unsigned fields = count();
    if (!read_row(fields, 3)) return false;
    table_.layout_.reset(fields);
    set_types();
    const bool cut = file_.atEnd();
    if (!read_row(fields, 4)) return false;
    set_names();
    if (cut) found({.kind = Kind::header_cut});
    return true;
}

// The type row is row 3 of the error information, the name row 4.
bool TableReader::read_row(unsigned fields, int row) {
    const bool missing = file_.atEnd();
    next_line();
    if (count() == fields) return true;
    table_.fill_error_info(dberror::kHeaderRow, row, 0, 0);
    found({.kind = missing ? Kind::header_cut : Kind::header_mismatch, .count = values_.size(), .expected = fields});
    return false;
}

void TableReader::set_types() {
    for (unsigned i = 0; i < table_.layout_.size(); ++i) {
        const DBFieldTypes::eType type = type_from_name(value(i));
        table_.set_fieldtype(i, type);
        if (type == DBFieldTypes::none) {
            found({.kind = Kind::unknown_type, .column = static_cast<int>(i), .text = String(value(i))});
        }
    }
}

void TableReader::set_names() {
    for (unsigned i = 0; i < table_.layout_.size(); ++i) {
        const String name = stored_field_name(value(i));
        table_.layout_.rename(i, name);
        if (name != value(i)) {
            found({.kind = Kind::ampersands, .column = static_cast<int>(i), .text = String(value(i))});
        }
    }
}

}  // namespace kel
