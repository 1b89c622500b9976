// Number texts are read as the C locale's own functions read them; case-blind order is the order of folded bytes.

#include "keldb/support/ascii.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "tests/testing/c_locale.h"
#include "tests/testing/texts.h"

namespace {

std::string number_text(std::mt19937& random) {
    constexpr const char* kParts[] = {" ",      "\t",  "+",    "-",   "0",          "1", "9",   "25",       ".",
                                      "e",      "E",   "0x",   "p",   "a",          "F", "inf", "infinity", "nan",
                                      "nan(1)", "400", "-400", "308", "2147483648", "x", "\xB2"};
    std::string text;
    for (std::size_t parts = random() % 8; parts > 0; --parts) {
        text += kParts[random() % std::size(kParts)];
    }
    return text;
}

TEST(Numbers, ReadAsTheCLocaleReadsThem) {
    std::mt19937 random(2);
    for (int i = 0; i < 400'000; ++i) {
        const std::string text = number_text(random);
        const auto exact = testing_kit::exact_copy(text);  // nothing behind the last byte may be read
        const std::string_view seen(exact.get(), text.size());
        const long long integer = std::strtoll(text.c_str(), nullptr, 10);
        ASSERT_EQ(kel::read_int(seen), std::clamp<long long>(integer, INT_MIN, INT_MAX)) << text;
        const double expected = testing_kit::plain_strtod(text);
        const double read = kel::read_double(seen);
        ASSERT_TRUE(read == expected || (std::isnan(read) && std::isnan(expected))) << text << " read as " << read;
        ASSERT_EQ(std::signbit(read), std::signbit(expected)) << text;
    }
}

TEST(Numbers, BeyondTheRange) {
    const std::string zeros(400, '0');
    for (const std::string& text :
         {"1" + zeros, "-1" + zeros + ".5", "0." + zeros + "1", "1" + zeros + "e-400", "0." + zeros + "1e400",
          std::string("1e99999999999"), std::string("1e-99999999999"), "0x1" + zeros + "p-1600", "0x." + zeros + "1",
          "0x1" + zeros, std::string("5e-324"), std::string("0e99999"), std::string("1.7976931348623159e308")}) {
        EXPECT_EQ(kel::read_double(text), testing_kit::plain_strtod(text)) << text;
    }
}

TEST(CaseBlindOrder, IsTheOrderOfFoldedBytes) {
    for (const std::string& a : testing_kit::odd_texts()) {
        for (const std::string& b : testing_kit::odd_texts()) {
            const int expected = testing_kit::sign(testing_kit::folded(a).compare(testing_kit::folded(b)));
            ASSERT_EQ(testing_kit::sign(kel::compare_ignoring_case(a, b)), expected) << a << " / " << b;
            ASSERT_EQ(kel::equal_ignoring_case(a, b), expected == 0);
            ASSERT_EQ(kel::starts_ignoring_case(a, b), testing_kit::folded(a).starts_with(testing_kit::folded(b)));
            ASSERT_EQ(kel::ends_ignoring_case(a, b), testing_kit::folded(a).ends_with(testing_kit::folded(b)));
        }
    }
}

}  // namespace
