// The two settings of the process, read once while the library loads and only read afterwards. They are the only values
// that loading it computes.
//
// A change of the environment takes effect when the library is loaded again. A host that was linked with the C++
// library unloads it by its last dlclose. In a host that was not, the C++ library comes with it, stays for good, and
// holds it as long, since it takes its allocation operators from it (KELDB_MIMALLOC).
#ifndef KELDB_LIBRARY_STARTUP_SETTINGS_H
#define KELDB_LIBRARY_STARTUP_SETTINGS_H

namespace kel {

// KELDB_DBV_REEL_FIELD_EDITABLE, default 1: non-zero when a record hands all eleven label fields to a configuration
// block, 0 when only the first six, up to the reel.
extern int dbv_reel_field_editable;

// KELDB_REMOVE_FIELDNAME_AMPERSANDS, default 1: non-zero when every '&' is taken out of a field name before it is
// stored ('&' marks a keyboard short-cut in the labels of older logs).
extern int remove_fieldname_ampersands;

}  // namespace kel

#endif
