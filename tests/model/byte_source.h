// A string of bytes read as a program: every byte string is one, and the same bytes are the same program on any
// machine. Past the end all choices are 0.
#ifndef KELDB_TESTS_MODEL_BYTE_SOURCE_H
#define KELDB_TESTS_MODEL_BYTE_SOURCE_H

#include <string>

#include "keldb/fields/field_types.h"
#include "keldb/support/cookie.h"
#include "tests/testing/texts.h"

namespace model {

class ByteSource {
public:
    explicit ByteSource(std::string_view bytes) : rest_(bytes) {}

    bool empty() const { return rest_.empty(); }
    unsigned u8() {
        if (rest_.empty()) return 0;
        const auto byte = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return byte;
    }
    unsigned pick(unsigned n) { return u8() % n; }  // 0 to n - 1, n at most 256
    bool one_in(unsigned n) { return pick(n) == 0; }
    template <class T, unsigned n>
    const T& of(const T (&choices)[n]) {
        return choices[pick(n)];
    }

    // A row, position or count: mostly inside 0 to `size`, sometimes one or two beyond, seldom absurd.
    int near(int size) {
        if (one_in(40)) return of({-1, -2, 65535, 65536, 2147483647, -2147483647 - 1});
        const unsigned high = u8() << 8, low = u8();
        return static_cast<int>((high | low) % (static_cast<unsigned>(size) + (one_in(6) ? 3U : 1U)));
    }

    // Few texts often, so that values meet again; all the odd ones now and then.
    const std::string& text() {
        static const std::string common[] = {"", "a", "A", "b", " b", "take 2", "take 10", "10:00:00:05"};
        return one_in(3) ? testing_kit::odd_texts()[u8() % testing_kit::odd_texts().size()] : of(common);
    }
    const char* id() { return of({"M0", "M1", "M2", "M3", "M4", "M5", "M6", "M7"}); }
    const char* value() { return one_in(2) ? id() : text().c_str(); }  // what is searched for
    const char* field_name() {
        return of({"Name", "Cookie", "Tag", "Start time", "End time", "tc", "snd start", "NAME", "cookie", "A&B", "",
                   "notes"});
    }
    DBFieldTypes::eType type() { return static_cast<DBFieldTypes::eType>("aattTTnlf"[pick(9)]); }

private:
    std::string_view rest_;
};

}  // namespace model

#endif
