#include "keldb/support/bad_alloc.h"

namespace Qv::Exception {
const char* BadAlloc::what() const noexcept { return "out of memory"; }
}  // namespace Qv::Exception
