// What the C library's own functions answer in the C locale, whatever locale the test program runs under: the plain
// truth for what the library answers everywhere.
#ifndef KELDB_TESTS_TESTING_C_LOCALE_H
#define KELDB_TESTS_TESTING_C_LOCALE_H

#include <locale.h>

#include <cstdlib>
#include <string>

namespace testing_kit {

// Nothing of the library may be called in there, or the test would not see what a host's locale does to it.
template <class Call>
auto in_c_locale(const Call& call) {
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t before = ::uselocale(c);
    const auto result = call();
    ::uselocale(before);
    return result;
}

inline double plain_strtod(const std::string& text) {
    return in_c_locale([&] { return std::strtod(text.c_str(), nullptr); });
}

}  // namespace testing_kit

#endif
