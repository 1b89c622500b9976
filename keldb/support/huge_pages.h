// Memory of many megabytes that is about to be filled for the first time.
#ifndef KELDB_SUPPORT_HUGE_PAGES_H
#define KELDB_SUPPORT_HUGE_PAGES_H

#include <cstddef>

namespace kel {

// Asks the system to back a block with large pages: its first touch then costs a fraction. Blocks below a few megabytes
// are left alone. A hint only; errno is kept.
void prefer_huge_pages(void* block, std::size_t bytes) noexcept;

}  // namespace kel

#endif
