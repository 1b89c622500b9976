#include "keldb/support/string.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "keldb/support/platform.h"

namespace {

constexpr std::size_t kMostSpare = std::numeric_limits<unsigned>::max();
// A block must never be larger than what a pointer difference can count.
constexpr std::size_t kLongest = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / 2;

template <class Number>
String& append_decimal(String& text, Number number) {
    char digits[std::numeric_limits<Number>::digits10 + 3];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return text += std::string_view(digits, static_cast<std::size_t>(end - digits));
}

}  // namespace

String::Shared* String::allocate(std::size_t size, std::size_t spare) {
    if (size > kLongest) {
        throw Qv::Exception::BadAlloc();
    }
    spare = std::min(spare, kMostSpare);
    auto* block = static_cast<Shared*>(OS().reallocate(nullptr, sizeof(Shared) + size + spare));
    block->holders = 1;
    block->spare = static_cast<unsigned>(spare);
    block->size = size;
    block->text[size] = 0;
    return block;
}

void String::point_to(Shared* text) noexcept {
    std::memcpy(bytes_, &text, sizeof text);
    bytes_[kInline] = static_cast<char>(kSharedMark);
}

void String::make_shared(std::string_view text) {
    Shared* block = allocate(text.size(), 0);
    std::memcpy(block->text, text.data(), text.size());
    point_to(block);
}

void String::hold() noexcept { PlatformService::addHolder(shared()->holders); }

void String::let_go() noexcept {
    if (PlatformService::releaseHolder(shared()->holders)) {
        OS().free(shared());
    }
}

// Another thread may be letting go of its copy of the same text: its last reads come before ours from here on.
bool String::holds_alone() const noexcept {
    return is_shared() && __atomic_load_n(&shared()->holders, __ATOMIC_ACQUIRE) == 1;
}

// Room is not kept for a text that fills less than half of it: one long value must not hold its memory for good.
void String::assign(std::string_view text) {
    if (!is_shared() && text.size() <= kInline) {
        kel::copy_up_to_16(bytes_, text.data(), text.size());
        set_inline_size(text.size());
        return;
    }
    if (holds_alone()) {
        Shared* block = shared();
        const std::size_t room = block->size + block->spare;
        if (text.size() <= room && text.size() >= room / 2) {
            std::memmove(block->text, text.data(), text.size());
            block->size = text.size();
            block->spare = static_cast<unsigned>(std::min<std::size_t>(room - text.size(), kMostSpare));
            block->text[text.size()] = 0;
            return;
        }
    }
    String fresh(text);
    swap(fresh);
}

String& String::operator+=(std::string_view text) {
    if (text.empty()) {
        return *this;
    }
    const bool fits = is_shared() ? holds_alone() && shared()->spare >= text.size() : text.size() <= kInline - size();
    if (fits) {
        append_in_place(text);
    } else {
        append_in_new_block(text);
    }
    return *this;
}

// `text` may lie in this String: it ends before the first byte that is written.
void String::append_in_place(std::string_view text) noexcept {
    const std::size_t before = size();
    if (!is_shared()) {
        std::memcpy(bytes_ + before, text.data(), text.size());
        set_inline_size(before + text.size());
        return;
    }
    Shared* block = shared();
    std::memcpy(block->text + before, text.data(), text.size());
    block->size = before + text.size();
    block->spare -= static_cast<unsigned>(text.size());
    block->text[block->size] = 0;
}

// A text that grows a second time is given half its length of room, so that building one up takes linear time. The old
// block, in which `text` may lie, is let go last.
void String::append_in_new_block(std::string_view text) {
    const std::size_t before = size();
    if (text.size() > kLongest - before) {
        throw Qv::Exception::BadAlloc();
    }
    const std::size_t after = before + text.size();
    Shared* block = allocate(after, holds_alone() ? after / 2 : 0);
    std::memcpy(block->text, c_str(), before);
    std::memcpy(block->text + before, text.data(), text.size());
    if (is_shared()) {
        let_go();
    }
    point_to(block);
}

String& String::operator+=(int number) { return append_decimal(*this, number); }
String& String::operator+=(unsigned number) { return append_decimal(*this, number); }

String operator+(const String& a, std::string_view b) {
    String both(a);
    both += b;
    return both;
}
