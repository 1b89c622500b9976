// The types of fields, their names in a table file, and the descriptor that tables are made from.
//
// A type decides how a field's text is searched and sorted; the values themselves are text for every type.
#ifndef KELDB_FIELDS_FIELD_TYPES_H
#define KELDB_FIELDS_FIELD_TYPES_H

#include <cstdint>
#include <string_view>

#include "keldb/support/export.h"
#include "keldb/support/string.h"

struct DBFieldTypes {
    // The values are character codes. A table file may bring in any other character as a code; such a field is treated
    // as text. 0 is no type: it ends an array of descriptors, and a field set to it becomes `text`.
    enum eType : std::int32_t {
        none = 0,
        timecode = 't',    // searched as timecode on the stored text; sorted without the separator before the frames
        timecode_s = 'T',  // searched as timecode in its punctuated form; sorted as text
        text = 'a',
        text_s = 'A',
        time_of_day = 'D',
        date = 'd',
        dos_date = 'M',  // seconds since 1970, searched on the calendar text
        character = 'c',
        numeric = 'n',
        integer = 'l',
        number = 'f',
    };
};

// One field: what it is called and how it is treated.
struct DBFieldDesc {
    String name;
    DBFieldTypes::eType type = DBFieldTypes::none;
};

namespace kel {

// The code of a type name as a table file spells it, case ignored ("timecode", "text_s", ...). Any other name of
// exactly one character is that character's code; null, the empty text and all else give `none`.
KELDB_API DBFieldTypes::eType type_from_name(std::string_view name) noexcept;
inline DBFieldTypes::eType type_from_name(const char* name) noexcept {
    return type_from_name(name ? std::string_view(name) : std::string_view());
}

// The name that a table file gives the type. A code without a name of its own, 'c' among them, gives the one character.
KELDB_API String name_of_type(DBFieldTypes::eType type);

}  // namespace kel

#endif
