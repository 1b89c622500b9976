// Views: ordered, tag-carrying lists of the rows of a table or of another view.
//
// A view (ODBViewRep, held through the counted handle ODBView) shows rows of its base in an order of its own, with tags
// of its own, and implements ODBBase, so that code written for tables works on it. Its base is its table or, for a
// subview, another view over the same table; a chain ends on the table in every case. Showing, removing, tagging and
// sorting entries never touches the records. A view without a table is detached: its operations do nothing and give 0,
// false, null or -1.
//
// Positions number a view's entries from 0; base rows number the rows of its immediate base. An insertion position is
// clamped: below 0 is the front, beyond the end the end. A view shows nothing until a display operation fills it, may
// show a row more than once, and may show rows that its base does not have: such an entry has no record.
//
// Ownership. A view never owns its table: destroy every view over a table before it. A view is destroyed when the last
// handle or subview that holds it lets go. A view used as a base view must be held by a handle.
//
// Changes below. When its base loses rows, a view drops the entries that named them and renumbers the others, before
// anybody is told. It then announces, through its own notifier, each entry that it lost as "recordsDeleted" with the
// position at that moment (a number and a blank), as if they had gone one after another, and at the end one
// "recordsChanged" without text or payload. remove and what uses it announce "recordsDeleted" with all positions of the
// call. Nothing else is announced, and insertions and sorts in the base are silent: entries then name other records.
//
// What a listener may count on (tables and views alike). It is called at once, depth first, in the order of
// registration, before the causing call returns. Of one deletion all views are repaired first, so that it finds every
// view naming the right records; at the first of several announcements the other entries are gone as well. It may read
// and edit anything, register and deregister any guard, release handles, and attach views elsewhere; only the announcer
// itself must not be destroyed (the announcing view is kept alive until its announcements are over). When memory is
// out, nothing has been deleted and no view has changed; of what goes run by run, the runs before are gone.
//
// Views, their tables and handles are used from one thread at a time; sorts of any of them run one at a time.
#ifndef KELDB_VIEWS_ODB_VIEW_H
#define KELDB_VIEWS_ODB_VIEW_H

#include <utility>
#include <vector>

#include "keldb/support/assoc_list.h"
#include "keldb/support/notify.h"
#include "keldb/table/deletion.h"
#include "keldb/table/odb_base.h"
#include "keldb/views/base_link.h"
#include "keldb/views/field_spec.h"
#include "keldb/views/row_index.h"

class GrowString;
class keldb;
class ODBView;

class KELDB_API ODBViewRep : public ODBBase, public Notifier, private kel::DeletionFollower {
public:
    // --- Making and copying (odb_view.cpp, view_copying.cpp) ---

    // Views made here have the reference count 0; hold them in an ODBView.
    explicit ODBViewRep(keldb* table);                // described by all fields of the table
    ODBViewRep(keldb* table, const char* fieldSpec);  // null: all fields
    ODBViewRep(keldb* table, const char** names);     // ended by null, each name followed by a comma; null: all fields
    ODBViewRep(const ODBViewRep&) = delete;           // copy() duplicates a view
    ODBViewRep& operator=(const ODBViewRep&) = delete;
    ~ODBViewRep() override;

    // A view on the same base with the same entries and tags, reference count 0; null without a table.
    ODBViewRep* copy();
    // A view on a full copy of the table, with this view's entries (those that have a record), tags and parameters. The
    // caller takes the copied table, odb() of the result, and destroys the view before it. Null without a table.
    ODBViewRep* copyWithNewBaseView();

    void incRef() noexcept { ++refs_; }
    unsigned decRef() noexcept { return refs_ > 0 ? --refs_ : 0; }  // the new count
    unsigned refs() const noexcept { return refs_; }

    // --- What it stands on ---

    keldb* odb() const noexcept { return link_.table(); }
    // Attaches the view to another table, or to none: it becomes empty, takes the table's file name and parameters, and
    // leaves its base view. Its field list names the fields with the same numbers there. The table that it has:
    // nothing.
    void odb(keldb* table);
    ODBViewRep* baseView() const noexcept { return link_.base_view(); }
    ODBBase* db() const noexcept { return link_.immediate(); }  // base view or table; null when detached
    bool isSubview() const noexcept { return baseView() != nullptr; }

    // --- Description ---

    const char* fieldSpec() const noexcept { return spec_.text(); }
    void fieldSpec(const char* text);  // see keldb/views/field_spec.h
    const SExpr& fieldList() const noexcept { return spec_.fields(); }
    void asString(GrowString& out) const;  // "fieldSpec: ..." and, with fields, "fields: (...)", each a line
    AssocList& params() noexcept { return params_; }
    WString fileName() const { return file_name_; }
    void fileName(WString name) { file_name_ = std::move(name); }

    // --- Entries ---

    int size() const noexcept { return index_.size(); }
    ODBRecRef* recRef(int position) const;     // null outside the view; lives until the view changes
    dbrecord* operator[](int position) const;  // the entry's record; null when there is none
    int find(const dbrecord* record) const;    // first entry with this very record; -1 when there is none
    bool member(const dbrecord* record) const { return find(record) >= 0; }
    int findViewIndexForBaseRow(unsigned long long baseRow) const;  // first entry that names it; -1
    bool satisfiesCondition(const dbrecord*) const noexcept { return true; }

    // --- Showing rows (view_display.cpp): new entries are untagged; nothing is announced ---

    int displayRecordsAt(int row, int count,
                         int at);         // base rows row, row + 1, ...; a negative row or count: 0, nothing
    void displayAllRecords();             // every base row; announces the removal of what was shown
    void displayTaggedRecordsAt(int at);  // base rows tagged in the base
    // The first base row whose field holds the value; false when there is none. On a subview: the first entry of the
    // base view whose record does.
    bool displayMatchAt(const char* field, const char* value, int at);
    int displayRecordsAt(const CookieVec& ids, int at);  // one entry per identifier found, in their order; how many
    int displayRecordsAt(const CookieSet& ids, int at);
    // On a view that stands on its table, from another such view over the same table: its records that are not shown
    // here yet. Returns how many; 0 for any other pair of views.
    int displayAllFromAt(ODBViewRep* other, int at);
    int displayAllFromAt(const ODBView& other, int at);
    void append(int baseRow);  // a negative row: nothing
    void clear() noexcept;     // every entry, unannounced

    // --- Taking entries out, deleting and inserting records (view_removal.cpp) ---

    void remove(int start, int count);  // out of this view; announced, also for a count of 0 inside the view
    // Out of this view and every view below it, down to the one that stands on the table, and so out of everything
    // stacked above that. No record is deleted.
    void removeRecordsFromBaseView(int start, int count);
    int removeSome(bool (ODBViewRep::*condition)(int));  // the same for entries that meet the condition; how many
    int removeTagged();
    int removeNonTagged();
    // Deletes from the table the records behind these entries, as they were at the call; one base deletion for each run
    // of consecutive base rows, or one for all while nobody but views listens.
    void deleteRecords(int start, int count);
    int deleteTagged();  // the records behind the tagged entries; how many entries lost their record
    // Inserts blank records into the base, before the row of the entry at that position or at the end, and shows them
    // there. Exact for a view that shows its base rows in ascending order. Nothing when the base refuses.
    void insertBlankRecords(int at, int count);

    // --- Tags (view_tags.cpp) ---

    bool tag(int position);  // false outside the view
    bool notTagged(int position) { return !tag(position); }
    void tagAll(bool value);
    void invertAllTags();
    int countTags() const;
    int tagMatches(int keep);  // by the table's query; without `keep` the others are untagged; how many match
    // For a view ordered by the field: tags each entry whose value equals that of the entry before its run, ignoring
    // case; other tags stay. How many it tagged.
    int tagDuplicatesOrdered(int field);
    // In any order: tags all but one entry of each value and untags every other. The field becomes the table's sort
    // field, and entries are compared with their neighbours in that order: of values that it holds equal although they
    // differ (two forms of a timecode), equal ones may stay apart. How many it tagged.
    int tagDuplicates(int field);
    ODBViewRep* newTagSubview();            // a subview of the tagged entries, untagged, count 0; null without a table
    void tagBaseFromTags();                 // the base's tags, 1 or 0, from this view's
    void setupViewTagsFromKeldbTagField();  // shows every base row, tagged where its "Tag" field is not 0
    void displayAllRecordsWithBaseTagStatus();  // shows every base row, with the base's tags if it has a "Tag" field

    // --- Saving (view_export.cpp) ---

    // Writes the view's parameters, the table's header and every entry's record, the "Tag" field holding the view's
    // tag; entries without a record are skipped. Returns the number of records written; 0 on failure, for an empty
    // name, and with headerOnly, which writes no records. The table's records stay as they are.
    int saveAsText(const WString& fileName, bool headerOnly);
    int saveAsText(const char* fileName, bool headerOnly);
    int save_text(const char* fileName) { return saveAsText(fileName, false); }
    // Only entries whose records carry the table's tag. Returns the view's entry count; 0 on failure or for no name.
    int saveOnlyTagged(const WString& fileName);
    int saveOnlyTagged(const char* fileName);
    void addParamsFrom(ODBViewRep* other);
    void addParamsFrom(const keldb* table);

    // Applies a "recordsDeleted" message to this view alone; returns 0. A message that is not ascending positions
    // before the deletion is taken number by number: the k-th, less k, is the row that goes at that step.
    int recordsDeletedNotify(const NotifyMsg& message);

    bool ok() const;  // every invariant of the view's parts

    // --- ODBBase (view_as_table.cpp) ---

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

protected:
    // As newly made: detached, with no entries, no field spec and the parameter "KELDB" alone; who holds it still does.
    void init();
    void baseView(ODBViewRep* view);  // a view over the same table, held by a handle; the view becomes empty
    void internRevision();            // the parameter "KELDB", when it has no value
    void buildIndex();                // one entry per row of the base
    void sortIndex() noexcept {}      // nothing
    // The growth rule of kel::RowIndex, for no less than the entries that there are.
    void sizeIndexFor(int entries) { index_.make_room_for(entries > size() ? entries : size()); }
    int indexCapacity() const noexcept { return index_.capacity(); }
    void identityFieldSpec(GrowString& out) const;  // appends the names of all fields of the base, with commas between
    int dbFieldIndex(const char* name) const;       // the first field with exactly this name; -1

private:
    friend class kel::BaseLink;

    Notifier& announcer() noexcept override { return *this; }
    std::size_t entry_count() const noexcept override { return static_cast<std::size_t>(size()); }
    void drop(const kel::RowSet& gone, kel::LostEntries& lost) noexcept override { index_.drop(gone, lost); }
    bool pin() noexcept override;
    void unpin() noexcept override;

    const ODBRecRef* entry(unsigned row) const noexcept;  // null outside the view
    ODBRecRef* entry(unsigned row) noexcept;
    const ODBViewRep* root() const noexcept;       // the view of the chain that stands on the table
    std::vector<const dbrecord*> records() const;  // of each entry, null for none; attached views only
    ODBViewRep* root() noexcept { return const_cast<ODBViewRep*>(std::as_const(*this).root()); }
    void take_out(kel::RowSet positions);
    void take_out_chosen(const std::vector<int>& positions);  // ascending positions, here and below
    int delete_chosen(const std::vector<int>& positions);
    int remove_tagged_as(bool tagged);
    template <class Condition>
    int remove_runs(Condition condition);
    class Pending;
    template <class Act>
    int in_runs(const std::vector<int>& positions, Act act);
    int base_rows() const;  // attached views only
    int first_base_row(const char* field, const char* value);

    unsigned refs_ = 0;
    kel::BaseLink link_{*this};
    kel::RowIndex index_;
    kel::FieldSpec spec_;
    WString file_name_;
    AssocList params_{false};
};

// A counted handle on a view; may hold none (null).
class KELDB_API ODBView {
public:
    ODBView() noexcept = default;
    ODBView(const ODBView& other) noexcept;
    ODBView(const ODBView& other, bool);          // a subview of the tagged entries of other's view; other is not null
    explicit ODBView(ODBViewRep* view) noexcept;  // takes hold of a view
    explicit ODBView(keldb* table);
    ODBView(keldb* table, const char* fieldSpec);
    ODBView(keldb* table, const char** names);
    ~ODBView();
    ODBView& operator=(const ODBView& other) noexcept;

    friend int operator==(const ODBView& a, const ODBView& b) noexcept { return a.view_ == b.view_; }
    friend int operator!=(const ODBView& a, const ODBView& b) noexcept { return a.view_ != b.view_; }
    explicit operator bool() const noexcept { return view_ != nullptr; }
    ODBViewRep* operator->() const noexcept { return view_; }
    ODBViewRep* operator*() const noexcept { return view_; }
    ODBViewRep* get() const noexcept { return view_; }
    dbrecord* operator[](int position) const { return view_ ? (*view_)[position] : nullptr; }

    ODBView copy() const;  // null when this is, or when the view has no table
    ODBView copyWithNewBaseView() const;

private:
    ODBViewRep* view_ = nullptr;
};

// A new table with copies of the view's records, the fields and parameters of its table; the caller owns it. Entries
// without a record become blank records. Null when the view has no table. Releases its handle.
KELDB_API keldb* Convert_ODBView_to_keldb(ODBView view);

#endif
