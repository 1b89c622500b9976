// The allocation operators that libkeldb.so gives to its host.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "keldb/table/keldb.h"

namespace {

constexpr std::align_val_t kAlignment{256};

// More than the address space holds. Volatile, so that the compiler cannot foresee the failure.
volatile std::size_t impossible_size = std::size_t{1} << 60;

struct Form {
    const char* name;
    void* (*allocate)(std::size_t size);
    void (*release)(void* block, std::size_t size);
};

const Form throwing_forms[] = {
    {"plain", [](std::size_t n) { return ::operator new(n); }, [](void* p, std::size_t) { ::operator delete(p); }},
    {"sized", [](std::size_t n) { return ::operator new(n); }, [](void* p, std::size_t n) { ::operator delete(p, n); }},
    {"array", [](std::size_t n) { return ::operator new[](n); }, [](void* p, std::size_t) { ::operator delete[](p); }},
    {"sized array", [](std::size_t n) { return ::operator new[](n); },
     [](void* p, std::size_t n) { ::operator delete[](p, n); }},
    {"aligned", [](std::size_t n) { return ::operator new(n, kAlignment); },
     [](void* p, std::size_t) { ::operator delete(p, kAlignment); }},
    {"sized aligned", [](std::size_t n) { return ::operator new(n, kAlignment); },
     [](void* p, std::size_t n) { ::operator delete(p, n, kAlignment); }},
    {"aligned array", [](std::size_t n) { return ::operator new[](n, kAlignment); },
     [](void* p, std::size_t) { ::operator delete[](p, kAlignment); }},
    {"sized aligned array", [](std::size_t n) { return ::operator new[](n, kAlignment); },
     [](void* p, std::size_t n) { ::operator delete[](p, n, kAlignment); }},
};

const Form nothrow_forms[] = {
    {"plain", [](std::size_t n) { return ::operator new(n, std::nothrow); },
     [](void* p, std::size_t) { ::operator delete(p, std::nothrow); }},
    {"array", [](std::size_t n) { return ::operator new[](n, std::nothrow); },
     [](void* p, std::size_t) { ::operator delete[](p, std::nothrow); }},
    {"aligned", [](std::size_t n) { return ::operator new(n, kAlignment, std::nothrow); },
     [](void* p, std::size_t) { ::operator delete(p, kAlignment, std::nothrow); }},
    {"aligned array", [](std::size_t n) { return ::operator new[](n, kAlignment, std::nothrow); },
     [](void* p, std::size_t) { ::operator delete[](p, kAlignment, std::nothrow); }},
};

bool is_aligned_form(const Form& form) { return std::strstr(form.name, "aligned") != nullptr; }

// A program that uses nothing of the library may be linked without it, so this one holds a table.
class Allocation : public testing::Test {
    keldb table_;
};

void expect_usable_blocks(const Form& form) {
    SCOPED_TRACE(form.name);
    using InHeap = bool (*)(const void*);
    const auto from_mimalloc = reinterpret_cast<InHeap>(dlsym(RTLD_DEFAULT, "mi_is_in_heap_region"));
    ASSERT_NE(from_mimalloc, nullptr);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, std::size_t{5} << 20}) {
        void* block = form.allocate(size);
        ASSERT_NE(block, nullptr) << size;
        std::memset(block, 0xA5, size);
        EXPECT_TRUE(from_mimalloc(block)) << size;
        if (is_aligned_form(form)) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % static_cast<std::size_t>(kAlignment), 0U) << size;
        }
        form.release(block, size);
    }
}

TEST_F(Allocation, EveryOperatorComesFromTheSharedLibrary) {
    const char* symbols[] = {"_Znwm",
                             "_ZnwmRKSt9nothrow_t",
                             "_ZnwmSt11align_val_t",
                             "_ZnwmSt11align_val_tRKSt9nothrow_t",
                             "_Znam",
                             "_ZnamRKSt9nothrow_t",
                             "_ZnamSt11align_val_t",
                             "_ZnamSt11align_val_tRKSt9nothrow_t",
                             "_ZdlPv",
                             "_ZdlPvRKSt9nothrow_t",
                             "_ZdlPvSt11align_val_t",
                             "_ZdlPvSt11align_val_tRKSt9nothrow_t",
                             "_ZdaPv",
                             "_ZdaPvRKSt9nothrow_t",
                             "_ZdaPvSt11align_val_t",
                             "_ZdaPvSt11align_val_tRKSt9nothrow_t",
                             "_ZdlPvm",
                             "_ZdlPvmSt11align_val_t",
                             "_ZdaPvm",
                             "_ZdaPvmSt11align_val_t"};
    for (const char* symbol : symbols) {
        Dl_info where{};
        ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, symbol), &where), 0) << symbol;
        EXPECT_NE(std::string(where.dli_fname).find("libkeldb.so"), std::string::npos) << symbol << where.dli_fname;
    }
}

TEST_F(Allocation, EveryFormGivesAndTakesBlocksOfMimalloc) {
    for (const Form& form : throwing_forms) {
        expect_usable_blocks(form);
    }
    for (const Form& form : nothrow_forms) {
        expect_usable_blocks(form);
    }
}

TEST_F(Allocation, ReleasingNullIsNothing) {
    for (const Form& form : throwing_forms) {
        form.release(nullptr, 0);
    }
    for (const Form& form : nothrow_forms) {
        form.release(nullptr, 0);
    }
}

TEST_F(Allocation, AnImpossibleSizeThrowsAndDoesNotEndTheProcess) {
    for (const Form& form : throwing_forms) {
        EXPECT_THROW(form.release(form.allocate(impossible_size), impossible_size), std::bad_alloc) << form.name;
    }
}

TEST_F(Allocation, AnImpossibleSizeIsNullForTheNothrowForms) {
    for (const Form& form : nothrow_forms) {
        EXPECT_EQ(form.allocate(impossible_size), nullptr) << form.name;
    }
}

int handler_calls = 0;

TEST_F(Allocation, TheNewHandlerIsAskedUntilItIsGone) {
    for (const Form& form : throwing_forms) {
        handler_calls = 0;
        std::set_new_handler([] {
            if (++handler_calls == 3) {
                std::set_new_handler(nullptr);
            }
        });
        EXPECT_THROW(form.release(form.allocate(impossible_size), impossible_size), std::bad_alloc) << form.name;
        EXPECT_EQ(handler_calls, 3) << form.name;
    }
}

}  // namespace
