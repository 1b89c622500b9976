// A string of bytes read as a program: every byte string is one, and the same bytes are the same program on any
// machine. Past the end all choices are 0.
#ifndef KELDB_TESTS_MODEL_BYTE_SOURCE_H
#define KELDB_TESTS_MODEL_BYTE_SOURCE_H

#include <cstdint>
#include <limits>
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

    // A row, position or count: mostly inside 0 to `size`, sometimes one or two beyond, seldom absurd.
    int near(int size) {
        static constexpr int kAbsurd[] = {-1, -2, 65535, 65536, 2147483647, -2147483647 - 1};
        if (one_in(40)) return kAbsurd[pick(6)];
        return static_cast<int>((u8() << 8 | u8()) % (static_cast<unsigned>(size) + (one_in(6) ? 3U : 1U)));
    }

    // Few texts often, so that values meet again; all the odd ones now and then.
    const std::string& text() {
        static const std::string common[] = {"", "a", "A", "b", " b", "take 2", "take 10", "10:00:00:05"};
        if (!one_in(3)) return common[pick(8)];
        const auto& odd = testing_kit::odd_texts();
        return odd[u8() % odd.size()];
    }
    const char* id_text() {
        static constexpr const char* kIds[] = {"M0", "M1", "M2", "M3", "M4", "M5", "M6", "M7"};
        return kIds[pick(8)];
    }
    Cookie id() { return Cookie(id_text(), false); }
    const char* value() { return one_in(2) ? id_text() : text().c_str(); }  // what is searched for
    double number() {
        static constexpr double kNumbers[] = {0.0,   -0.0,   1.5,    2.0000000049,
                                              12.5,  -1e-9,  1e15,   std::numeric_limits<double>::infinity(),
                                              1e308, 5e-324, -1e308, 2.5};
        return kNumbers[pick(12)];
    }
    int tag() {
        static constexpr int kTags[] = {0, 1, 0, 1, 1, 2, 255, 256, -1};
        return kTags[pick(9)];
    }
    const char* field_name() {
        static constexpr const char* kNames[] = {"Name",      "Cookie", "Tag",    "Start time", "End time", "tc",
                                                 "snd start", "NAME",   "cookie", "A&B",        "",         "notes"};
        return kNames[pick(12)];
    }
    DBFieldTypes::eType type() { return static_cast<DBFieldTypes::eType>("aattTTMnlf"[pick(10)]); }

private:
    std::string_view rest_;
};

}  // namespace model

#endif
