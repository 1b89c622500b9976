// Appending the records of another table, and copying single records.

#include <vector>

#include "keldb/support/timecode.h"
#include "keldb/table/keldb.h"

int keldb::add_keldb(keldb* other) {
    if (!other || shown_.on() || revision_ != other->revision_ || !(layout_ == other->layout_)) return -1;
    const unsigned count = other->records_.size();
    records_.append_copies(other->records_.begin(), count, this);
    return static_cast<int>(count);
}

namespace {

// A field of this table and its counterpart in the other one, with what a value must go through on the way.
struct Match {
    unsigned short field;
    unsigned short theirs;
    enum { as_it_is, to_punctuated, to_database } conversion;
};

String converted(std::string_view text, const Match& match) {
    const time_def timecode(String(text), time_def::kLabelKind);
    return match.conversion == Match::to_punctuated ? timecode.get_punctuated_str() : timecode.get_database_str();
}

std::vector<Match> matching_fields(keldb& table, keldb& other) {
    std::vector<Match> matches;
    for (unsigned i = 0; i < table.get_num_fields(); ++i) {
        const int found = other.get_fieldnum(String(table.get_fieldname(i)));
        if (found < 0) continue;
        const DBFieldTypes::eType ours = table.get_field_type(i),
                                  theirs = other.get_field_type(static_cast<unsigned>(found));
        auto conversion = Match::as_it_is;
        if (ours == DBFieldTypes::timecode && theirs == DBFieldTypes::timecode_s) conversion = Match::to_punctuated;
        if (ours == DBFieldTypes::timecode_s && theirs == DBFieldTypes::timecode) conversion = Match::to_database;
        matches.push_back({static_cast<unsigned short>(i), static_cast<unsigned short>(found), conversion});
    }
    return matches;
}

}  // namespace

int keldb::merge_all_matching(keldb* other) {
    if (!other) return 0;
    const std::vector<Match> matches = matching_fields(*this, *other);
    if (matches.empty()) return 0;
    const unsigned count = other->get_num_records();
    for (unsigned row = 0; row < count; ++row) {
        const int added = add_records(1);
        if (added < 0) return 1;
        dbrecord& ours = *records_[static_cast<unsigned>(added)];
        const dbrecord& theirs = *other->get_record(row);
        try {
            for (const Match& match : matches) {
                const std::string_view text = theirs.field_text(match.theirs);
                if (match.conversion == Match::as_it_is)
                    ours.set_field(match.field, text, true);
                else
                    ours.set_field(match.field, converted(text, match).view(), true);
            }
        } catch (...) {
            records_.drop_from(static_cast<unsigned>(added));  // no half a record
            throw;
        }
    }
    return 1;
}

void keldb::copy_record(int row, keldb* source, int sourceRow) {
    if (!source || sourceRow < 0) return;
    if (const dbrecord* record = source->get_record(static_cast<unsigned>(sourceRow))) {
        dbrecord copy(*record);
        copy_record(row, &copy);
    }
}

void keldb::copy_record(int row, dbrecord* record) {
    dbrecord* ours = row < 0 ? nullptr : get_record(static_cast<unsigned>(row));
    if (ours && record && ours->get_num_fields() == record->get_num_fields()) *ours = *record;
}
