// Random programs on tables and stacked views, against their obvious twins (driver.h).
//
//     KELDB_MODEL_STEPS=400000     steps to run (default 150000); from 400000 on each kind of operation must have run
//                                  a thousand times
//     KELDB_MODEL_PROGRAM=path     each program is written there before it runs: after a failure or a crash the file
//                                  holds the one that failed. fuzz_views replays it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include "keldb/support/log.h"
#include "tests/model/driver.h"

namespace {

constexpr unsigned kDefaultSteps = 150000;
constexpr unsigned kDeepSteps = 400000;
constexpr long kLeastOfEachKind = 1000;

std::string random_program(unsigned seed) {
    std::mt19937 random(seed);
    std::string program(200 + random() % 2000, '\0');
    for (char& byte : program) byte = static_cast<char>(random() & 0xFF);
    return program;
}

TEST(ModelOfTablesAndViews, AgreesOnRandomPrograms) {
    setLogSink([](const char*, void*) {}, nullptr);
    const char* const wanted = std::getenv("KELDB_MODEL_STEPS");
    const char* const path = std::getenv("KELDB_MODEL_PROGRAM");
    const unsigned most = wanted ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : kDefaultSteps;
    model::Histogram kinds;
    unsigned long steps = 0;
    unsigned programs = 0;
    std::uint64_t digest = 0;
    for (; steps < most; ++programs) {
        const std::string program = random_program(programs);
        if (path) std::ofstream(path, std::ios::binary) << program;
        const model::Outcome outcome = model::run_program(program, &kinds);
        ASSERT_EQ(outcome.fault, "") << "program " << programs;
        steps += outcome.steps;
        digest = digest * 1099511628211U + outcome.digest;
    }
    std::printf("REL model_steps=%lu\nREL model_programs=%u\nREL model_digest=%016llx\n", steps, programs,
                static_cast<unsigned long long>(digest));
    if (most < kDeepSteps) return;
    EXPECT_GE(kinds.size(), 100U);
    for (const auto& [kind, count] : kinds) EXPECT_GE(count, kLeastOfEachKind) << kind;
}

}  // namespace
