#include "keldb/fields/dbrecord.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

#include "keldb/support/ascii.h"

static_assert(sizeof(dbrecord) == 24, "a table holds a million of these");

namespace {

// The longest double with eight decimals has a sign, 309 digits and a point before them.
constexpr std::size_t kLongestNumber = 352;

}  // namespace

dbrecord& dbrecord::operator=(const dbrecord& other) {
    values_.resize(other.values_.size());
    note_quiet_write();
    for (unsigned short i = 0; i < values_.size(); ++i) set_field(i, other.values_.text(i), true);
    return *this;
}

dbrecord* dbrecord::make_packed(const kel::ValueBuilder& values) {
    static_assert(sizeof(dbrecord) % alignof(std::uint64_t) == 0);
    void* memory = ::operator new(sizeof(dbrecord) + kel::FieldValues::packed_size(values));
    dbrecord* record = new (memory) dbrecord(static_cast<unsigned short>(0));
    record->values_.pack_into(record + 1, values);
    return record;
}

const String& dbrecord::getField(unsigned short i) const {
    static const String nothing;
    return i < values_.size() ? values_.string(i) : nothing;
}

int dbrecord::get_field_size(int i) const noexcept {
    if (!fieldIdxValid(i)) return 0;
    const std::size_t size = values_.text(static_cast<unsigned short>(i)).size();
    return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

int dbrecord::in_field(int i, int& out) const noexcept {
    if (!fieldIdxValid(i)) return 0;
    out = kel::read_int(values_.text(static_cast<unsigned short>(i)));
    return 1;
}

int dbrecord::in_field(int i, double& out) const noexcept {
    if (!fieldIdxValid(i)) return 0;
    out = kel::read_double(values_.text(static_cast<unsigned short>(i)));
    return 1;
}

int dbrecord::in_field(int i, bool& out) const noexcept {
    if (!fieldIdxValid(i)) return 0;
    out = values_.text(static_cast<unsigned short>(i)).starts_with('t');
    return 1;
}

int dbrecord::in_field(int i, char* text, int length) const noexcept {
    if (!fieldIdxValid(i) || !text || length < 0) return 0;
    const std::string_view value = values_.text(static_cast<unsigned short>(i));
    const std::size_t room = static_cast<std::size_t>(length), copied = std::min(value.size(), room);
    std::memcpy(text, value.data(), copied);
    std::memset(text + copied, 0, room - copied + 1);
    return 1;
}

int dbrecord::set_field(int i, std::string_view text, bool trim) {
    if (!fieldIdxValid(i)) return 0;
    values_.set(static_cast<unsigned short>(i), trim ? kel::skip_leading_space(text) : text);
    note_change();
    return 1;
}

int dbrecord::set_field(int i, const char* text, bool trim) {
    return set_field(i, text ? std::string_view(text) : std::string_view(), trim);
}

int dbrecord::set_field(int i, int value) {
    char text[kLongestNumber];
    const char* end = std::to_chars(text, text + sizeof text, value).ptr;
    return set_field(i, std::string_view(text, static_cast<std::size_t>(end - text)), true);
}

int dbrecord::set_field(int i, unsigned value) {
    char text[kLongestNumber];
    const char* end = std::to_chars(text, text + sizeof text, value).ptr;
    return set_field(i, std::string_view(text, static_cast<std::size_t>(end - text)), true);
}

int dbrecord::set_field(int i, double value) {
    char text[kLongestNumber];
    const char* end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 8).ptr;
    return set_field(i, std::string_view(text, static_cast<std::size_t>(end - text)), true);
}

int dbrecord::set_field(int i, bool value) { return set_field(i, std::string_view(value ? "t" : "f"), true); }

bool dbrecord::setField(unsigned short i, const String& value) {
    if (i >= values_.size()) return false;
    if (values_.text(i) == value.view()) return true;
    values_.set(i, value);
    note_change();
    return true;
}

void dbrecord::clear() noexcept {
    values_.clear();
    note_quiet_write();
}

void dbrecord::removeField(unsigned short i) noexcept {
    if (i >= values_.size()) return;
    values_.erase(i);
    note_quiet_write();
}

void dbrecord::resizeRecord(int count, const int* map, bool /*flag*/) {
    if (count < 0 || count > std::numeric_limits<unsigned short>::max() || !map) return;
    values_.resize(static_cast<unsigned short>(count));
    note_quiet_write();
}
