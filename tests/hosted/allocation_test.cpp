// The allocation operators that libkeldb.so gives to its host.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "keldb/table/keldb.h"

namespace {

constexpr std::size_t kAlignment = 256;
constexpr std::align_val_t kAligned{kAlignment};
constexpr std::nothrow_t kNothrow{};

// More than the address space holds. Volatile, so that the compiler cannot foresee the failure.
volatile std::size_t impossible_size = std::size_t{1} << 60;

int handler_calls = 0;

template <class Allocate, class Release>
void expect_served(std::size_t alignment, bool throws, Allocate allocate, Release release) {
    using InHeap = bool (*)(const void*);
    const auto from_mimalloc = reinterpret_cast<InHeap>(dlsym(RTLD_DEFAULT, "mi_is_in_heap_region"));
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{5} << 20}) {
        void* block = allocate(size);
        ASSERT_TRUE(block && from_mimalloc && from_mimalloc(block)) << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0U) << size;
        std::memset(block, 0xA5, size);
        release(block, size);
    }
    release(nullptr, 0);
    handler_calls = 0;  // the new-handler is asked until it is gone; then the request fails, and the process goes on
    std::set_new_handler([] {
        if (++handler_calls == 3) std::set_new_handler(nullptr);
    });
    if (throws) {
        EXPECT_THROW(allocate(impossible_size), std::bad_alloc);
    } else {
        EXPECT_EQ(allocate(impossible_size), nullptr);
    }
    EXPECT_EQ(handler_calls, 3);
}

// Blocks for one object and for arrays, released without and with their size.
template <auto... how>
void expect_all_served(std::size_t alignment, bool throws) {
    const auto one = [](std::size_t n) { return ::operator new(n, how...); };
    const auto many = [](std::size_t n) { return ::operator new[](n, how...); };
    expect_served(alignment, throws, one, [](void* p, std::size_t) { ::operator delete(p, how...); });
    expect_served(alignment, throws, many, [](void* p, std::size_t) { ::operator delete[](p, how...); });
    if constexpr (requires(void* p) { ::operator delete(p, sizeof 1, how...); }) {
        expect_served(alignment, throws, one, [](void* p, std::size_t n) { ::operator delete(p, n, how...); });
        expect_served(alignment, throws, many, [](void* p, std::size_t n) { ::operator delete[](p, n, how...); });
    }
}

TEST(Allocation, EveryFormIsServedByMimalloc) {
    const keldb table;  // a program that uses nothing of the library may be linked without it
    expect_all_served<>(1, true);
    expect_all_served<kAligned>(kAlignment, true);
    expect_all_served<kNothrow>(1, false);
    expect_all_served<kAligned, kNothrow>(kAlignment, false);
}

}  // namespace
