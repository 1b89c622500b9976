// strxcmp orders as people count, and is a strict weak order over all texts, so that every sort with it is safe.

#include "keldb/support/ordering.h"

#include <gtest/gtest.h>

#include "tests/testing/texts.h"

namespace {

using testing_kit::odd_texts;
using testing_kit::sign;

int order(const std::string& a, const std::string& b) {
    const auto left = testing_kit::exact_copy(a);
    const auto right = testing_kit::exact_copy(b);
    return sign(strxcmp({left.get(), a.size()}, {right.get(), b.size()}));
}

TEST(NaturalOrder, KeepsTheLawsOnAllTriples) {
    const auto& texts = odd_texts();
    std::vector<std::vector<int>> orders;
    for (const std::string& a : texts) {
        orders.emplace_back();
        for (const std::string& b : texts) {
            orders.back().push_back(order(a, b));
            ASSERT_EQ(orders.back().back(), -order(b, a)) << a << " / " << b;
            ASSERT_EQ(orders.back().back() == 0, testing_kit::folded(a) == testing_kit::folded(b)) << a << " / " << b;
        }
    }
    for (std::size_t a = 0; a < texts.size(); ++a) {
        for (std::size_t b = 0; b < texts.size(); ++b) {
            for (std::size_t c = 0; c < texts.size(); ++c) {
                if (orders[a][b] <= 0 && orders[b][c] <= 0) {
                    const int expected = orders[a][b] < 0 || orders[b][c] < 0 ? -1 : 0;
                    ASSERT_EQ(orders[a][c], expected) << texts[a] << " / " << texts[b] << " / " << texts[c];
                }
            }
        }
    }
}

TEST(NaturalOrder, CountsAsPeopleDo) {
    const char* const kAscending[] = {"",
                                      "!",
                                      "0",
                                      "00",
                                      "01",
                                      "1",
                                      "2",
                                      "10",
                                      "10a",
                                      "10b",
                                      "0011",
                                      "a",
                                      "Take",
                                      "TAKE 02",
                                      "take 2",
                                      "take 2a",
                                      "take 10",
                                      "take 99999999999999999999",
                                      "take 100000000000000000000",
                                      "take x",
                                      "\xC3\xA9"};
    for (std::size_t i = 0; i < std::size(kAscending); ++i) {
        for (std::size_t j = 0; j < std::size(kAscending); ++j) {
            EXPECT_EQ(order(kAscending[i], kAscending[j]), i < j ? -1 : i > j)
                << kAscending[i] << " / " << kAscending[j];
        }
    }
}

}  // namespace
