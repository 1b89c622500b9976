#include "keldb/fields/field_name.h"

#include <string>

#include "keldb/library/startup_settings.h"

namespace kel {

String stored_field_name(std::string_view name) {
    if (remove_fieldname_ampersands == 0) return String(name);
    std::string kept(name);
    std::erase(kept, '&');
    return String(kept);
}

}  // namespace kel
