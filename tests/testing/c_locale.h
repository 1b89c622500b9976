// What the C library answers in the C locale, whatever locale the test program runs under.
#ifndef KELDB_TESTS_TESTING_C_LOCALE_H
#define KELDB_TESTS_TESTING_C_LOCALE_H

#include <locale.h>

#include <cstdlib>
#include <string>

namespace testing_kit {

inline double plain_strtod(const std::string& text) {
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return ::strtod_l(text.c_str(), nullptr, c);
}

}  // namespace testing_kit

#endif
