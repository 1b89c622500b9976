// Any bytes read as a comma-separated file: tests/testing/plain_table.h says what must hold.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "keldb/support/log.h"
#include "tests/testing/plain_table.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    setLogSink([](const char*, void*) {}, nullptr);
    const std::string fault = testing_kit::load_fault({reinterpret_cast<const char*>(data), size}, true);
    if (fault.empty()) return 0;
    std::fprintf(stderr, "%s\n", fault.c_str());
    std::abort();
}
