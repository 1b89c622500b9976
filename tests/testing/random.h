// The same choices on every machine, from a seed.
#ifndef KELDB_TESTS_TESTING_RANDOM_H
#define KELDB_TESTS_TESTING_RANDOM_H

#include <random>
#include <string>
#include <vector>

namespace testing_kit {

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
