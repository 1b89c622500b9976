// Any bytes read as a table file: tests/testing/plain_table.h says what must hold.
#include "fuzz/target.h"
#include "tests/testing/plain_table.h"

std::string fault_of(std::string_view bytes) { return testing_kit::load_fault(bytes, false); }
