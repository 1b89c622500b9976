// dbrecord: one row of a table, an ordered list of texts with a changed flag, a tag and the table that holds it.
//
// All values are text; typed reads and writes convert at this edge, as the C library's atoi, atof and printf do in the
// C locale. Field numbers are 0-based, in the table's field order; a record has at most 65535 fields. Every field
// number is checked: one out of range gives the result named below and touches nothing.
//
// A table owns its records; a record from make_dummy_record belongs to its caller. Pointers to a value's text, and
// references to its String, stay good until that field changes, fields are added or removed, or the record goes.
// Used from one thread at a time.
#ifndef KELDB_FIELDS_DBRECORD_H
#define KELDB_FIELDS_DBRECORD_H

#include <cstddef>
#include <new>
#include <string_view>

#include "keldb/fields/field_values.h"
#include "keldb/support/export.h"
#include "keldb/support/string.h"

class configb;
class keldb;
class TextFile;
namespace kel {
class TableReader;
}

class KELDB_API dbrecord {
public:
    explicit dbrecord(unsigned short count = 24) noexcept : values_(count) {}  // empty fields, no table, flags 0

    // The same texts; no table, changed and tag 0.
    dbrecord(const dbrecord& other) : values_(other.values_) {}

    // Takes the other's field count and values as set_field(i, text, true) does: leading white space is dropped, the
    // changed flags are set. Table and tag stay. When memory is out, values up to some field have been taken.
    dbrecord& operator=(const dbrecord& other);

    // --- Reading ---

    unsigned short get_num_fields() const noexcept { return values_.size(); }
    bool fieldIdxValid(int i) const noexcept { return i >= 0 && i < values_.size(); }

    const char* get_field(unsigned short i) const noexcept {  // "" for an empty field, null out of range
        return i < values_.size() ? values_.text(i).data() : nullptr;
    }
    const char* operator[](unsigned short i) const noexcept { return get_field(i); }
    const String& getField(unsigned short i) const;  // one shared empty String out of range
    int get_field_size(int i) const noexcept;        // length in bytes; 0 out of range

    // The text with its length, without making a String; empty out of range. Ends in a zero byte.
    std::string_view field_text(unsigned i) const noexcept {
        return i < values_.size() ? values_.text(static_cast<unsigned short>(i)) : std::string_view("", 0);
    }

    // 1 and the value for a field in range, an empty one too (0, 0.0, false, ""); 0, and `out` unchanged, out of range.
    int in_field(int i, int& out) const noexcept;     // atoi
    int in_field(int i, double& out) const noexcept;  // atof
    int in_field(int i, bool& out) const noexcept;    // whether the first character is 't'
    // Copies at most `length` bytes, fills the rest up to `length` with zero bytes and puts a zero byte at `length`:
    // the buffer holds length + 1 bytes. A negative length gives 0.
    int in_field(int i, char* text, int length) const noexcept;

    int is_blank() const noexcept { return values_.all_empty() ? 1 : 0; }  // 1 when every field is empty, also for none

    // --- Writing: 1 when the field is in range, else 0 ---
    //
    // Each sets the changed flags of the record and of its table, also when the text stored equals the old one; only
    // setField with an equal value changes nothing at all.

    // Null is taken as ""; with `trim`, leading white space is dropped. The text may lie in this record.
    int set_field(int i, const char* text, bool trim);
    int set_field(int i, std::string_view text, bool trim);
    int set_field(int i, const char* text) = delete;  // else a text without `trim` would be taken as a truth value
    int set_field(int i, int value);
    int set_field(int i, unsigned value);
    int set_field(int i, double value);  // eight decimals: 1.50000000
    int set_field(int i, bool value);    // "t" or "f"
    bool setField(unsigned short i, const String& value);

    void clear() noexcept;  // every field empty; count and flags stay

    // --- Changed flag and tag ---

    int get_changed() const noexcept { return changed_; }
    int get_tag() const noexcept { return tag_; }
    void set_changed(int value) noexcept { changed_ = static_cast<unsigned char>(value & 0xFF); }  // the low 8 bits
    void set_tag(int value) noexcept { tag_ = static_cast<unsigned char>(value & 0xFF); }          // the low 8 bits
    void invert_tag() noexcept { tag_ = tag_ == 0 ? 1 : 0; }

    // --- Shape, for schema editing ---

    void removeField(unsigned short i) noexcept;  // later fields move down by one; nothing out of range
    // Sets the count, dropping fields at the end or adding empty ones. Nothing when count is negative or above 65535,
    // or when `map` is null; map and flag are not looked at further.
    void resizeRecord(int count, const int* map, bool flag);
    void resizeField(int, int) noexcept {}  // widths are not kept: nothing to do

    // --- The table around it ---

    keldb* get_container() const noexcept { return container_; }
    void set_container(keldb* table) noexcept { container_ = table; }

    // Hands the record's label texts to a configuration block: the field "name" under "slate/take" and "name", then
    // each of notes, who, scene, description, shot, reel (and, unless the start-up setting turns it off, snd reel, 24P
    // reel, cam reel, comp reel, lab reel) under its key. Field names match without regard to case. Returns the number
    // of fields of that list stored; 0, and nothing stored, without a table or without a field "name".
    int update(configb* block) const;

    // Replaces the values by those of the file's next line (see doc/table_format.md) and sets the changed flags and the
    // table's modification time. Returns 1; 0 when the line has no visible characters, also at the end of the file:
    // then the record has no values and nothing else changes. A line of more than 65535 values keeps the first ones, as
    // many as the low 16 bits of their number say.
    int read(TextFile& file);

    // Appends the record's line to the file, clears its changed flag and returns 1.
    int write(TextFile& file) const;

    const kel::FieldValues& values() const noexcept { return values_; }

    // A record and the packed block of its values in one allocation; deleted like any other.
    static dbrecord* make_packed(const kel::ValueBuilder& values);
    static void* operator new(std::size_t bytes) { return ::operator new(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* record) noexcept { ::operator delete(record); }  // of any size

private:
    friend class keldb;
    friend class kel::TableReader;  // packs the values it read
    bool isblankfield(unsigned i) const noexcept { return field_text(i).empty(); }
    void note_change();                // this record and its table have changed
    void note_quiet_write() noexcept;  // values are others than before, without a mark
    void take_values(const kel::ValueBuilder& values);
    void take_no_values() noexcept;  // of a blank line, which marks nothing

    keldb* container_ = nullptr;
    [[no_unique_address]] kel::FieldValues values_;
    mutable unsigned char changed_ = 0;
    unsigned char tag_ = 0;
};

#endif
