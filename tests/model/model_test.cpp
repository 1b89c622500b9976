// Random programs on tables and stacked views, against their obvious twins (driver.h).
//
//     KELDB_MODEL_STEPS=400000     steps to run (default 150000)
//     KELDB_MODEL_PROGRAM=path     each program is written there before it runs: after a failure or a crash the file
//                                  holds the one that failed. fuzz_views replays it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "keldb/support/log.h"
#include "tests/model/operations.h"

TEST(ModelOfTablesAndViews, AgreesOnRandomPrograms) {
    setLogSink([](const char*, void*) {}, nullptr);
    const char* const wanted = std::getenv("KELDB_MODEL_STEPS");
    const char* const path = std::getenv("KELDB_MODEL_PROGRAM");
    const long most = wanted ? std::atol(wanted) : 150000;
    long steps = 0, out_of_memory = 0;
    unsigned programs = 0;
    std::uint64_t digest = 0;
    for (; steps < most; ++programs) {
        testing_kit::Random random(programs);
        const std::string program = random.bytes(200 + random.below(2000));
        if (path) std::ofstream(path, std::ios::binary) << program;
        const model::Outcome outcome = model::run_program(program);
        ASSERT_EQ(outcome.fault, "") << "program " << programs;
        steps += outcome.steps;
        out_of_memory += outcome.out_of_memory;
        digest = digest * 1099511628211U + outcome.digest;
    }
    std::cout << "REL model_steps=" << steps << "\nREL model_out_of_memory=" << out_of_memory
              << "\nREL model_programs=" << programs << "\nREL model_digest=" << std::hex << digest << std::dec
              << "\nREL model_operation_kinds=" << model::kinds().size() << std::endl;
}
