#include "keldb/support/refcount.h"

namespace Qv {
InternalRefCount::~InternalRefCount() = default;
}  // namespace Qv

iVirtual::~iVirtual() = default;
iObject::~iObject() = default;
