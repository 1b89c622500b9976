#include "keldb/support/text_search.h"

#include <array>

#include "keldb/support/words.h"

namespace {

constexpr bool is_separator(unsigned char c) { return c == ':' || c == ';' || c == '.' || c == ','; }

constexpr std::array<unsigned char, 256> kTimecodeFolded = [] {
    std::array<unsigned char, 256> table = kel::kFolded;
    for (unsigned char& c : table) {
        c = is_separator(c) ? ':' : c;
    }
    return table;
}();

constexpr bool is_word_part(char c) {
    return kel::is_letter(c) || kel::is_digit(c) || static_cast<unsigned char>(c) > 127;
}

}  // namespace

bool TextSearch::match(const String& text, const Criteria& criteria, unsigned flags) {
    return kel::Needle(criteria.getCriterion(0).text(), flags).found_in(text);
}

namespace kel {

// The anchors are the outermost bytes; no separators if there are others, which ask for less work.
Needle::Needle(std::string_view wanted, unsigned flags)
    : wanted_(wanted), fold_((flags & TextSearch::kTimecode) ? kTimecodeFolded.data() : kFolded.data()), flags_(flags) {
    if (wanted_.empty()) {
        return;
    }
    for (char& c : wanted_) {
        c = static_cast<char>(fold_[static_cast<unsigned char>(c)]);
    }
    std::size_t first = 0;
    std::size_t last = wanted_.size() - 1;
    while (first < last && separates(wanted_[first])) {
        ++first;
    }
    while (first < last && separates(wanted_[last])) {
        --last;
    }
    first_ = anchor(first);
    last_ = anchor(last);
}

bool Needle::separates(char c) const noexcept { return c == ':' && (flags_ & TextSearch::kTimecode); }

Needle::Anchor Needle::anchor(std::size_t at) const noexcept {
    const char c = wanted_[at];
    return {at, separates(c), word_of(static_cast<unsigned char>(c)), is_lower(c) ? word_of(0x20) : 0};
}

// The top bit of each byte of the word that is seen as this one.
std::uint64_t Needle::Anchor::hits(std::uint64_t word) const noexcept {
    if (separator) {
        return zero_bytes(word ^ word_of(':')) | zero_bytes(word ^ word_of(';')) | zero_bytes(word ^ word_of('.')) |
               zero_bytes(word ^ word_of(','));
    }
    return zero_bytes((word | case_bits) ^ byte);
}

bool Needle::found_in(std::string_view text) const noexcept {
    if (wanted_.empty()) {
        return true;
    }
    if (text.size() < wanted_.size()) {
        return false;
    }
    const std::size_t places = text.size() - wanted_.size() + 1;
    for (std::size_t at = 0; at < places; at += kWord) {
        std::uint64_t hits = first_.hits(load_word_at(text, at + first_.at));
        hits &= last_.hits(load_word_at(text, at + last_.at));
        for (; hits; hits &= hits - 1) {
            const std::size_t place = at + first_byte_set(hits);
            if (place >= places) {
                return false;
            }
            if (stands_at(text, place)) {
                return true;
            }
        }
    }
    return false;
}

bool Needle::stands_at(std::string_view text, std::size_t at) const noexcept {
    for (std::size_t i = 0; i < wanted_.size(); ++i) {
        if (fold_[static_cast<unsigned char>(text[at + i])] != static_cast<unsigned char>(wanted_[i])) {
            return false;
        }
    }
    const std::size_t end = at + wanted_.size();
    return !(flags_ & TextSearch::kWholeWords) ||
           ((at == 0 || !is_word_part(text[at - 1])) && (end == text.size() || !is_word_part(text[end])));
}

}  // namespace kel
