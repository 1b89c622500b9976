#include "keldb/textfile/line_splitter.h"

#include "keldb/support/ascii.h"
#include "keldb/textfile/byte_steps.h"

namespace kel {
namespace {

struct Place {
    const char* from;  // in the line
    char* to;          // in the values
};

// Copies up to the first double quote or backslash. What it writes never passes the source by more than it read.
Place copy_plain(Place at, const char* end) noexcept {
    while (end - at.from >= static_cast<std::ptrdiff_t>(kStepBytes)) {
        const ByteStep step(at.from);
        step.copy_to(at.to);
        const unsigned plain = step.first_of<'"', '\\'>();
        at.from += plain;
        at.to += plain;
        if (plain != kStepBytes) return at;
    }
    while (at.from != end && *at.from != '"' && *at.from != '\\') *at.to++ = *at.from++;
    return at;
}

// The common value: "text" before a comma or the line's end, with nothing in the text to unescape, drop or cut. Returns
// whether it was one; then `at` stands behind it, before the comma.
bool take_common_value(Place& at, const char* end) noexcept {
    if (*at.from != '"') return false;
    const Place stop = copy_plain({at.from + 1, at.to}, end);
    if (stop.from == end || *stop.from != '"') return false;
    if (stop.from + 1 != end && stop.from[1] != ',') return false;
    if (stop.to != at.to) {
        if (is_space(*at.to) || is_space(stop.to[-1])) return false;
        if (static_cast<std::size_t>(stop.to - at.to) > kLongestValue) return false;
    }
    at = {stop.from + 1, stop.to};
    return true;
}

// Notes what is odd about the value being read.
struct Watch {
    LineOddities* odd;
    std::size_t value;
    bool met = false;

    void note(LineOddity what) noexcept {
        met = true;
        if (odd) odd->note(what, value);
    }
};

// One value byte by byte, by all the rules. `at` ends on the character that stopped it.
void take_value(Place& at, const char* end, Watch& watch) noexcept {
    const bool opened = *at.from == '"';
    if (opened) ++at.from;
    const char* const start = at.from;
    while (at.from != end && is_space(*at.from)) ++at.from;
    const bool dropped = opened && at.from != start;

    bool quoted = opened;
    char* const text = at.to;
    char* quoted_end = text;  // of what stood inside the quotes
    while (at.from != end) {
        const char next = end - at.from > 1 ? at.from[1] : '\0';
        char c = *at.from;
        std::ptrdiff_t length = 1;
        if (c == '"' && next == '"') {
            length = 2;
        } else if (c == '"') {
            const bool ends_value = end - at.from == 1 || next == ',' || is_space(next);
            if (!quoted || !ends_value) watch.note(LineOddity::stray_quote);
            if (quoted) quoted_end = at.to;
            quoted = false;
            ++at.from;
            continue;
        } else if (c == '\\' && next == 'n') {
            c = '\n';
            length = 2;
        } else if (c == ',' && !quoted) {
            break;
        }
        if (static_cast<std::size_t>(at.to - text) == kLongestValue) {
            watch.note(LineOddity::value_cut);
            break;
        }
        *at.to++ = c;
        at.from += length;
    }
    if (quoted) quoted_end = at.to;
    if (quoted && at.from == end) watch.note(LineOddity::open_quote);
    while (at.to != text && is_space(at.to[-1])) --at.to;
    if (dropped || at.to < quoted_end) watch.note(LineOddity::blanks_dropped);
}

}  // namespace

bool split_line(std::string_view line, ValueBuilder& values, LineOddities* odd) {
    // Every value takes at least one character of the line and one zero byte of the room; the last one has no comma.
    Place at{line.data(), values.start(line.size() + 1)};
    const char* const end = line.data() + line.size();
    Watch watch{odd, 0};
    while (at.from != end) {
        if (!take_common_value(at, end)) {
            watch.value = values.size();
            if (is_control(*at.from)) {
                watch.note(LineOddity::controls_dropped);
                while (at.from != end && is_control(*at.from)) ++at.from;
                continue;
            }
            take_value(at, end, watch);
        }
        at.to = values.finish_value(at.to);
        if (at.from != end) ++at.from;
    }
    watch.value = kMostValues;
    if (values.size() > kMostValues) watch.note(LineOddity::too_many_values);
    return watch.met;
}

}  // namespace kel
