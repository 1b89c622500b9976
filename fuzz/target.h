// What every target is: `fault_of` says what is wrong with an input, "" when nothing is.
#ifndef KELDB_FUZZ_TARGET_H
#define KELDB_FUZZ_TARGET_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "keldb/support/log.h"

static std::string fault_of(std::string_view bytes);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    setLogSink([](const char*, void*) {}, nullptr);
    const std::string fault = fault_of({reinterpret_cast<const char*>(data), size});
    if (fault.empty()) return 0;
    std::fprintf(stderr, "%s\n", fault.c_str());
    std::abort();
}

#endif
