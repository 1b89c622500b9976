// Allocation that fails on demand: in every `new` of ordinary alignment and in the platform service. A program that
// uses this header allocates through the operators and the service of allocation_faults.cpp.
//
//     const std::string wrong = sweep_allocations([] { work(); }, [] { return check(); });
//     EXPECT_EQ(wrong, "");
#ifndef KELDB_TESTS_TESTING_ALLOCATION_FAULTS_H
#define KELDB_TESTS_TESTING_ALLOCATION_FAULTS_H

#include <new>
#include <string>

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

// Runs `work` with its first, second, ... allocation failing, once and then for good, until it runs untouched. After
// each run `check` says in words what is wrong, "" when nothing is. The result names the first failure; a sweep in
// which nothing was ever allocated is one too, since then it has tested nothing.
template <class Work, class Check>
std::string sweep_allocations(const Work& work, const Check& check) {
    for (const bool and_after : {false, true}) {
        bool struck = true;
        for (long at = 0; struck; ++at) {
            AllocationFaults faults(at, and_after);
            try {
                work();
            } catch (const std::bad_alloc&) {
            }
            faults.stop();
            struck = faults.struck();
            const std::string wrong = at == 0 && !struck ? "nothing was allocated" : check();
            if (!wrong.empty())
                return "allocation " + std::to_string(at) + (and_after ? " and all after: " : ": ") + wrong;
        }
    }
    return "";
}

}  // namespace testing_kit

#endif
