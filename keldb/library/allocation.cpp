// The global allocation operators of libkeldb.so, served by mimalloc. They are exported, because a host deletes what
// the library made; a program that links the library therefore has them everywhere.
//
// Only two operators allocate and two release. The other forms forward to these as the C++ standard describes for its
// own defaults, so that a program replacing the plain operators replaces all of them.
//
// mimalloc's own operator forms end the process when memory is out if it was built as C, as distributions do.
// Hence its plain forms here, which return null.
#include <mimalloc.h>

#include <cstddef>
#include <new>

#include "keldb/support/export.h"

namespace {

// Asks again after each call of the new-handler, until the handler frees enough, throws, or is gone.
template <typename Attempt>
void* allocate_or_throw(Attempt attempt) {
    for (;;) {
        if (void* block = attempt()) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}

template <typename Allocate>
void* null_on_failure(Allocate allocate) noexcept {
    try {
        return allocate();
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

KELDB_API void* operator new(std::size_t size) {
    return allocate_or_throw([size] { return mi_malloc(size); });
}

KELDB_API void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate_or_throw([=] { return mi_malloc_aligned(size, static_cast<std::size_t>(alignment)); });
}

KELDB_API void* operator new[](std::size_t size) { return ::operator new(size); }

KELDB_API void* operator new[](std::size_t size, std::align_val_t alignment) { return ::operator new(size, alignment); }

KELDB_API void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return null_on_failure([=] { return ::operator new(size); });
}

KELDB_API void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return null_on_failure([=] { return ::operator new[](size); });
}

KELDB_API void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return null_on_failure([=] { return ::operator new(size, alignment); });
}

KELDB_API void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return null_on_failure([=] { return ::operator new[](size, alignment); });
}

KELDB_API void operator delete(void* block) noexcept { mi_free(block); }

KELDB_API void operator delete(void* block, std::align_val_t) noexcept { mi_free(block); }

KELDB_API void operator delete[](void* block) noexcept { ::operator delete(block); }

KELDB_API void operator delete[](void* block, std::align_val_t alignment) noexcept {
    ::operator delete(block, alignment);
}

KELDB_API void operator delete(void* block, std::size_t) noexcept { ::operator delete(block); }

KELDB_API void operator delete[](void* block, std::size_t) noexcept { ::operator delete[](block); }

KELDB_API void operator delete(void* block, std::size_t, std::align_val_t alignment) noexcept {
    ::operator delete(block, alignment);
}

KELDB_API void operator delete[](void* block, std::size_t, std::align_val_t alignment) noexcept {
    ::operator delete[](block, alignment);
}

KELDB_API void operator delete(void* block, const std::nothrow_t&) noexcept { ::operator delete(block); }

KELDB_API void operator delete[](void* block, const std::nothrow_t&) noexcept { ::operator delete[](block); }

KELDB_API void operator delete(void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    ::operator delete(block, alignment);
}

KELDB_API void operator delete[](void* block, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    ::operator delete[](block, alignment);
}
