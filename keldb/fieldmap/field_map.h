// FieldMap: the fields that a list display shows for a table or view, in display order, each visible or hidden.
//
// A map is stored with the data as a table parameter, kParameter, in a short text form that asString produces and
// setSourceDb reads: one token for each entry, separated by one blank: the field's number in the source counted from 1,
// with '-' in front when it is hidden. With source fields Name, Reel, Scene, the text "3 -1 2" shows Scene, hides Name,
// shows Reel. The map never writes the parameter itself.
//
// A number is read from at most three characters, so the text form can say visible fields up to number 999 and hidden
// ones up to 99; asString writes larger ones all the same.
//
// Names are compared ignoring case. Positions number the entries from 0. A position outside the map gives the empty
// name or false, and sets nothing. The map holds its source view; used from one thread at a time.
#ifndef KELDB_FIELDMAP_FIELD_MAP_H
#define KELDB_FIELDMAP_FIELD_MAP_H

#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/string.h"
#include "keldb/views/odb_view.h"

class KELDB_API FieldMap {
public:
    static constexpr const char* kParameter = "V5_FIELD_MAP";
    static constexpr int kLastVisible = 999;  // the largest field numbers, from 1, that the text form gives back
    static constexpr int kLastHidden = 99;

    FieldMap() = default;
    explicit FieldMap(keldb& table);  // through a view of its own, which shows no rows; the table outlives the map
    explicit FieldMap(const ODBView& view) { setSourceDb(view); }

    // Makes the view the source and reads its parameter kParameter; the entries read are appended to those that are
    // here. Repeats and number 0 are skipped, and reading stops at the first place where no number stands. A map that
    // is still empty then takes all fields of the view, visible. When memory is out the map is as it was.
    void setSourceDb(const ODBView& view);
    ODBView getSourceDb() const { return source_; }  // null when there is none

    // The text form. An entry that the source does not have is written as 0; without a source the numbers are those of
    // the positions.
    String asString() const;

    void append(const String& name, bool visible);  // at the end; a name that is here stays as it is
    bool remove(const String& name);                // false when there is none
    void clear() noexcept { entries_.clear(); }     // the source stays
    bool containsField(const String& name) const { return getFieldIdx(name) >= 0; }

    String getName(int position) const;
    String operator[](int position) const { return getName(position); }
    void setName(int position, const String& name);  // a repeat is not looked for, here and in set
    void set(int position, const String& name, bool visible);
    bool isVisible(int position) const;
    bool isVisible(const String& name) const { return isVisible(getFieldIdx(name)); }
    void setVisible(int position, bool visible);
    void invertVisible(int position);
    int numVisible() const;
    unsigned short size() const noexcept { return static_cast<unsigned short>(entries_.size()); }
    void swap(int a, int b);  // exchanges two entries; nothing when a position is outside

    // The source's field number, from 0, of the k-th visible entry; -1 when there are not that many, when the source
    // lacks the field, and without a source.
    int getVisibleFieldIndex(int k) const;

private:
    struct Entry {
        String name;
        bool visible;
    };
    bool holds(int position) const noexcept { return position >= 0 && position < size(); }
    Entry& at(int position) { return entries_[static_cast<std::size_t>(position)]; }
    const Entry& at(int position) const { return entries_[static_cast<std::size_t>(position)]; }
    int getFieldIdx(const String& name) const;  // the first position with that name; -1
    void read_source();
    const char* field_name(unsigned field) const;
    class Appender;

    std::vector<Entry> entries_;
    ODBView source_;
};

#endif
