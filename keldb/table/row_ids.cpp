#include "keldb/table/row_ids.h"

#include <algorithm>
#include <functional>

namespace kel {
namespace {

std::uint32_t hash_of(std::string_view id) noexcept {
    const std::size_t hash = std::hash<std::string_view>{}(id);
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

}  // namespace

void RowIds::clear() noexcept {
    entries_.clear();
    slots_.clear();
}

void RowIds::reserve(std::size_t count) {
    entries_.reserve(count);
    std::size_t slots = 16;
    while (slots < 2 * count) slots *= 2;
    if (slots > slots_.size()) grow(slots);
}

// Where the identifier stands, or the free slot where it would.
std::size_t RowIds::slot_of(std::string_view id, std::uint32_t hash) const noexcept {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    while (slots_[slot] != kFree) {
        const Entry& entry = entries_[slots_[slot]];
        if (entry.hash == hash && entry.id == id) break;
        slot = (slot + 1) & mask;
    }
    return slot;
}

int RowIds::find(std::string_view id) const noexcept {
    if (slots_.empty()) return -1;
    const std::uint32_t index = slots_[slot_of(id, hash_of(id))];
    return index == kFree ? -1 : entries_[index].row;
}

void RowIds::make_room_for_one() {
    if (entries_.size() == entries_.capacity()) entries_.reserve(2 * entries_.size() + 8);
    if (2 * (entries_.size() + 1) > slots_.size()) grow(std::max<std::size_t>(16, 2 * slots_.size()));
}

template <class Id>
RowIds::Entry& RowIds::entry_of(const Id& id, int row) {
    make_room_for_one();
    const std::uint32_t hash = hash_of(id);
    std::uint32_t& index = slots_[slot_of(id, hash)];
    if (index == kFree) {
        entries_.push_back({String(id), row, hash});
        index = static_cast<std::uint32_t>(entries_.size() - 1);
    }
    return entries_[index];
}

void RowIds::put(const String& id, int row) noexcept { entry_of(id, row).row = row; }
void RowIds::put_first(std::string_view id, int row) { entry_of(id, row); }

void RowIds::grow(std::size_t slots) {
    std::vector<std::uint32_t> grown(slots, kFree);
    for (std::uint32_t i = 0; i < entries_.size(); ++i) {
        std::size_t slot = entries_[i].hash & (slots - 1);
        while (grown[slot] != kFree) slot = (slot + 1) & (slots - 1);
        grown[slot] = i;
    }
    slots_.swap(grown);
}

bool RowIds::ok() const noexcept {
    return std::all_of(entries_.begin(), entries_.end(), [this](const Entry& entry) {
        return slots_[slot_of(entry.id, entry.hash)] == static_cast<std::uint32_t>(&entry - entries_.data());
    });
}

}  // namespace kel
