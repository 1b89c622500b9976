// Any bytes read as a program on tables and stacked views: tests/model/driver.h says what must hold.
#include "fuzz/target.h"
#include "tests/model/operations.h"

std::string fault_of(std::string_view bytes) { return model::run_program(bytes).fault; }
