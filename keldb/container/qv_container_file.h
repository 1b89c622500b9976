// Container files: named sets of items, each with an identity and attributes, kept in a table file.
//
// A container is a table (doc/table_format.md). Its fields are chosen by who makes it; the one named "Cookie" (any
// case) holds each item's identity, every other is an attribute of items, addressed by field number. Its records are
// the items, in the order they were added. Its parameters are the container's own attributes, matched without regard to
// case; reserved are "Name" and "Permanent". A table file is only read when it has parameter lines, so a container can
// be read back once at least one of setName, setPermanent or setAttrib has been called.
//
// Items are handles into their writer or reader and must not outlive it. Writers, readers and items are used from one
// thread at a time.
#ifndef KELDB_CONTAINER_QV_CONTAINER_FILE_H
#define KELDB_CONTAINER_QV_CONTAINER_FILE_H

#include "keldb/support/cookie.h"
#include "keldb/support/export.h"
#include "keldb/support/string.h"
#include "keldb/support/wstring.h"
#include "keldb/table/keldb.h"

namespace QVContainerFile {

class KELDB_API Writer {
public:
    // One item of the container being written.
    class KELDB_API Item {
    public:
        explicit Item(dbrecord* record) : record_(record) {}
        bool valid() const noexcept { return record_ != nullptr; }
        // Each sets the attribute in that field; nothing for a field out of range and for an item that is not valid.
        void setAttrib(unsigned index, const String& value);  // leading white space is dropped
        void setAttrib(unsigned index, const char* value) { setAttrib(index, String(value)); }
        void setAttrib(unsigned index, int value);
        void setAttrib(unsigned index, double value);  // eight decimals

    private:
        dbrecord* record_;
    };

    explicit Writer(DBFieldDesc* fields);  // ended by an entry of type 0

    // Adds an item. An invalid identity gives an item that is not valid and adds nothing, and neither does a call that
    // runs out of memory; repeats are not looked for. Without a "Cookie" field items have no identity, and the file is
    // no valid container.
    Item addItem(const Cookie& id);

    void setAttrib(const String& name, const String& value);  // refused like keldb::add_param refuses
    void setName(const String& name) { setAttrib("Name", name); }
    void setPermanent(bool permanent);

    // Writes the container. Where a file stands at `path`, the new one is first written to `path` + ".tmp", with the
    // old one's mode; only then the old file is removed and the new one moved to its place, so that at every instant a
    // complete container stands at `path` or at `path` + ".tmp". A symbolic link at `path` is itself replaced, and the
    // file that it named stays as it was.
    //
    // Failures are logged, not returned. The old file stays untouched when it may not be written, when something else
    // than a regular file stands there, and when the new one cannot be written. When the old file cannot be removed, or
    // the new one not moved, the new one stays at ".tmp".
    void save(const WString& path);

private:
    void replace(const WString& path);

    keldb table_;
    int cookie_field_;
};

class KELDB_API Reader {
public:
    // One item of a container that was read.
    class KELDB_API Item {
    public:
        Item(const Cookie& id, dbrecord* record) : record_(record), id_(id) {}
        bool valid() const noexcept { return record_ && id_.valid(); }
        Cookie getCookie() const { return id_; }
        String getAttrib(unsigned index) const;  // empty out of range and for an item without a record
        // The number at the start of the text, 0 for an empty one; `fallback` out of range and without a record.
        int getAttrib(unsigned index, int fallback) const;
        double getAttrib(unsigned index, double fallback) const;

    private:
        dbrecord* record_;
        Cookie id_;
    };

    // Loads the file; with headerOnly no items.
    Reader(const WString& path, bool headerOnly);

    bool valid() const;                       // the file loaded and has a "Cookie" field
    Cookie getCookie() const { return id_; }  // from the file's base name
    unsigned getNumItems() const { return table_.get_num_records(); }
    Item getItem(unsigned i) const;  // not valid, with an empty identity, when there is none
    bool contains(const Cookie& id) const;
    CookieSet getContents() const;  // the identities of all items

    int getItemAttribIndex(const char* name) const;  // the field number, ignoring case; -1 when there is none

    // The container's own attributes; empty or `fallback` when absent, empty or the reader not valid. Numbers are read
    // from the start of the text.
    String getAttrib(const String& name) const;
    int getAttrib(const String& name, int fallback) const;
    double getAttrib(const String& name, double fallback) const;
    String getName() const { return getAttrib("Name"); }
    WString getNameW() const { return fromUTF8(getName()); }
    bool isPermanent() const;

private:
    int cookie_field() const { return table_.get_fieldnum("Cookie"); }

    keldb table_;
    Cookie id_;
};

// The identity that a container file's name stands for: its base name, converted to the kind 'M' when the path ends in
// "sg" and to 'B' when it ends in "rak" (any case, with or without a dot before).
KELDB_API Cookie getCookieFromFilename(const WString& path);

}  // namespace QVContainerFile

#endif
