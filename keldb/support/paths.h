// Questions about file names.
#ifndef KELDB_SUPPORT_PATHS_H
#define KELDB_SUPPORT_PATHS_H

#include "keldb/support/export.h"
#include "keldb/support/wstring.h"

KELDB_API bool fileExists(const WString& path);  // anything at all stands there; a dangling link does not count

// The base name: what follows the last '/', without its last extension ("a/Clips.v2.rak" gives "Clips.v2"). A name that
// begins with its only dot keeps it (".hidden").
KELDB_API WString stripPathAndExt(const WString& path);

#endif
