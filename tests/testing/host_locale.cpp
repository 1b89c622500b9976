// Linked into every test program: a host may call setlocale, and no result may depend on it.
//
//     KELDB_TEST_LOCALE=de_DE.ISO-8859-1    the locale that the program runs under; it must be there
#include <clocale>
#include <cstdio>
#include <cstdlib>

namespace {

[[maybe_unused]] const bool in_place = [] {
    const char* const wanted = std::getenv("KELDB_TEST_LOCALE");
    if (!wanted || std::setlocale(LC_ALL, wanted)) return true;
    std::fprintf(stderr, "there is no locale %s here\n", wanted);
    std::exit(1);
}();

}  // namespace
