#include "keldb/fields/field_values.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace kel {

char* ValueBuilder::start(std::size_t bytes) {
    ends_.clear();
    if (texts_.size() < bytes) texts_.resize(std::max(bytes, 2 * texts_.size()));
    return texts_.data();
}

void ValueBuilder::append(std::string_view text) {
    const std::size_t at = ends_.empty() ? 0 : ends_.back();
    if (texts_.size() < at + text.size() + 1) texts_.resize(2 * (at + text.size() + 1));
    if (!text.empty()) std::memcpy(texts_.data() + at, text.data(), text.size());
    finish_value(texts_.data() + at + text.size());
}

std::string_view ValueBuilder::text(std::size_t i) const noexcept {
    const std::size_t begin = i ? ends_[i - 1] : 0;
    return {texts_.data() + begin, ends_[i] - begin - 1};
}

// A packed block: `stored` ends, then the texts. Taking values out moves the texts within the block, so that they
// always follow the last end.
template <class End>
struct FieldValues::Packed {
    Block* block;
    std::uint16_t& stored;

    End* ends() const { return reinterpret_cast<End*>(block + 1); }
    char* texts() const { return reinterpret_cast<char*>(ends() + stored); }
    std::size_t begin(unsigned i) const { return i ? ends()[i - 1] : 0; }
    std::size_t bytes() const { return begin(stored); }
    std::string_view text(unsigned i) const { return {texts() + begin(i), ends()[i] - begin(i) - 1}; }
    char* place(unsigned i) const { return texts() + begin(i); }

    static std::size_t size_for(const ValueBuilder& values, std::uint16_t count) {
        return sizeof(Block) + count * sizeof(End) + values.ends_[count - 1U];
    }

    void fill(const ValueBuilder& values, bool embedded) const {
        *block = {static_cast<std::uint32_t>(size_for(values, stored)), embedded};
        for (unsigned i = 0; i < stored; ++i) ends()[i] = static_cast<End>(values.ends_[i]);
        std::memcpy(texts(), values.texts_.data(), values.ends_[stored - 1U]);
    }

    void drop_from(std::uint16_t count) const {
        const std::size_t left = begin(count);
        char* from = texts();
        stored = count;
        std::memmove(texts(), from, left);
    }

    void erase(unsigned i) const {
        const std::size_t from = begin(i), to = ends()[i], all = bytes(), gone = to - from;
        std::memmove(texts() + from, texts() + to, all - to);
        char* old_texts = texts();
        for (unsigned k = i; k + 1 < stored; ++k) ends()[k] = static_cast<End>(ends()[k + 1] - gone);
        --stored;
        std::memmove(texts(), old_texts, all - gone);
    }

    bool ok() const {
        for (unsigned i = 0; i < stored; ++i) {
            if (ends()[i] <= begin(i) || texts()[ends()[i] - 1] != '\0') return false;
        }
        return static_cast<std::size_t>(texts() - reinterpret_cast<char*>(block)) + bytes() <= block->size;
    }
};

template <class Act>
auto FieldValues::packed(Act act) const {
    return form_ == Form::wide ? act(Packed<std::uint32_t>{block_, stored_})
                               : act(Packed<std::uint16_t>{block_, stored_});
}

// What lies in the block of the open form, seen with the count of Strings that it has room for. That count stands
// beside the pointer: so a String is found without a look at the block's head, which is another line of the cache.
struct FieldValues::Open {
    struct Head {
        Block block;
        FieldValues before;
    };

    Head* head;
    unsigned room;

    static unsigned words(unsigned room) { return (room + 63) / 64; }
    static std::size_t size_for(unsigned room) {
        return sizeof(Head) + words(room) * sizeof(std::uint64_t) + room * sizeof(String);
    }

    FieldValues& before() const { return head->before; }
    std::uint64_t* bits() const { return reinterpret_cast<std::uint64_t*>(head + 1); }
    String* strings() const { return reinterpret_cast<String*>(bits() + words(room)); }
    bool has(unsigned i) const { return (bits()[i / 64] >> (i % 64) & 1U) != 0; }

    // The value as a String, made from `from` if there is none yet.
    template <class From>
    String& made(unsigned i, From&& from) const {
        new (strings() + i) String(std::forward<From>(from));
        bits()[i / 64] |= std::uint64_t{1} << (i % 64);
        return strings()[i];
    }
    void drop(unsigned i) const {
        if (!has(i)) return;
        std::destroy_at(strings() + i);
        bits()[i / 64] &= ~(std::uint64_t{1} << (i % 64));
    }
    void move(unsigned from, unsigned to) const {
        if (!has(from)) return;
        made(to, std::move(strings()[from]));
        drop(from);
    }

    std::string_view text(unsigned short i) const { return has(i) ? strings()[i].view() : before().text(i); }
};

FieldValues::FieldValues(const FieldValues& other) : FieldValues(other.count_) {
    if (!other.block_) return;
    if (other.form_ == Form::open) {
        const Open from = other.open(), to = opened_up();
        to.before() = from.before();
        for (unsigned i = 0; i < count_; ++i)
            if (from.has(i)) to.made(i, from.strings()[i]);
        return;
    }
    block_ = static_cast<Block*>(::operator new(other.block_->size));
    std::memcpy(block_, other.block_, other.block_->size);
    block_->embedded = false;
    stored_ = other.stored_;
    form_ = other.form_;
}

void FieldValues::swap(FieldValues& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(count_, other.count_);
    std::swap(stored_, other.stored_);
    std::swap(form_, other.form_);
}

bool FieldValues::all_empty() const noexcept { return total_size() == 0; }

std::size_t FieldValues::total_size() const noexcept {
    if (stored_ == 0) return 0;
    if (form_ != Form::open) return packed([this](auto block) { return block.bytes() - stored_; });
    std::size_t total = 0;
    for (unsigned short i = 0; i < count_; ++i) total += open().text(i).size();
    return total;
}

std::string_view FieldValues::other_text(unsigned short i) const noexcept {
    return form_ == Form::wide ? Packed<std::uint32_t>{block_, stored_}.text(i) : open().text(i);
}

String FieldValues::other_copy(unsigned short i) const {
    if (form_ == Form::open && i < stored_ && open().has(i)) return open().strings()[i];
    return String(text(i));
}

const String& FieldValues::string(unsigned short i) const {
    const Open values = opened_up();
    return values.has(i) ? values.strings()[i] : values.made(i, values.before().text(i));
}

void FieldValues::set(unsigned short i, std::string_view new_text) {
    if (overwrite(i, new_text)) return;
    const Open values = opened_up();
    if (values.has(i)) {
        values.strings()[i].assign(new_text);
    } else {
        values.made(i, new_text);
    }
}

void FieldValues::set(unsigned short i, const String& new_text) {
    if (overwrite(i, new_text.view())) return;
    const Open values = opened_up();
    if (values.has(i)) {
        values.strings()[i] = new_text;
    } else {
        values.made(i, new_text);
    }
}

// A packed value is rewritten in its place when the new text is as long as the old one.
bool FieldValues::overwrite(unsigned short i, std::string_view new_text) noexcept {
    if (form_ == Form::open || new_text.size() != text(i).size()) return false;
    if (!new_text.empty())
        std::memmove(packed([i](auto block) { return block.place(i); }), new_text.data(), new_text.size());
    return true;
}

std::size_t FieldValues::packed_size(const ValueBuilder& values) noexcept {
    const auto count = static_cast<std::uint16_t>(values.size());
    if (count == 0 || values.ends_[count - 1U] == count) return 0;
    const bool narrow = values.ends_[count - 1U] <= UINT16_MAX;
    return narrow ? Packed<std::uint16_t>::size_for(values, count) : Packed<std::uint32_t>::size_for(values, count);
}

void FieldValues::take_block(Block* block, const ValueBuilder& values, bool embedded) noexcept {
    drop_block();
    count_ = static_cast<std::uint16_t>(values.size());
    if (!block) return;
    block_ = block;
    stored_ = count_;
    form_ = values.ends_[count_ - 1U] <= UINT16_MAX ? Form::narrow : Form::wide;
    packed([&](auto fresh) { fresh.fill(values, embedded); });
}

void FieldValues::pack_into(void* memory, const ValueBuilder& values) noexcept {
    take_block(packed_size(values) == 0 ? nullptr : static_cast<Block*>(memory), values, true);
}

void FieldValues::pack(const ValueBuilder& values) {
    const std::size_t size = packed_size(values);
    take_block(size == 0 ? nullptr : static_cast<Block*>(::operator new(size)), values, false);
}

void FieldValues::clear() noexcept { drop_block(); }

void FieldValues::resize(unsigned short count) {
    if (form_ != Form::open) {
        if (count < stored_) packed([count](auto block) { block.drop_from(count); });
        count_ = count;
    } else if (count > count_) {
        FieldValues wider(count);
        const Open from = open(), to = wider.opened_up();
        for (unsigned i = 0; i < count_; ++i)
            if (from.has(i)) to.made(i, std::move(from.strings()[i]));
        to.before().swap(from.before());
        to.before().resize(count);
        swap(wider);
    } else {
        for (unsigned i = count; i < count_; ++i) open().drop(i);
        open().before().resize(count);
        count_ = count;
    }
}

void FieldValues::erase(unsigned short i) noexcept {
    if (form_ == Form::open) {
        const Open values = open();
        values.drop(i);
        for (unsigned k = i + 1U; k < count_; ++k) values.move(k, k - 1);
        values.before().erase(i);
    } else if (i < stored_) {
        packed([i](auto block) { block.erase(i); });
    }
    --count_;
}

FieldValues::Open FieldValues::open() const noexcept { return {reinterpret_cast<Open::Head*>(block_), stored_}; }

// No text is copied: that is for those values that are written or asked for.
FieldValues::Open FieldValues::opened_up() const {
    if (form_ != Form::open) {
        const std::size_t size = Open::size_for(count_);
        auto* head =
            new (::operator new(size)) Open::Head{{static_cast<std::uint32_t>(size), false}, FieldValues(count_)};
        std::swap(head->before.block_, block_);
        std::swap(head->before.stored_, stored_);
        std::swap(head->before.form_, form_);
        block_ = &head->block;
        stored_ = count_;
        form_ = Form::open;
        std::fill_n(open().bits(), Open::words(count_), 0);
    }
    return open();
}

void FieldValues::drop_block() noexcept {
    if (block_ && form_ == Form::open) {
        for (unsigned i = 0; i < count_; ++i) open().drop(i);
        std::destroy_at(open().head);
    }
    free_block(block_);
    block_ = nullptr;
    stored_ = 0;
    form_ = Form::narrow;
}

void FieldValues::free_block(Block* block) noexcept {
    if (block && !block->embedded) ::operator delete(block);
}

bool FieldValues::ok() const noexcept {
    if (!block_) return stored_ == 0 && form_ == Form::narrow;
    if (form_ != Form::open) return stored_ <= count_ && packed([](auto block) { return block.ok(); });
    const FieldValues& before = open().before();
    return stored_ >= count_ && before.count_ == count_ && before.form_ != Form::open && before.ok();
}

}  // namespace kel
