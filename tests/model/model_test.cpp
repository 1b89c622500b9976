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

#include "keldb/support/log.h"
#include "tests/model/driver.h"
#include "tests/testing/random.h"

namespace {

constexpr unsigned kDefaultSteps = 150000, kDeepSteps = 400000;
constexpr long kLeastOfEachKind = 1000;

TEST(ModelOfTablesAndViews, AgreesOnRandomPrograms) {
    setLogSink([](const char*, void*) {}, nullptr);
    const char* const wanted = std::getenv("KELDB_MODEL_STEPS");
    const char* const path = std::getenv("KELDB_MODEL_PROGRAM");
    const unsigned most = wanted ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : kDefaultSteps;
    model::Histogram ran;
    unsigned long steps = 0;
    unsigned programs = 0;
    unsigned long long digest = 0;
    for (; steps < most; ++programs) {
        testing_kit::Random random(programs);
        const std::string program = random.bytes(200 + random.below(2000));
        if (path) std::ofstream(path, std::ios::binary) << program;
        const model::Outcome outcome = model::run_program(program, &ran);
        ASSERT_EQ(outcome.fault, "") << "program " << programs;
        steps += outcome.steps;
        digest = digest * 1099511628211U + outcome.digest;
    }
    const auto& kinds = model::Driver::kinds();
    std::printf("REL model_steps=%lu\nREL model_programs=%u\nREL model_digest=%016llx\nREL model_operation_kinds=%zu\n",
                steps, programs, digest, kinds.size());
    if (most < kDeepSteps) return;
    for (const auto& kind : kinds) EXPECT_GE(ran[kind.name], kLeastOfEachKind) << kind.name;
}

}  // namespace
