// Any bytes read as a program on two FieldValues: tests/fields/field_values_program.h says what must hold.
#include "fuzz/target.h"
#include "tests/fields/field_values_program.h"

std::string fault_of(std::string_view bytes) { return testing_kit::FieldValuesProgram(bytes).run(); }
