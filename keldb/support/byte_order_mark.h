// The bytes that some programs put before the first line of a UTF-8 file.
#ifndef KELDB_SUPPORT_BYTE_ORDER_MARK_H
#define KELDB_SUPPORT_BYTE_ORDER_MARK_H

#include <string_view>

namespace kel {
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
}

#endif
