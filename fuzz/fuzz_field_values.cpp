// Any bytes read as a program on two FieldValues: tests/fields/field_values_program.h says what must hold.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/fields/field_values_program.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    testing_kit::FieldValuesProgram program({reinterpret_cast<const char*>(data), size});
    const std::string fault = program.run();
    if (fault.empty()) return 0;
    std::fprintf(stderr, "%s\n", fault.c_str());
    std::abort();
}
