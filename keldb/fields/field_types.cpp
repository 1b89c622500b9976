#include "keldb/fields/field_types.h"

#include <array>

#include "keldb/support/ascii.h"

namespace kel {
namespace {

struct TypeName {
    std::string_view name;
    DBFieldTypes::eType type;
};

constexpr std::array<TypeName, 11> kTypeNames = {{
    {"timecode", DBFieldTypes::timecode},
    {"timecode_s", DBFieldTypes::timecode_s},
    {"text", DBFieldTypes::text},
    {"text_s", DBFieldTypes::text_s},
    {"time_of_day", DBFieldTypes::time_of_day},
    {"date", DBFieldTypes::date},
    {"dos_date", DBFieldTypes::dos_date},
    {"char", DBFieldTypes::character},
    {"numeric", DBFieldTypes::numeric},
    {"long", DBFieldTypes::integer},
    {"double", DBFieldTypes::number},
}};

}  // namespace

DBFieldTypes::eType type_from_name(std::string_view name) noexcept {
    for (const TypeName& known : kTypeNames) {
        if (equal_ignoring_case(name, known.name)) return known.type;
    }
    if (name.size() != 1) return DBFieldTypes::none;
    return static_cast<DBFieldTypes::eType>(static_cast<unsigned char>(name[0]));
}

String name_of_type(DBFieldTypes::eType type) {
    for (const TypeName& known : kTypeNames) {
        if (known.type == type && type != DBFieldTypes::character) return String(known.name);
    }
    const char code = static_cast<char>(type);
    return String(std::string_view(&code, 1));
}

}  // namespace kel
