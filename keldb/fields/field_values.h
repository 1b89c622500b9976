// FieldValues: the texts of one record.
//
// A loaded record keeps its texts packed in one block of memory, one after the other; a record that was never written
// to keeps nothing at all. A write, or a request for a value as a String, opens the record up: from then on each value
// so written or asked for is a String of its own, and the others stay where they were. So a text pointer, once handed
// out, stays good until that value is written, values are added or removed, or the FieldValues goes.
//
//     packed   block_ -> [size] [end of value 0, 1, 2 ...] [text 0 \0 text 1 \0 ...]
//     open     block_ -> [size] [before: the packed values] [which values are Strings] [String 0, String 1, ...]
//     blank    block_ is null: every value is empty
//
// An end is the offset behind a value's zero byte, counted from the first text: 16 bits wide while the texts fit in
// 65535 bytes, else 32.
//
// A packed block may lie in memory that somebody else frees, right behind the record that it belongs to (embedded): a
// loaded record is one allocation. Such a FieldValues does not outlive that memory; copies of it have blocks of their
// own.
//
// Which form it is, and for how many values the block has a place (`stored`), stands beside the pointer, so that a
// value is found with one step into the block.
//
// Invariants: values from `stored` on are empty; in the open form `stored` is the count at which the record was opened
// up and has not grown since, the values before are as many as these, and not open, and no String moves while the count
// stays; every text is followed by a zero byte.
// Used from one thread at a time, reading included (reading a value as a String may open the record up).
#ifndef KELDB_FIELDS_FIELD_VALUES_H
#define KELDB_FIELDS_FIELD_VALUES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/string.h"

namespace kel {

// Collects the values of one record, to be packed into a FieldValues in one go. Reused from record to record.
class KELDB_API ValueBuilder {
public:
    // Forgets all values and makes room for texts of `bytes` in all, their zero bytes included; returns where to write
    // the first text.
    char* start(std::size_t bytes);
    // The text that began at the last returned place ends before `end` (which lies inside the room); returns where to
    // write the next one.
    char* finish_value(char* end) {
        *end++ = '\0';
        ends_.push_back(static_cast<std::uint32_t>(end - texts_.data()));  // wraps only beyond any value that is kept
        return end;
    }
    void append(std::string_view text);  // for callers without a place of their own; makes its own room

    std::size_t size() const noexcept { return ends_.size(); }
    std::string_view text(std::size_t i) const noexcept;

private:
    friend class FieldValues;
    std::vector<char> texts_;
    std::vector<std::uint32_t> ends_;
};

class KELDB_API FieldValues {
public:
    explicit FieldValues(unsigned short count = 0) noexcept : count_(count) {}
    FieldValues(const FieldValues& other);
    FieldValues(FieldValues&& other) noexcept : FieldValues() { swap(other); }
    FieldValues& operator=(FieldValues other) noexcept {
        swap(other);
        return *this;
    }
    ~FieldValues() { drop_block(); }
    void swap(FieldValues& other) noexcept;

    unsigned short size() const noexcept { return count_; }
    bool all_empty() const noexcept;

    // In all of these i is below size().
    std::string_view text(unsigned short i) const noexcept {
        if (i >= stored_) return {kNothing, 0};
        if (form_ == Form::narrow) {
            const std::uint16_t* ends = narrow_ends();
            const std::size_t begin = i ? ends[i - 1] : 0;
            return {narrow_texts() + begin, ends[i] - begin - 1};
        }
        return other_text(i);
    }
    // A String with the value: as String(text(i)), quicker, and sharing its text with the String that is there already.
    String copy(unsigned short i) const {
        if (i >= stored_ || form_ != Form::narrow) return other_copy(i);
        const std::size_t readable =
            static_cast<std::size_t>(narrow_texts() + narrow_ends()[stored_ - 1] - text(i).data());
        return String::copied(text(i), readable);
    }
    std::size_t total_size() const noexcept;  // the lengths of all texts, added up

    // act(text, readable) for each value in order; `readable` bytes from the text's start may be read, its own at
    // least. In the narrow form these are kSlack at least: texts near the block's end are shown in a copy, which is
    // gone when for_each returns.
    static constexpr std::size_t kSlack = 32;
    template <class Act>
    void for_each(Act act) const {
        if (form_ == Form::narrow && stored_ != 0) {
            const std::uint16_t* ends = narrow_ends();
            const char* texts = narrow_texts();
            const std::size_t all = ends[stored_ - 1];
            std::size_t begin = 0;
            unsigned i = 0;
            for (; i < stored_ && all - begin >= kSlack; begin = ends[i++])
                act(std::string_view(texts + begin, ends[i] - begin - 1), all - begin);
            char last[2 * kSlack] = {};
            std::memcpy(last, texts + begin, all - begin);
            for (const std::size_t from = begin; i < stored_; begin = ends[i++])
                act(std::string_view(last + (begin - from), ends[i] - begin - 1), sizeof last - (begin - from));
        } else {
            for (unsigned short i = 0; i < std::min(stored_, count_); ++i) {
                const std::string_view value = other_text(i);
                act(value, value.size());
            }
        }
        for (unsigned i = stored_; i < count_; ++i) act(std::string_view(kNothing, 0), 0);
    }

    const String& string(unsigned short i) const;  // opens the record up; the reference lives like a text pointer

    // Strong: when memory is out nothing has changed. The text may lie in this very object.
    void set(unsigned short i, std::string_view text);
    void set(unsigned short i, const String& text);

    void pack(const ValueBuilder& values);  // replaces everything; more than 65535 values are cut to their low 16 bits
    // The same in two steps, for who brings the memory: how many bytes a packed block takes (0: none is needed), and
    // the packing into that many bytes, aligned to 8.
    static std::size_t packed_size(const ValueBuilder& values) noexcept;
    void pack_into(void* memory, const ValueBuilder& values) noexcept;
    void clear() noexcept;                  // every value empty, the count stays
    void resize(unsigned short count);      // drops values at the end (never fails) or adds empty ones (strong)
    void erase(unsigned short i) noexcept;  // later values move down by one

    const void* address() const noexcept { return block_; }  // where the texts lie, for loops that fetch ahead
    bool ok() const noexcept;                                // the invariants above

private:
    enum class Form : std::uint8_t { narrow, wide, open };  // ends of 16 or 32 bits, or Strings
    struct Block {
        std::uint32_t size;  // bytes of the block
        bool embedded;
    };
    static_assert(sizeof(Block) == 8);
    struct Open;  // the block of the open form
    template <class End>
    struct Packed;  // a packed block read with ends of this width
    template <class Act>
    auto packed(Act act) const;  // act(Packed) with the width that it is in
    static constexpr const char* kNothing = "";

    const std::uint16_t* narrow_ends() const noexcept { return reinterpret_cast<const std::uint16_t*>(block_ + 1); }
    const char* narrow_texts() const noexcept { return reinterpret_cast<const char*>(narrow_ends() + stored_); }
    std::string_view other_text(unsigned short i) const noexcept;
    String other_copy(unsigned short i) const;
    Open open() const noexcept;
    Open opened_up() const;
    bool overwrite(unsigned short i, std::string_view text) noexcept;
    void drop_block() noexcept;
    static void free_block(Block* block) noexcept;
    void take_block(Block* block, const ValueBuilder& values, bool embedded) noexcept;

    mutable Block* block_ = nullptr;
    unsigned short count_;
    mutable std::uint16_t stored_ = 0;  // 0 without a block
    mutable Form form_ = Form::narrow;
};

}  // namespace kel

#endif
