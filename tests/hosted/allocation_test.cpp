// The allocation operators that libkeldb.so gives to its host.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "keldb/table/keldb.h"

namespace {

constexpr std::size_t kAlignment = 256;
constexpr std::align_val_t kAligned{kAlignment};
constexpr std::nothrow_t kNothrow{};

// More than the address space holds. Volatile, so that the compiler cannot foresee the failure.
volatile std::size_t impossible_size = std::size_t{1} << 60;

struct Form {
    const char* name;
    void* (*allocate)(std::size_t size);
    void (*release)(void* block, std::size_t size);
    bool throws = true;
};

template <auto... how>
constexpr auto one = [](std::size_t n) { return ::operator new(n, how...); };
template <auto... how>
constexpr auto many = [](std::size_t n) { return ::operator new[](n, how...); };
template <auto... how>
constexpr auto free_one = [](void* p, std::size_t) { ::operator delete(p, how...); };
template <auto... how>
constexpr auto free_many = [](void* p, std::size_t) { ::operator delete[](p, how...); };
template <auto... how>
constexpr auto free_sized = [](void* p, std::size_t n) { ::operator delete(p, n, how...); };
template <auto... how>
constexpr auto free_many_sized = [](void* p, std::size_t n) { ::operator delete[](p, n, how...); };

const Form forms[] = {
    {"plain", one<>, free_one<>},
    {"sized", one<>, free_sized<>},
    {"array", many<>, free_many<>},
    {"sized array", many<>, free_many_sized<>},
    {"aligned", one<kAligned>, free_one<kAligned>},
    {"sized aligned", one<kAligned>, free_sized<kAligned>},
    {"aligned array", many<kAligned>, free_many<kAligned>},
    {"sized aligned array", many<kAligned>, free_many_sized<kAligned>},
    {"nothrow", one<kNothrow>, free_one<kNothrow>, false},
    {"nothrow array", many<kNothrow>, free_many<kNothrow>, false},
    {"nothrow aligned", one<kAligned, kNothrow>, free_one<kAligned, kNothrow>, false},
    {"nothrow aligned array", many<kAligned, kNothrow>, free_many<kAligned, kNothrow>, false},
};

// A program that uses nothing of the library may be linked without it, so this one holds a table.
class Allocation : public testing::Test {
    keldb table_;
};

TEST_F(Allocation, EveryFormGivesAndTakesBlocksOfMimalloc) {
    using InHeap = bool (*)(const void*);
    const auto from_mimalloc = reinterpret_cast<InHeap>(dlsym(RTLD_DEFAULT, "mi_is_in_heap_region"));
    ASSERT_NE(from_mimalloc, nullptr);
    for (const Form& form : forms) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, std::size_t{5} << 20}) {
            void* block = form.allocate(size);
            ASSERT_TRUE(block && from_mimalloc(block)) << form.name << size;
            const bool aligned = reinterpret_cast<std::uintptr_t>(block) % kAlignment == 0;
            EXPECT_TRUE(aligned || !std::strstr(form.name, "aligned")) << form.name << size;
            std::memset(block, 0xA5, size);
            form.release(block, size);
        }
        form.release(nullptr, 0);
    }
}

int handler_calls = 0;

// The new-handler is asked until it is gone; then the request fails, and the process does not end.
TEST_F(Allocation, AnImpossibleSizeFails) {
    for (const Form& form : forms) {
        for (const int asked : {0, 3}) {
            handler_calls = 0;
            std::set_new_handler(asked == 0 ? nullptr : +[] {
                if (++handler_calls == 3) std::set_new_handler(nullptr);
            });
            bool thrown = false;
            try {
                EXPECT_EQ(form.allocate(impossible_size), nullptr) << form.name;
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            EXPECT_EQ(thrown, form.throws) << form.name;
            EXPECT_EQ(handler_calls, asked) << form.name;
        }
    }
}

}  // namespace
