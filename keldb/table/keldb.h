// keldb: a record table in memory, and its text file.
//
// A table is an ordered list of named, typed fields and a growing list of records whose values are all text, with named
// parameters, a tag on each record, a query, sort settings, change tracking and notifications. It implements ODBBase,
// whose header describes the operations that views share; this one describes what only tables have.
//
// Rows. Raw rows number the stored records. While a table shows tagged records only, the row numbers given to row
// operations are visible rows: a snapshot of the tagged records, in raw order, taken when the flag was set or the table
// sorted. Adding, inserting and deleting are refused then.
//
// Ownership. A table owns its records; a record pointer stays valid until that record is deleted or the table freed.
// Views never own their table: destroy every view before it.
//
// Notifications, through the Notifier part: "recordsDeleted", after rows were deleted, with their raw numbers before
// the deletion in ascending order, each followed by one blank; "recordsChanged", at the end of an outermost update
// bracket, with a WrappedData<CookieVec> of the queued identifiers.
//
// A table is used from one thread at a time. Sorting uses one process-wide state: sorts of any tables and views run one
// at a time.
#ifndef KELDB_TABLE_KELDB_H
#define KELDB_TABLE_KELDB_H

#include <vector>

#include "keldb/support/notify.h"
#include "keldb/support/text_search.h"
#include "keldb/table/field_layout.h"
#include "keldb/table/load_error.h"
#include "keldb/table/odb_base.h"
#include "keldb/table/parameter_list.h"
#include "keldb/table/query.h"
#include "keldb/table/record_array.h"
#include "keldb/table/row_ids.h"
#include "keldb/table/row_set.h"
#include "keldb/table/sort_keys.h"
#include "keldb/table/tag_filter.h"
#include "keldb/table/update_bracket.h"

class configb;
class TextFile;
struct LoadReport;
namespace kel {
class StorageCheck;
class TableReader;
}  // namespace kel

class KELDB_API keldb : public ODBBase, public Notifier {
public:
    // --- Lifecycle (keldb.cpp) ---

    keldb();                                                 // no fields, not valid, revision 1
    explicit keldb(const std::vector<DBFieldDesc>& fields);  // those fields; valid, ready for records
    explicit keldb(const DBFieldDesc* fields);               // the same, ended by an entry of type 0; null: no fields
    keldb(WString fileName, int maxRecords, bool flag);      // loads the file, see loadFromFile
    ~keldb() override;

    // Deletes every record and parameter and returns the table to the empty, not valid state.
    void free();

    int get_revision() const noexcept { return revision_; }  // of the file format, not a change counter
    int is_error() const noexcept { return error_.is_set() ? 1 : 0; }
    int read_error_info(dberror& out) const;  // 1 and the last error; 0, `out` unchanged, when there is none

    // The smallest width that the file states for a column of this name, ignoring case; 4 for an unknown name.
    static unsigned getMinFieldSize(const char* name);

    // --- Copies (copying.cpp) ---

    // The source's layout, parameters and, unless withRecords is 0, copies of the records that it shows: untagged and
    // unchanged, in this table. File name, query, sort settings and error information start as in a new table.
    keldb(const keldb& source, int withRecords = 1);
    // The same with records and without parameters; the descriptors are not looked at.
    keldb(const keldb& source, DBFieldDesc* fields);
    // Everything of the source, records, tags and changed flags too; this table's listeners stay. A sort key list that
    // the caller supplied to the source is shared from then on. Strong.
    keldb& operator=(const keldb& source);

    // --- Fields (schema.cpp) ---

    // Adds an empty field to every record and returns its number; an existing name (ignoring case) changes nothing and
    // gives that field's. A table takes 65535 fields: then nothing changes and the result is 65535. Strong.
    int addField(const DBFieldDesc& field);
    void removeField(const String& name);           // with its values; an unknown name changes nothing
    void setFieldWidth(unsigned field, int width);  // nothing: widths are worked out when the table is saved
    // Same number of fields with the same names, byte for byte; types are not compared. False for null.
    bool sameColumns(keldb* other) const;

    // --- Merging (merging.cpp) ---

    // Appends copies of all records of a table with the same revision, field names (byte for byte) and types; returns
    // how many, -1 and nothing appended when they differ or this table shows tagged records only. Strong.
    int add_keldb(keldb* other);
    // Appends the other table's rows by field name, ignoring case; timecodes change between the stored forms of `t` and
    // `T` fields; fields without a counterpart stay empty. 0 when no field has a counterpart, else 1. Record by record.
    int merge_all_matching(keldb* other);
    // Assigns a record to this table's row, as dbrecord::operator= does. Both must exist and have this table's field
    // count; a null record, a missing row or another field count changes nothing.
    void copy_record(int row, keldb* source, int sourceRow);
    void copy_record(int row, dbrecord* record);

    // --- Records and fields (access.cpp) ---

    dbrecord& operator[](unsigned row) { return *get_record(row); }  // the row must exist
    const dbrecord& operator[](unsigned row) const { return *get_record(row); }
    int get_new_row(unsigned raw) const;  // the visible row of a raw one; -1 when it is not shown
    int get_raw_row(unsigned row) const;  // the raw row of a visible one; -1 when there is none
    bool setField(unsigned row, unsigned field, const String& value);  // an equal value leaves the changed flags alone

    // --- Parameters (parameters.cpp) ---

    unsigned get_num_params() const noexcept { return params_.size(); }  // the revision entry included
    const char* get_nth_param_name(int i) const;                         // null outside 0..count-1
    const char* get_nth_param_val(int i) const;

    // --- Changes (changes.cpp) ---

    int get_changed() const noexcept { return static_cast<int>(changed_); }
    void clear_changed();                                                    // of the table and of every record
    long long get_last_mod_time() const noexcept { return last_mod_time_; }  // seconds since 1970, UTC

    // Editors bracket a batch: identifiers queued inside leave in one "recordsChanged" when the outermost bracket
    // closes.
    void beginUpdate();
    void addToUpdate(const Cookie& id);
    void endUpdate();
    // Hands the row's labels to the block (dbrecord::update) and queues its identifier, unless that is invalid. False
    // when there is no such row or none of its label fields was stored.
    bool update(configb* block, int row);

    // --- Searching (search/) ---

    void setQuery(const std::vector<TextSearch::Criteria>& criteria);  // refused when shorter than the field count
    bool matchField(const dbrecord* record, unsigned short field, const TextSearch::Criteria& criteria) const;
    void set_word_only_search(int flag);
    void set_case_significant_search(int flag);  // kept; no comparison consults it
    // The row of an identifier, the visible one while tagged records only are shown; -1 when unknown. Builds the map of
    // identifiers when it is empty.
    int getRowIndexByID(const Cookie& id) const;
    int getSortFieldIdx() const noexcept { return sort_keys_.own_field(); }

    // --- Text file (textfile/) ---

    // Replaces the content by that of the table's file (".csv": comma-separated), at most maxRecords records; the
    // result is get_valid(). Nothing escapes, not even an allocation failure: the table is not valid then. `flag` has
    // no effect. The report, when one is given, is filled with what the loader saw.
    void loadFromFile(int maxRecords, bool flag, LoadReport* report = nullptr);
    // Append record by record, and return how many: those of the table's file behind its first line; those of the lines
    // that are still to read, with skipFirst behind the first of them.
    int load_text(int maxRecords);
    int add_text(TextFile& file, int skipFirst, int maxRecords);
    void save_params(TextFile& file);
    void save_column_header(TextFile& file, bool namesOnly);
    int save_text_without_header();
    // What save_text does, answering whether the file was written: true for a table without records too. The new file
    // gets the mode of the file `modeLike`, when one stands there.
    bool saveWholeText(const WString& modeLike);

    // --- ODBBase ---

    int save_text() override;
    int save_tags() override;
    void insert_records(unsigned at, unsigned count) override;
    void delete_records(unsigned start, unsigned count) override;
    int delete_tagged_records() override;
    unsigned get_num_records() const override;
    unsigned get_num_fields() const override;
    dbrecord* get_record(unsigned row) const override;
    dbrecord* make_dummy_record() override;
    String getField(unsigned row, unsigned field) override;
    const char* get_fieldname(unsigned field) const override;
    int get_fieldsize(unsigned field) const override;
    DBFieldTypes::eType get_field_type(unsigned field) override;
    int set_fieldtype(unsigned field, DBFieldTypes::eType type) override;
    DBFieldTypes::eType get_fieldtype(unsigned field) override;
    int get_fieldnum(const String& name) const override;
    int set_fieldname(unsigned field, const char* name) override;
    void set_filename(WString name) override;
    WString get_filename() override;
    void set_sortfield(int field) override;
    void set_sortfields(int* fields) override;
    void set_sort_offset(int offset) override;
    void sort(int direction, int plain) override;
    void set_tag(unsigned row, int value) override;
    void invert_tag(unsigned row) override;
    void set_all_tags(int value) override;
    void invert_all_tags() override;
    void set_show_tags_only(int flag) override;
    int get_show_tags_only() override;
    int get_tag(unsigned row) override;
    int get_num_tags() override;
    void set_query(dbrecord* query) override;
    int tag_matching_records(int keep) override;
    int tag_all_different(int field) override;
    int set_field(unsigned row, unsigned field, bool value) override;
    int set_field(unsigned row, unsigned field, double value) override;
    int set_field(unsigned row, unsigned field, int value) override;
    int set_field(unsigned row, unsigned field, const char* value) override;
    int set_field(unsigned row, const Cookie& id) override;
    int in_field(unsigned row, unsigned field, bool& out) const override;
    int in_field(unsigned row, unsigned field, double& out) const override;
    int in_field(unsigned row, unsigned field, int& out) const override;
    int in_field(unsigned row, unsigned field, char* text, int length) const override;
    int add_records(int count) override;
    int add_param(const char* name, const char* value) override;
    void set_param_val(const char* name, const char* value) override;
    const char* get_param_val(const char* name) const override;
    int findFirst(const char* field, const char* value, int length) override;
    void sortPrepare(int direction, int plain) override;
    int match_record(int row) const override;
    int baseIndex(int row) override;
    int get_valid() const override;

    bool ok() const;  // every invariant of the table's parts, for asserts and tests

protected:
    void init();       // the empty, not valid state: as free(), but for the map of identifiers
    void post_init();  // ready for records: room for 500, time stamped, sort by field 0, range flags computed
    void add_chunk();  // room for 500 more
    void fill_error_info(int kind, int index, int extra1, int extra2);
    void set_mod_time(int force);                              // now, when forced or tracking
    void timecode_check(const char*) noexcept {}               // nothing
    bool isSpecialLabelField(unsigned long long field) const;  // its current name is half of a range pair

    unsigned get_raw_num_records() const noexcept { return records_.size(); }
    dbrecord* get_raw_record(unsigned row) const noexcept;  // null when there is none
    int get_raw_tag(unsigned raw) const noexcept;           // -1 when there is none
    void index_tags();                                      // takes the snapshot of tagged records again
    int find_param(const char* name) const;                 // index; -1 when absent

    int match_field(const dbrecord* record, int field) const;
    bool found_in_special_label_field(const dbrecord* record, int field) const;
    void read_params(TextFile& file, dbrecord* scratch);

private:
    friend class dbrecord;           // marks its table changed
    friend class kel::StorageCheck;  // looks at every stored record
    friend class kel::TableReader;   // fills the table from a file
    void note_record_change() noexcept {
        changed_ = 1;
        ++writes_;
    }
    void note_quiet_write() noexcept { ++writes_; }  // values changed, and nobody is to know
    friend class ODBViewRep;                         // deletes scattered rows in one go
    void set_fields(const DBFieldDesc* fields, unsigned count);
    void delete_rows(kel::RowSet rows);  // at least one, all of them stored; not while showing tagged records only
    int delete_tagged_at_once();
    int delete_tagged_runs();
    void copy_shown_records(const keldb& source);
    const kel::QueryPlan& query_plan() const;   // of the query and layout as they are now
    bool sets_condition(unsigned field) const;  // whether the query does for this field
    void sort_by_only(int field);
    void build_row_ids() const;
    bool row_carries(int row, const Cookie& id) const;
    kel::RowIds::Stamp row_ids_stamp() const noexcept { return {writes_, layout_.version()}; }

    int revision_ = kel::kCurrentRevision;
    kel::FieldLayout layout_;
    kel::RecordArray records_;
    kel::TagFilter shown_;
    kel::ParameterList params_;
    WString file_name_;
    kel::SortKeys sort_keys_;
    kel::LoadError error_;
    unsigned changed_ = 0;
    long long last_mod_time_ = 0;
    unsigned tracks_modification_ = 0;
    kel::UpdateBracket updates_;
    kel::Query query_;
    mutable kel::RowIds row_ids_;
    unsigned valid_ = 0;
    unsigned long long writes_ = 0;  // to values of records: what was worked out from them may be stale after one
};

#endif
