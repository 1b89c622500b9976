// ODBBase: what tables (keldb) and views (ODBViewRep) have in common, so that code can work on either.
//
// Rows and fields are numbered from 0. A table's rows are its records, or only the visible ones while it shows tagged
// records only; a view's rows are its entries. Fields are the table's for both. Nothing throws on bad input: an
// operation that finds no such row or field, or is refused in the current state, gives the neutral result named here
// and leaves everything unchanged. Only allocation failure raises, and what raised has changed nothing; but what goes
// record by record may have come to some record: saving, which writes tags into the field "Tag", deletions that
// somebody listens to, and what says so.
//
// Each operation is described once, as a table answers; where a view differs, "View:" says how. A view that stands on
// nothing (detached) does nothing and gives 0, null, an empty text, or what its own header says.
//
// A table, its views and their handles are used from one thread at a time.
#ifndef KELDB_TABLE_ODB_BASE_H
#define KELDB_TABLE_ODB_BASE_H

#include "keldb/fields/dbrecord.h"
#include "keldb/fields/field_types.h"
#include "keldb/support/cookie.h"
#include "keldb/support/export.h"
#include "keldb/support/refcount.h"
#include "keldb/support/string.h"
#include "keldb/support/wstring.h"

class KELDB_API ODBBase : public iObject {
public:
    ODBBase() = default;
    ODBBase(const ODBBase&) noexcept : Qv::InternalRefCount(), iVirtual(), iObject() {}
    ODBBase& operator=(const ODBBase&) noexcept { return *this; }
    ~ODBBase() override;

    // --- Saving ---

    // Writes the whole table to its file. Returns the number of record lines written; 0 when the file could not be
    // written, and for a table without records. View: its entries, to the view's own file name.
    virtual int save_text() = 0;
    // The same with the tagged records only; 1 when the file was written, else 0. View: the entries whose records carry
    // the table's tag; returns the view's entry count.
    virtual int save_tags() = 0;

    // --- Records ---

    // Inserts `count` empty records before row `at`; beyond the end they are appended. Refused while the table shows
    // tagged records only. Announces nothing. View: into the base, with entries for them at `at`.
    virtual void insert_records(unsigned at, unsigned count) = 0;
    // Deletes `count` records from row `start` on, cut at the end, and announces "recordsDeleted". Refused while the
    // table shows tagged records only. View: deletes the records behind the entries from the base.
    virtual void delete_records(unsigned start, unsigned count) = 0;
    // Deletes every record whose tag is exactly 1 and returns how many; -1 while the table shows tagged records only.
    // View: takes the tagged entries out of the view and its base views, deletes nothing, returns 0.
    virtual int delete_tagged_records() = 0;
    virtual unsigned get_num_records() const = 0;
    virtual unsigned get_num_fields() const = 0;
    // The record of a row, owned by the table and valid until it is deleted or the table freed; null when there is
    // none.
    virtual dbrecord* get_record(unsigned row) const = 0;
    // A new record with the table's field count and no table, which the caller deletes.
    virtual dbrecord* make_dummy_record() = 0;

    // --- Fields ---

    virtual String getField(unsigned row, unsigned field) = 0;  // the value; empty when there is none
    // The field's name, "" (never null) when there is no such field. It lives until the field is renamed or removed, or
    // the table loaded, freed or assigned to.
    virtual const char* get_fieldname(unsigned field) const = 0;
    // The length in bytes of the field's longest value over all stored records; walks them all on each call.
    virtual int get_fieldsize(unsigned field) const = 0;
    virtual DBFieldTypes::eType get_field_type(unsigned field) = 0;  // 0 when there is no such field
    // Stores the type (values are not converted) and returns 1; 0 when there is no such field. Type 0 is recorded as
    // the error (2, 3, 0, 0), even for a field that does not exist, and becomes text.
    virtual int set_fieldtype(unsigned field, DBFieldTypes::eType type) = 0;
    virtual DBFieldTypes::eType get_fieldtype(unsigned field) = 0;  // the same as get_field_type
    virtual int get_fieldnum(const String& name) const = 0;         // ignoring case; -1 when there is none
    // Renames the field and returns 1; 0 when there is no such field. Null or "" leaves it nameless. Ampersands are
    // taken out of the name unless the start-up setting remove_fieldname_ampersands is 0.
    virtual int set_fieldname(unsigned field, const char* name) = 0;

    // --- File name ---

    virtual void set_filename(WString name) = 0;
    virtual WString get_filename() = 0;

    // --- Sorting ---
    //
    // Ascending, tuned to logs: records that are blank all over come last; then key by key, leading white space
    // skipped: an empty value stands after any other and ends the comparison (two empty ones are equal, later keys are
    // not looked at); the last key of type timecode compares its first 8 bytes and what follows byte 8, the separator
    // before the frames, ignoring case; any other key compares
    //     from byte `offset` on, ignoring case, for an offset above 0 or with `plain` (beyond the end: nothing left);
    //     its last -offset bytes, ignoring case, for an offset below 0 (the whole value when it is shorter);
    //     numbers inside texts by value ("take 2" before "take 10"), ignoring case, for offset 0.
    // With `plain` other than 0 a negative offset compares the whole value.
    //
    // Descending: the values as they stand, ignoring case, the other way round.

    virtual void set_sortfield(int field) = 0;  // sorts by this field alone
    // The fields to sort by, ended by a negative entry. The array stays the caller's, must live while sorts use it, and
    // is written to: an entry that names no field becomes -1.
    virtual void set_sortfields(int* fields) = 0;
    virtual void set_sort_offset(int offset) = 0;
    // Sorts the records, ascending for a direction of 0 or above, descending below. View: its own entries only.
    virtual void sort(int direction, int plain) = 0;

    // --- Tags: low 8 bits, 0 is untagged. View: its own tags, 0 or 1 ---

    virtual void set_tag(unsigned row, int value) = 0;
    virtual void invert_tag(unsigned row) = 0;  // 0 becomes 1, anything else 0
    virtual void set_all_tags(int value) = 0;   // while the table shows tagged records only: of the visible ones
    virtual void invert_all_tags() = 0;         // of all stored records
    // Non-zero shows only the records tagged now; 0 shows all. View: takes the untagged entries out, whatever the
    // value.
    virtual void set_show_tags_only(int flag) = 0;
    virtual int get_show_tags_only() = 0;   // View: 0
    virtual int get_tag(unsigned row) = 0;  // -1 when there is no such row. View: 0 then
    virtual int get_num_tags() = 0;         // rows with a tag other than 0

    // --- Searching ---

    // Takes the values of a record as the query, one per field, empty ones meaning no condition. A record with fewer
    // fields than the table is refused.
    virtual void set_query(dbrecord* query) = 0;
    // Tags the rows that match the query; with `keep` 0 the others are untagged. Returns the number of matches; 0, tags
    // untouched, without a query. View: `keep` is taken as 0, and without a query all are untagged.
    virtual int tag_matching_records(int keep) = 0;
    // Tags one row of each distinct value of the field, case ignored, untags the others and returns the number of
    // tagged rows. Distinct are values that differ from the one before them in the order of the field; a value that is
    // empty in every record counts as none, and those longer than 255 bytes are all tagged. The table is left sorted by
    // the field, all its records shown. View: keeps its order; only the sort field is set.
    virtual int tag_all_different(int field) = 0;

    // --- Writing values: 1 when the row and field exist, else 0. Leading white space is dropped ---

    virtual int set_field(unsigned row, unsigned field, bool value) = 0;    // "t" or "f"
    virtual int set_field(unsigned row, unsigned field, double value) = 0;  // eight decimals
    virtual int set_field(unsigned row, unsigned field, int value) = 0;
    virtual int set_field(unsigned row, unsigned field, const char* value) = 0;  // null is ""
    // Writes the row's identifier into the field named "cookie" and notes the row under it; 0 without that field.
    virtual int set_field(unsigned row, const Cookie& id) = 0;

    // --- Reading values: 1; 0 and `out` untouched when there is no such value or it is empty ---

    virtual int in_field(unsigned row, unsigned field, bool& out) const = 0;    // whether it begins with 't'
    virtual int in_field(unsigned row, unsigned field, double& out) const = 0;  // atof
    virtual int in_field(unsigned row, unsigned field, int& out) const = 0;     // atoi
    // At most `length` bytes and a zero byte behind them: the buffer holds length + 1. A negative length gives 0.
    virtual int in_field(unsigned row, unsigned field, char* text, int length) const = 0;

    // Appends empty records and returns the row of the first; a count of 0 or less adds none and returns the record
    // count. -1 while the table shows tagged records only. View: -1 when its base refused.
    virtual int add_records(int count) = 0;

    // --- Parameters. View: its own, copied from its base when it was attached ---

    // Adds the parameter or replaces its value (names match ignoring case), 0; -1 for null, an empty name, a 41st, and
    // for "KELDB" while there are none, which brings in that entry alone. View: takes any number, and "KELDB" like
    // others.
    virtual int add_param(const char* name, const char* value) = 0;
    virtual void set_param_val(const char* name, const char* value) = 0;
    virtual const char* get_param_val(
        const char* name) const = 0;  // null when absent; lives until it changes, or as a field's name

    // --- Finding ---

    // The first stored row whose field holds the value, byte for byte; a length other than 0 compares only that many
    // bytes. Both texts are required. The field "cookie" goes through the map of identifiers first, and what that finds
    // is its row: the visible one while tagged records only are shown, and for an identifier that stands twice not
    // always the first. -1 when there is none. View: a row of its base, the whole value.
    virtual int findFirst(const char* field, const char* value, int length) = 0;
    // Loads the process-wide sort state from the table; ends its key list at the first
    // entry that names no field.
    virtual void sortPrepare(int direction, int plain) = 0;
    // 1 when the row matches the query, 0 when not, -1 when there is no such row or no query.
    virtual int match_record(int row) const = 0;
    // The row of the underlying table: the row itself. View: of the entry; 0 when there is none.
    virtual int baseIndex(int row) = 0;
    virtual int get_valid() const = 0;  // whether the table has a usable layout
};

#endif
