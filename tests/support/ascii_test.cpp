// Number texts are read as the C locale's own functions read them; case-blind order is the order of folded bytes; a
// needle is found exactly where a search by the plain rule finds it.
#include "keldb/support/ordering.h"
#include "keldb/support/text_search.h"
#include "tests/testing/kit.h"

namespace {

using namespace std::string_literals;

TEST(Numbers, ReadAsTheCLocaleReadsThem) {
    std::vector<std::string> parts = pieces(
        " |\t|+|-|0|1|9|25|.|e|E|0x|p|a|F|inf|infinity|nan|nan(1)|308|e400|e-400|p-1600|2147483648|99999999999|x|\xB2");
    parts.emplace_back(400, '0');
    const locale_t c_locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    Random random(2);
    for (int i = 0; i < 400'000; ++i) {
        std::string text;
        for (std::size_t left = random.below(8); left > 0; --left) text += random.of(parts);
        const auto exact = exact_copy(text);  // nothing behind the last byte may be read
        const std::string_view seen(exact.get(), text.size());
        const long long integer = std::strtoll(text.c_str(), nullptr, 10);
        ASSERT_EQ(kel::read_int(seen), std::clamp<long long>(integer, INT_MIN, INT_MAX)) << text;
        const double expected = ::strtod_l(text.c_str(), nullptr, c_locale), read = kel::read_double(seen);
        ASSERT_TRUE(read == expected || (std::isnan(read) && std::isnan(expected))) << text << " read as " << read;
        ASSERT_EQ(std::signbit(read), std::signbit(expected)) << text;
    }
    ::freelocale(c_locale);
}

TEST(CaseBlindOrder, IsTheOrderOfFoldedBytes) {
    for (const std::string& text : odd_texts()) {
        for (const std::string& other : odd_texts()) {
            const std::string a = folded(text), b = folded(other);
            ASSERT_EQ(sign(kel::compare_ignoring_case(text, other)), sign(a.compare(b))) << a << " / " << b;
            ASSERT_TRUE(kel::equal_ignoring_case(text, other) == (a == b) && (strxcmp(text, other) == 0) == (a == b));
            ASSERT_EQ(kel::starts_ignoring_case(text, other), a.starts_with(b));
            ASSERT_EQ(kel::ends_ignoring_case(text, other), a.ends_with(b));
        }
    }
}

bool naive_found(std::string needle, std::string hay, unsigned flags) {
    for (std::string* text : {&needle, &hay}) {
        *text = folded(*text);
        for (char& c : *text) c = (flags & TextSearch::kTimecode) && ";.,"s.find(c) != std::string::npos ? ':' : c;
    }
    const auto in_word = [&](std::size_t i) {  // no letter stands before the start and behind the end
        const char c = i < hay.size() ? hay[i] : ' ';
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) > 127;
    };
    for (std::size_t at = hay.find(needle); at != std::string::npos; at = hay.find(needle, at + 1)) {
        const bool alone = !in_word(at - 1) && !in_word(at + needle.size());
        if (needle.empty() || !(flags & TextSearch::kWholeWords) || alone) return true;
    }
    return false;
}

TEST(TextSearch, FindsWhatThePlainRuleFinds) {
    // Few characters, so that near matches are many; some differ in one bit from a letter or a separator.
    Random random(3);
    constexpr std::string_view kAlphabet("aAb:; .,!@`[{\0\x7F\x80\xFFz", 18);
    for (int i = 0; i < 150'000; ++i) {
        const std::size_t letters = 2 + random.below(kAlphabet.size() - 1);
        std::string text(random.below(i % 2 ? 71 : 6), ' ');
        for (char& c : text) c = kAlphabet[random.below(letters)];
        std::string wanted = text.substr(random.below(text.size() + 1), random.below(12));
        if (random.one_in(2)) wanted += kAlphabet[random.below(letters)];
        const auto exact = exact_copy(text);
        for (unsigned flags = 0; flags <= (TextSearch::kWholeWords | TextSearch::kTimecode); ++flags) {
            const bool found = kel::Needle(wanted, flags).found_in({exact.get(), text.size()});
            ASSERT_EQ(found, naive_found(wanted, text, flags)) << wanted << " in " << text << ", flags " << flags;
        }
    }
}

}  // namespace
