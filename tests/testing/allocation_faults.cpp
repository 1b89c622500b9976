#include "tests/testing/allocation_faults.h"

#include <atomic>
#include <cstdlib>

#include "keldb/support/platform.h"

namespace {

std::atomic<long> live{0};
std::atomic<long> until_fault{-1};  // allocations that still succeed; below 0 while nothing fails
std::atomic<bool> and_after{false};
std::atomic<bool> fault_struck{false};

bool fails(std::size_t bytes) {
    if (bytes > testing_kit::kLargestBlock) return true;
    if (until_fault < 0 || (until_fault > 0 && until_fault-- > 0)) return false;
    fault_struck = true;
    until_fault = and_after ? 0 : -1;
    return true;
}

void* take(std::size_t bytes) noexcept {
    void* block = fails(bytes) ? nullptr : std::malloc(bytes ? bytes : 1);
    live += block ? 1 : 0;
    return block;
}

void give_back(void* block) noexcept {
    live -= block ? 1 : 0;
    std::free(block);
}

class CountedMemory : public PlatformService {
public:
    void* reallocate(void* block, std::size_t bytes) override {
        if (fails(bytes)) throw Qv::Exception::BadAlloc();
        void* moved = PlatformService::reallocate(block, bytes);
        live += block ? 0 : 1;
        return moved;
    }
    void free(void* block) noexcept override { give_back(block); }
};

CountedMemory counted;
[[maybe_unused]] const bool in_place = (setOS(&counted), true);

}  // namespace

namespace testing_kit {

long live_blocks() { return live; }

AllocationFaults::AllocationFaults(long at, bool after) {
    fault_struck = false;
    ::and_after = after;
    until_fault = at;
}
void AllocationFaults::stop() { until_fault = -1; }
bool AllocationFaults::struck() const { return fault_struck; }

NoAllocationFaults::NoAllocationFaults() : before_(until_fault.exchange(-1)) {}
NoAllocationFaults::~NoAllocationFaults() { until_fault = before_; }

}  // namespace testing_kit

void* operator new(std::size_t n) {
    void* block = take(n);
    if (!block) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t n) { return operator new(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return take(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return take(n); }
void operator delete(void* p) noexcept { give_back(p); }
void operator delete[](void* p) noexcept { give_back(p); }
void operator delete(void* p, std::size_t) noexcept { give_back(p); }
void operator delete[](void* p, std::size_t) noexcept { give_back(p); }
