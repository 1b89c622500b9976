// The version of the library.
#ifndef KELDB_LIBRARY_VERSION_H
#define KELDB_LIBRARY_VERSION_H

#include "keldb/support/export.h"

// Four numbers with dots between, the file version of the library. Static text: neither copied nor freed, and the same
// pointer on every call.
KELDB_API const char* keldbDllVersionStr();

#endif
