// Texts that break careless code, what tests do with texts, and random choices from a seed.
#ifndef KELDB_TESTS_TESTING_TEXTS_H
#define KELDB_TESTS_TESTING_TEXTS_H

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace testing_kit {

// Empty and blank texts, zero and high bytes, case pairs, lengths around 8 and 15, runs of digits of unequal length
// with leading zeros and signs, timecodes.
inline const std::vector<std::string>& odd_texts() {
    using namespace std::string_literals;
    // clang-format off
    static const std::vector<std::string> texts = {
        "", " ", "  ", "\t", " a", "a", "A", "a ", "b", "\0"s, "a\0"s, "a\0b"s, "a\0B"s, "\x80", "\xFF", "a\xFF",
        "abcdefg", "abcdefgh", "abcdefghi", "ABCDEFGH", "fifteen bytes !", "sixteen bytes !!", "0", "00", "1", "01",
        "2", "10", "0010", "-1", "+1", "-10", "take 2", "take 02", "Take 2", "take 10", "take 2a", "take 2 b", "take",
        "take ", "1.5", "1.10", "1a2", "1a02", "01A2", "99999999999999999999999", "099999999999999999999999",
        "100000000000000000000000", "10:00:00:05", "10:00:00;05", "9:59:59:29", "10000005", "[", "{", "/", ":", "@",
        "`"};
    // clang-format on
    return texts;
}

inline std::string folded(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

inline int sign(int number) { return (number > 0) - (number < 0); }

// A copy in a block of exactly its size, so that a sanitizer sees a read behind the last byte.
inline std::unique_ptr<char[]> exact_copy(std::string_view text) {
    std::unique_ptr<char[]> bytes(new char[text.size()]);
    std::copy(text.begin(), text.end(), bytes.get());
    return bytes;
}

// Calls visit(text) for every text of `length` characters of `alphabet` (which may hold zero bytes).
template <class Visit>
void every_text(std::string_view alphabet, std::size_t length, const Visit& visit, const std::string& start = "") {
    if (start.size() == length) {
        visit(start);
    } else {
        for (const char c : alphabet) every_text(alphabet, length, visit, start + c);
    }
}

// The same choices on every machine.
class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    unsigned below(std::size_t n) { return static_cast<unsigned>(engine_() % n); }
    bool one_in(unsigned n) { return below(n) == 0; }
    template <class T>
    const T& of(const std::vector<T>& values) {
        return values[below(values.size())];
    }
    std::string bytes(std::size_t size) {
        std::string text(size, '\0');
        for (char& byte : text) byte = static_cast<char>(below(256));
        return text;
    }

private:
    std::mt19937 engine_;
};

}  // namespace testing_kit

#endif
