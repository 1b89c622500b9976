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

void ValueBuilder::truncate(std::size_t count) {
    if (count < ends_.size()) ends_.resize(count);
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

FieldValues::FieldValues(const FieldValues& other) : count_(other.count_) {
    if (!other.block_) return;
    if (other.form_ == Form::open) {
        open_up();
        std::copy_n(other.strings(), count_, strings());
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

bool FieldValues::all_empty() const noexcept {
    if (stored_ == 0) return true;
    if (form_ != Form::open) return packed([this](auto block) { return block.bytes() == stored_; });
    return std::all_of(strings(), strings() + count_, [](const String& value) { return value.empty(); });
}

std::string_view FieldValues::other_text(unsigned short i) const noexcept {
    return form_ == Form::wide ? Packed<std::uint32_t>{block_, stored_}.text(i) : strings()[i].view();
}

const String& FieldValues::string(unsigned short i) const {
    if (form_ != Form::open) open_up();
    return strings()[i];
}

void FieldValues::set(unsigned short i, std::string_view new_text) {
    if (form_ == Form::open || !overwrite(i, new_text)) put(i, String(new_text));
}

void FieldValues::set(unsigned short i, const String& new_text) {
    if (form_ == Form::open || !overwrite(i, new_text.view())) put(i, String(new_text));
}

// A copy comes in, since the text may lie in this very object.
void FieldValues::put(unsigned short i, String&& value) {
    if (form_ != Form::open) open_up();
    strings()[i].swap(value);
}

// A packed value is rewritten in its place when the new text is as long as the old one.
bool FieldValues::overwrite(unsigned short i, std::string_view new_text) noexcept {
    if (new_text.size() != text(i).size()) return false;
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
        wider.open_up();
        std::move(strings(), strings() + count_, wider.strings());
        swap(wider);
    } else {
        std::destroy(strings() + count, strings() + count_);
        stored_ = count_ = count;
    }
}

void FieldValues::erase(unsigned short i) noexcept {
    if (form_ == Form::open) {
        std::move(strings() + i + 1, strings() + count_, strings() + i);
        std::destroy_at(strings() + count_ - 1);
        --stored_;
    } else if (i < stored_) {
        packed([i](auto block) { block.erase(i); });
    }
    --count_;
}

String* FieldValues::strings() const noexcept {
    return reinterpret_cast<String*>(reinterpret_cast<char*>(block_ + 1) + sizeof(Block*));
}

FieldValues::Block*& FieldValues::kept() const noexcept { return *reinterpret_cast<Block**>(block_ + 1); }

void FieldValues::open_up() const {
    const std::size_t size = sizeof(Block) + sizeof(Block*) + count_ * sizeof(String);
    struct Memory {  // freed again when a text cannot be copied
        void* block;
        ~Memory() { ::operator delete(block); }
    } memory{::operator new(size)};
    String* opened = reinterpret_cast<String*>(static_cast<char*>(memory.block) + sizeof(Block) + sizeof(Block*));
    unsigned short made = 0;
    try {
        for (; made < count_; ++made) new (opened + made) String(text(made));
    } catch (...) {
        std::destroy_n(opened, made);
        throw;
    }
    Block* before = block_;
    block_ = static_cast<Block*>(std::exchange(memory.block, nullptr));
    *block_ = {static_cast<std::uint32_t>(size), false};
    stored_ = count_;
    form_ = Form::open;
    kept() = before;
}

void FieldValues::drop_block() noexcept {
    if (block_ && form_ == Form::open) {
        std::destroy_n(strings(), stored_);
        free_block(kept());
    }
    free_block(block_);
    block_ = nullptr;
    stored_ = 0;
    form_ = Form::narrow;
}

void FieldValues::free_block(Block* block) noexcept {
    if (block && !block->embedded) ::operator delete(block);
}

std::size_t FieldValues::memory() const noexcept {
    if (!block_) return 0;
    const std::size_t packed_bytes = form_ == Form::open && kept() ? kept()->size : 0;
    return block_->size + packed_bytes;
}

bool FieldValues::ok() const noexcept {
    if (!block_) return stored_ == 0 && form_ == Form::narrow;
    if (form_ == Form::open) return stored_ == count_;
    return stored_ <= count_ && packed([](auto block) { return block.ok(); });
}

}  // namespace kel
