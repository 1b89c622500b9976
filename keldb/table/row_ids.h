// RowIds: from a record's identifier to its row.
//
// Invariants: no stored row has moved since it was stored; each identifier is held once. The map may be incomplete: it
// is built in full only from empty, and single entries may be put in before that. A hash table over a flat list of
// entries; identifiers are compared byte by byte, as Cookie compares them.
#ifndef KELDB_TABLE_ROW_IDS_H
#define KELDB_TABLE_ROW_IDS_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "keldb/support/string.h"

namespace kel {

class RowIds {
public:
    // The state of the table that the map was made for: while it is the same, every identifier stands where it says.
    struct Stamp {
        unsigned long long writes;
        unsigned long long layout;
        bool operator==(const Stamp&) const = default;
    };
    const Stamp& stamp() const noexcept { return stamp_; }
    void set_stamp(const Stamp& stamp) noexcept { stamp_ = stamp; }

    bool empty() const noexcept { return entries_.empty(); }
    void clear() noexcept;
    void reserve(std::size_t count);

    int find(std::string_view id) const noexcept;  // the row, or -1
    void make_room_for_one();                      // may raise std::bad_alloc; then nothing has changed
    void put(const String& id, int row) noexcept;  // replaces the row of one that is there; room was made before
    void put_first(std::string_view id, int row);  // leaves the row of one that is there
    bool ok() const noexcept;

private:
    struct Entry {
        String id;
        int row;
        std::uint32_t hash;
    };
    static constexpr std::uint32_t kFree = UINT32_MAX;

    std::size_t slot_of(std::string_view id, std::uint32_t hash) const noexcept;
    // Made with that row when there is none. A String shares its text with the entry and so takes no memory for it.
    template <class Id>
    Entry& entry_of(const Id& id, int row);
    void grow(std::size_t slots);

    Stamp stamp_{0, 0};
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> slots_;  // index of an entry or kFree; a power of two, at most half of it in use
};

}  // namespace kel

#endif
