// Allocation that fails on demand: in every `new` of ordinary alignment and in the platform service. A program that
// uses this header allocates through the operators and the service of allocation_faults.cpp.
#ifndef KELDB_TESTS_TESTING_ALLOCATION_FAULTS_H
#define KELDB_TESTS_TESTING_ALLOCATION_FAULTS_H

#include <new>

namespace testing_kit {

// A single request above this fails always, so that an absurd count ends in bad_alloc and not in a dead machine.
constexpr std::size_t kLargestBlock = std::size_t{256} << 20;

// Blocks that are allocated and not yet freed.
long live_blocks();

// From its making to stop() or its end, allocation number `at` (from 0) fails; with `and_after`, all later ones too.
// One at a time.
class AllocationFaults {
public:
    explicit AllocationFaults(long at, bool and_after = false);
    ~AllocationFaults() { stop(); }
    AllocationFaults(const AllocationFaults&) = delete;
    AllocationFaults& operator=(const AllocationFaults&) = delete;

    void stop();
    bool struck() const;  // an allocation did fail
};

// While it lives, no allocation fails.
class NoAllocationFaults {
public:
    NoAllocationFaults();
    ~NoAllocationFaults();

private:
    const long before_;
};

}  // namespace testing_kit

#endif
