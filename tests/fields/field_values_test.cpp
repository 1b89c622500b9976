// The texts of a record in every form, blank, packed, embedded and open, against a vector of strings; and a text that
// was handed out stays as it was until its value is written or the count changes.
#include "keldb/fields/field_values.h"
#include "tests/testing/kit.h"

namespace {

struct Subject {
    std::string fault() const {
        if (!values.ok()) return "ok() is false";
        if (values.size() != twin.size()) return "the count is " + std::to_string(values.size());
        const auto empty = [](const std::string& text) { return text.empty(); };
        if (values.all_empty() != std::all_of(twin.begin(), twin.end(), empty)) return "all_empty is wrong";
        if ((values.memory() == 0) != (values.address() == nullptr)) return "memory without a block";
        unsigned short i = 0;
        std::size_t total = 0;
        bool right = true;
        values.for_each([&](std::string_view text, std::size_t readable) {
            right = right && text == twin[i] && std::string(text.data(), readable).starts_with(text) &&
                    values.text(i) == text && values.copy(i) == text && text.data()[text.size()] == '\0';
            total += twin[i++].size();
        });
        if (!right || i != twin.size() || values.total_size() != total) return "a value, or their sum, is wrong";
        const auto changed = [](const auto& one) { return one.text != one.expected; };
        return std::any_of(held.begin(), held.end(), changed) ? "a text handed out has changed" : "";
    }
    unsigned short place(Random& random) const { return static_cast<unsigned short>(random.below(twin.size())); }

    struct Held {
        unsigned short field;
        std::string_view text;
        std::string expected;
    };
    kel::FieldValues values;
    std::vector<std::string> twin;
    std::vector<Held> held;
};

std::string some_text(Random& random) {  // around the limit of 16-bit ends, too
    return random.one_in(64) ? std::string(65500 + random.below(256), 'x') : random.of(odd_texts());
}

void act_on_value(Random& random, Subject& one, unsigned kind) {
    const unsigned short i = one.place(random);
    if (kind < 2) {
        const std::string_view text = kind == 0 ? one.values.text(i) : one.values.string(i).view();
        return one.held.push_back({i, text, one.twin[i]});
    }
    std::erase_if(one.held, [&](const auto& held) { return kind == 2 || held.field == i; });
    if (kind == 2) {
        one.values.erase(i);
        one.twin.erase(one.twin.begin() + i);
    } else if (kind == 3) {  // from a text of the very same object
        const unsigned short from = one.place(random);
        const std::size_t at = random.below(one.twin[from].size() + 1);
        one.values.set(i, one.values.text(from).substr(at));
        one.twin[i] = std::string(one.twin[from], at);
    } else {
        one.twin[i] = some_text(random);
        if (kind == 4) one.values.set(i, String(one.twin[i]));
        if (kind == 5) one.values.set(i, std::string_view(exact_copy(one.twin[i]).get(), one.twin[i].size()));
    }
}

// Embedded in a block of exactly its size, which must outlive the values.
std::unique_ptr<char[]> pack(Random& random, Subject& one, bool embedded) {
    one.twin.resize(random.below(14));
    kel::ValueBuilder builder;
    builder.start(0);
    for (std::string& each : one.twin) builder.append(each = some_text(random));
    if (!embedded) return one.values.pack(builder), nullptr;
    auto memory = std::make_unique<char[]>(kel::FieldValues::packed_size(builder));
    one.values.pack_into(memory.get(), builder);
    return memory;
}

TEST(FieldValues, AgreeWithAVectorOfStrings) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        Random random(seed);
        std::vector<std::unique_ptr<char[]>> memory;
        Subject one, other;
        for (unsigned steps = random.below(400); steps > 0; --steps) {
            const unsigned kind = random.below(14);
            if (kind < 6 && !one.twin.empty()) {
                act_on_value(random, one, kind);
            } else if (kind > 10) {
                one.values.swap(other.values), one.twin.swap(other.twin), one.held.swap(other.held);
            } else {
                const auto count = static_cast<unsigned short>(random.below(256));
                if (kind != 9 || count != one.twin.size()) one.held.clear();
                if (kind < 9) memory.push_back(pack(random, one, kind == 8));
                if (kind == 9) one.values.resize(count), one.twin.resize(count);
                if (kind == 10 && count < 192) one.values = other.values, one.twin = other.twin;
                if (kind == 10 && count >= 192) one.values.clear(), std::fill(one.twin.begin(), one.twin.end(), "");
            }
            ASSERT_EQ(one.fault() + other.fault(), "") << "seed " << seed << ", kind " << kind;
        }
    }
}

}  // namespace
