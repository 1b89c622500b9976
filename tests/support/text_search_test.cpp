// A needle is found exactly where a search by the plain rule finds it.

#include "keldb/support/text_search.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/testing/texts.h"

namespace {

constexpr unsigned kFlagSets[] = {0, TextSearch::kWholeWords, TextSearch::kTimecode,
                                  TextSearch::kWholeWords | TextSearch::kTimecode};

std::string seen(std::string text, unsigned flags) {
    text = testing_kit::folded(text);
    for (char& c : text) {
        const bool separator = c == ':' || c == ';' || c == '.' || c == ',';
        c = separator && (flags & TextSearch::kTimecode) ? ':' : c;
    }
    return text;
}

bool in_word(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) > 127; }

bool naive_found(const std::string& wanted, const std::string& text, unsigned flags) {
    const std::string needle = seen(wanted, flags);
    const std::string hay = seen(text, flags);
    for (std::size_t at = hay.find(needle); at != std::string::npos; at = hay.find(needle, at + 1)) {
        const std::size_t end = at + needle.size();
        const bool alone = (at == 0 || !in_word(hay[at - 1])) && (end == hay.size() || !in_word(hay[end]));
        if (needle.empty() || !(flags & TextSearch::kWholeWords) || alone) {
            return true;
        }
    }
    return false;
}

void expect_same(const std::string& wanted, const std::string& text) {
    const auto exact = testing_kit::exact_copy(text);
    for (const unsigned flags : kFlagSets) {
        const bool found = kel::Needle(wanted, flags).found_in({exact.get(), text.size()});
        ASSERT_EQ(found, naive_found(wanted, text, flags)) << wanted << " in " << text << ", flags " << flags;
    }
}

TEST(TextSearch, FindsWhatThePlainRuleFinds) {
    for (std::size_t wanted_length = 0; wanted_length <= 3; ++wanted_length) {
        testing_kit::every_text("aB;: \xC9", wanted_length, [](const std::string& wanted) {
            for (std::size_t length = 0; length <= 4; ++length) {
                testing_kit::every_text("Ab:. ", length, [&](const std::string& text) { expect_same(wanted, text); });
            }
        });
    }
}

// Longer texts of few characters, where a match may begin at any place and near matches are many; the pairs are those
// that differ in one bit from a letter or a separator.
TEST(TextSearch, FindsInLongTexts) {
    std::mt19937 random(3);
    constexpr std::string_view kAlphabet("aAb:;.,!@`[{\0\x80\xFFz", 16);
    const auto some = [&](std::size_t longest, std::size_t letters) {
        std::string text(random() % (longest + 1), ' ');
        for (char& c : text) {
            c = kAlphabet[random() % letters];
        }
        return text;
    };
    for (int i = 0; i < 60'000; ++i) {
        const std::size_t letters = 2 + random() % (kAlphabet.size() - 1);
        const std::string text = some(70, letters);
        const std::string part = text.substr(text.empty() ? 0 : random() % text.size(), random() % 12);
        expect_same(random() % 2 ? part : some(6, letters), text);
    }
}

TEST(TextSearch, Criteria) {
    const auto matches = [](const char* text, const char* wanted, unsigned flags) {
        const TextSearch::Criteria criteria{TextSearch::Criterion(wanted, TextSearch::kContains)};
        EXPECT_EQ(criteria.empty(), !*wanted);
        EXPECT_EQ(criteria.getCriterion(0).text(), wanted);
        return TextSearch::match(text, criteria, flags);
    };
    EXPECT_TRUE(matches("Interview 1", "VIEW", 0));
    EXPECT_FALSE(matches("Interview 1", "view", TextSearch::kWholeWords));
    EXPECT_TRUE(matches("10:00:00;05", "10:00:00:05", TextSearch::kTimecode));
    EXPECT_FALSE(matches("10:00:00;05", "10:00:00:05", 0));
    EXPECT_TRUE(matches("", "", TextSearch::kWholeWords));
    EXPECT_TRUE(TextSearch::match("anything", TextSearch::Criteria(), 0));
}

}  // namespace
