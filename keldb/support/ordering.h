// The order of names in lists: as people count.
//
// ASCII case is ignored and a run of digits counts by its value, so that "take 2" stands before "take 10"; other bytes
// count by their unsigned codes, and a text that is a leading part of the other is the smaller. Texts that tie so
// ("take 02", "take 2") are compared as plain case-blind text: the result is 0 only for texts equal ignoring case.
// A strict weak order over all texts, embedded zero bytes included.
#ifndef KELDB_SUPPORT_ORDERING_H
#define KELDB_SUPPORT_ORDERING_H

#include <string_view>

#include "keldb/support/export.h"

KELDB_API int strxcmp(std::string_view a, std::string_view b) noexcept;

#endif
