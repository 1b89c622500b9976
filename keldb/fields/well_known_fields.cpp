#include "keldb/fields/well_known_fields.h"

#include <array>

#include "keldb/support/ascii.h"

namespace kel {
namespace {

struct MinWidth {
    std::string_view name;
    unsigned width;
};

constexpr unsigned kDefaultWidth = 4;
constexpr std::array<MinWidth, 41> kMinWidths = {{
    {"Cookie", 12},       {"Type", 6},           {"Flags", 8},           {"Name", 32},          {"Date", 12},
    {"Size", 8},          {"pic qual", 4},       {"aud qual", 32},       {"chans", 64},         {"Start time", 12},
    {"End time", 12},     {"Duration", 16},      {"Reel", 10},           {"Reel Type", 30},     {"Scene", 24},
    {"Shot", 24},         {"Who", 24},           {"Description", 64},    {"Notes", 100},        {"snd start", 12},
    {"snd end", 12},      {"snd reel", 10},      {"start 24P code", 12}, {"end 24P code", 12},  {"24P reel", 10},
    {"film_origin", 3},   {"pulldown", 3},       {"sequence", 2},        {"start keycode", 17}, {"end keycode", 17},
    {"film duration", 9}, {"start camcode", 12}, {"end camcode", 12},    {"cam reel", 10},      {"comp reel", 10},
    {"cam_date", 6},      {"start inkcode", 15}, {"end inkcode", 15},    {"lab reel", 10},      {"Mdrive", 4},
    {"Tag", 1},
}};

constexpr std::array<FieldPair, 6> kRangePairs = {{
    {"Start time", "End time"},
    {"snd start", "snd end"},
    {"start 24P code", "end 24P code"},
    {"start keycode", "end keycode"},
    {"start camcode", "end camcode"},
    {"start inkcode", "end inkcode"},
}};

}  // namespace

unsigned min_column_width(std::string_view field_name) noexcept {
    for (const MinWidth& known : kMinWidths) {
        if (equal_ignoring_case(field_name, known.name)) return known.width;
    }
    return kDefaultWidth;
}

const FieldPair* range_pair_of(std::string_view field_name) noexcept {
    for (const FieldPair& pair : kRangePairs) {
        if (field_name == pair.start || field_name == pair.end) return &pair;
    }
    return nullptr;
}

}  // namespace kel
