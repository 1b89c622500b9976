#include "keldb/library/version.h"

const char* keldbDllVersionStr() { return KELDB_VERSION ".0"; }
