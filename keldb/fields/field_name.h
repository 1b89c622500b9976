// The names of fields as tables keep them.
#ifndef KELDB_FIELDS_FIELD_NAME_H
#define KELDB_FIELDS_FIELD_NAME_H

#include <string_view>

#include "keldb/support/string.h"

namespace kel {

// The name without its ampersands, or, when the start-up setting remove_fieldname_ampersands is 0, as it is.
String stored_field_name(std::string_view name);

}  // namespace kel

#endif
