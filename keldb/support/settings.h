// Settings of the process, read from its environment.
#ifndef KELDB_SUPPORT_SETTINGS_H
#define KELDB_SUPPORT_SETTINGS_H

#include "keldb/support/export.h"

// The integer in the environment variable KELDB_ + `key` in capitals (KELDB_REMOVE_FIELDNAME_AMPERSANDS), clamped to
// low..high; `fallback` when the variable is not set or does not begin with a number. Allocates nothing.
KELDB_API int config_int(const char* key, int fallback, int low, int high) noexcept;

#endif
