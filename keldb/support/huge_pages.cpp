#include "keldb/support/huge_pages.h"

#include <sys/mman.h>

#include <cerrno>
#include <memory>

namespace kel {

void prefer_huge_pages(void* block, std::size_t bytes) noexcept {
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    if (bytes < 2 * kHugePage || !std::align(kHugePage, kHugePage, block, bytes)) {
        return;
    }
    const int error = errno;
    ::madvise(block, bytes / kHugePage * kHugePage, MADV_HUGEPAGE);
    errno = error;
}

}  // namespace kel
