// Memory is out: raised by the platform service object; everything else uses the global operators, which raise
// std::bad_alloc itself. Catching std::bad_alloc catches both.
#ifndef KELDB_SUPPORT_BAD_ALLOC_H
#define KELDB_SUPPORT_BAD_ALLOC_H

#include <new>

#include "keldb/support/export.h"

namespace Qv::Exception {
class KELDB_API BadAlloc : public std::bad_alloc {
public:
    const char* what() const noexcept override;
};
}  // namespace Qv::Exception

#endif
