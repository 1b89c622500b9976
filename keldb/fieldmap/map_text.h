// The stored text of a field map, read.
#ifndef KELDB_FIELDMAP_MAP_TEXT_H
#define KELDB_FIELDMAP_MAP_TEXT_H

#include <string_view>
#include <vector>

namespace kel {

// The numbers of a stored map, in order: field numbers from 1, negative for hidden fields. Any text has a reading: a
// number is read, as scanf's %d does, from at most three characters (white space in front and a sign among them); zeros
// are left out; what follows a number is passed over as long as it is digits and '-', then one blank; reading stops
// where no number stands or nothing could be passed over.
std::vector<int> read_map(std::string_view text);

}  // namespace kel

#endif
