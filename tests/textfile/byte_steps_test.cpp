#include "keldb/textfile/byte_steps.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "keldb/textfile/value_quoting.h"
#include "tests/testing/random.h"
#include "tests/testing/texts.h"

namespace {

using testing_kit::exact_copy;
using testing_kit::Random;

// Texts of bytes that lie around the wanted ones.
std::string text_of_size(Random& random, std::size_t size) {
    static const std::vector<char> near = {'"', '\n', '\r', '!', '#', 'a', ',', '\0', '\x8A', '\xA2', '\x0B'};
    std::string text(size, ' ');
    for (char& c : text) c = random.one_in(3) ? random.of(near) : 'x';
    return text;
}

TEST(ByteSteps, BothKindsCopyAndFindTheFirstWantedByte) {
    Random random(1);
    for (int round = 0; round < 20000; ++round) {
        const std::string text = text_of_size(random, kel::kStepBytes);
        const auto expected = static_cast<unsigned>(std::min(text.find_first_of("\"\n\r"), kel::kStepBytes));
        const auto agrees = [&](const auto& step) {
            char copy[kel::kStepBytes];
            step.copy_to(copy);
            return std::string(copy, sizeof copy) == text && step.template first_of<'"', '\n', '\r'>() == expected;
        };
        const auto bytes = exact_copy(text);
        ASSERT_TRUE(agrees(kel::PlainStep(bytes.get()))) << testing::PrintToString(text);
        ASSERT_TRUE(agrees(kel::ByteStep(bytes.get()))) << testing::PrintToString(text);
    }
}

TEST(ByteSteps, QuotingFollowsItsRulesAndReadsNoFurtherThanItMay) {
    Random random(2);
    for (int round = 0; round < 20000; ++round) {
        const std::string behind = text_of_size(random, random.below(20)),
                          value = text_of_size(random, random.below(40));
        std::string expected = "\"";
        for (const char c : value)
            expected += c == '"' ? "\"\"" : c == '\n' ? "\\n" : c == '\r' ? "" : std::string(1, c);
        expected += '"';
        const auto bytes = exact_copy(value + behind);
        const std::size_t room = kel::quoted_room(value.size()) + kel::kQuotingSpill;
        const auto quoted = std::make_unique<char[]>(room);
        char* const end = kel::put_quoted(quoted.get(), {bytes.get(), value.size()}, value.size() + behind.size());
        ASSERT_EQ(std::string(quoted.get(), static_cast<std::size_t>(end - quoted.get())), expected);
    }
}

}  // namespace
