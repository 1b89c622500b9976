// Any bytes read as a program on tables and stacked views: tests/model/driver.h says what must hold.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "keldb/support/log.h"
#include "tests/model/driver.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    setLogSink([](const char*, void*) {}, nullptr);
    const model::Outcome outcome = model::run_program({reinterpret_cast<const char*>(data), size});
    if (outcome.fault.empty()) return 0;
    std::fprintf(stderr, "%s\n", outcome.fault.c_str());
    std::abort();
}
