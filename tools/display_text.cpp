#include "display_text.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "keldb/support/ascii.h"
#include "keldb/support/wstring.h"

namespace tool {
namespace {

struct Range {
    char32_t first, last;
};

// Characters of two columns and of none: the ranges that matter for names and notes, from the Unicode standard's
// East_Asian_Width (W, F) and General_Category (Mn, Me, Cf).
constexpr std::array kWide = {
    Range{0x1100, 0x115F},   Range{0x231A, 0x231B},   Range{0x23E9, 0x23EC},   Range{0x2E80, 0x303E},
    Range{0x3041, 0xA4CF},   Range{0xA960, 0xA97F},   Range{0xAC00, 0xD7A3},   Range{0xF900, 0xFAFF},
    Range{0xFE30, 0xFE6F},   Range{0xFF00, 0xFF60},   Range{0xFFE0, 0xFFE6},   Range{0x1F300, 0x1F64F},
    Range{0x1F680, 0x1F6FF}, Range{0x1F900, 0x1FAFF}, Range{0x20000, 0x3FFFD},
};
constexpr std::array kOfNoWidth = {
    Range{0x00AD, 0x00AD}, Range{0x0300, 0x036F}, Range{0x0483, 0x0489},   Range{0x0591, 0x05BD}, Range{0x0610, 0x061A},
    Range{0x064B, 0x065F}, Range{0x0E31, 0x0E31}, Range{0x0E34, 0x0E3A},   Range{0x0E47, 0x0E4E}, Range{0x1AB0, 0x1AFF},
    Range{0x1DC0, 0x1DFF}, Range{0x200B, 0x200F}, Range{0x2060, 0x2064},   Range{0x20D0, 0x20FF}, Range{0xFE00, 0xFE0F},
    Range{0xFE20, 0xFE2F}, Range{0xFEFF, 0xFEFF}, Range{0xE0100, 0xE01EF},
};
constexpr Range kBytesOfNoText = {0xDC80, 0xDCFF};  // as fromUTF8 reads bytes that are no UTF-8
constexpr Range kFurtherControls = {0x0080, 0x009F};
constexpr Range kDirectionChanges = {0x202A, 0x202E};  // would reorder the rest of the line
constexpr Range kIsolates = {0x2066, 0x2069};          // the same
constexpr Range kLineSeparators = {0x2028, 0x2029};
constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kDelete = 0x7F;

bool within(Range range, char32_t c) { return c >= range.first && c <= range.last; }

template <class Ranges>
bool in_one_of(const Ranges& ranges, char32_t c) {
    const auto range = std::lower_bound(std::begin(ranges), std::end(ranges), c,
                                        [](Range known, char32_t wanted) { return known.last < wanted; });
    return range != std::end(ranges) && within(*range, c);
}

bool is_plain(char c) { return c >= ' ' && c <= '~'; }
bool all_plain(std::string_view text) { return std::all_of(text.begin(), text.end(), is_plain); }

std::wstring characters(std::string_view text) { return fromUTF8(String(text)).text(); }

char32_t shown_as(char32_t c) {
    constexpr char32_t kPictures = 0x2400;
    constexpr char32_t kDeletePicture = 0x2421;
    constexpr char32_t kReturnArrow = 0x21B5;
    if (c == U'\n') return kReturnArrow;
    if (c < U' ') return kPictures + c;
    if (c == kDelete) return kDeletePicture;
    const bool unfit = within(kBytesOfNoText, c) || within(kFurtherControls, c) || within(kDirectionChanges, c) ||
                       within(kIsolates, c) || within(kLineSeparators, c);
    return unfit ? kReplacement : c;
}

std::size_t width_of(char32_t c) {
    if (in_one_of(kOfNoWidth, c)) return 0;
    return in_one_of(kWide, c) ? 2 : 1;
}

}  // namespace

std::string displayable(std::string_view value) {
    if (all_plain(value)) return std::string(value);
    std::wstring text = characters(value);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(shown_as(static_cast<char32_t>(c))); });
    return std::string(toUTF8(WString(std::move(text))).view());
}

std::size_t display_width(std::string_view text) {
    if (all_plain(text)) return text.size();
    std::size_t width = 0;
    for (const wchar_t c : characters(text)) width += width_of(static_cast<char32_t>(c));
    return width;
}

std::string cut_to_width(std::string_view text, std::size_t width) {
    if (display_width(text) <= width) return std::string(text);
    std::wstring kept;
    std::size_t used = 1;  // the ellipsis
    for (const wchar_t c : characters(text)) {
        used += width_of(static_cast<char32_t>(c));
        if (used > width) break;
        kept.push_back(c);
    }
    while (!kept.empty() && kept.back() == L' ') kept.pop_back();
    return std::string(toUTF8(WString(kept + L'\u2026')).view());
}

}  // namespace tool
