#include "keldb/library/startup_settings.h"

#include <limits>

#include "keldb/support/settings.h"

namespace kel {

static int setting(const char* key) {
    return config_int(key, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

int dbv_reel_field_editable = setting("dbv_reel_field_editable");
int remove_fieldname_ampersands = setting("remove_fieldname_ampersands");

}  // namespace kel
