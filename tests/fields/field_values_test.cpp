// The texts of a record in every form, blank, packed, embedded and open, against a vector of strings; and a text that
// was handed out stays as it was until its value is written or the count changes.
#include "keldb/fields/field_values.h"
#include "tests/testing/kit.h"

namespace {

std::string some_text(Random& random) {  // around the limit of 16-bit ends, too
    return random.one_in(64) ? std::string(65500 + random.below(256), 'x') : random.of(odd_texts());
}

struct Subject {
    kel::FieldValues values;
    std::vector<std::string> twin;
    std::vector<std::pair<unsigned short, std::string_view>> held;  // handed out of these fields

    bool right() const {
        unsigned short i = 0;
        std::size_t total = 0;
        bool right = values.ok() && values.size() == twin.size();
        values.for_each([&](std::string_view text, std::size_t readable) {
            right = right && text == twin[i] && std::string(text.data(), readable).starts_with(text) &&
                    values.text(i) == text && values.copy(i) == text && text.data()[text.size()] == '\0';
            total += text.size();
            ++i;
        });
        right = right && (values.memory() == 0) == (values.address() == nullptr);
        for (const auto& [field, text] : held) right = right && text == twin[field];
        return right && i == twin.size() && values.total_size() == total && values.all_empty() == (total == 0);
    }

    // Packs texts into a block of exactly their size, which must outlive the values.
    std::unique_ptr<char[]> embed(Random& random) {
        kel::ValueBuilder builder;
        builder.start(0);
        twin.resize(random.below(14));
        for (std::string& text : twin) builder.append(text = some_text(random));
        auto memory = std::make_unique<char[]>(kel::FieldValues::packed_size(builder));
        values.pack_into(memory.get(), builder);
        return memory;
    }
};

TEST(FieldValues, AgreeWithAVectorOfStrings) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        Random random(seed);
        std::vector<std::unique_ptr<char[]>> memory;
        Subject one, other;
        unsigned short i = 0;
        const std::function<void()> acts[] = {
            [&] { memory.push_back(one.embed(random)); },
            [&] { other = one; },
            [&] { std::swap(one, other); },
            [&] {
                one.twin.resize(random.below(200));
                one.values.resize(static_cast<unsigned short>(one.twin.size()));
            },
            [&] {
                one.twin.erase(one.twin.begin() + i);
                one.values.erase(i);
            },
            [&] { one.held.emplace_back(i, one.values.text(i)); },
            [&] { one.held.emplace_back(i, one.values.string(i).view()); },
            [&] { one.values.set(i, String(one.twin[i] = some_text(random))); },
            [&] { one.values.set(i, std::string_view(one.twin[i] = some_text(random))); },
            [&] {  // from a text of the very same object
                const auto from = static_cast<unsigned short>(random.below(one.twin.size()));
                const std::size_t at = random.below(one.twin[from].size() + 1);
                one.values.set(i, one.values.text(from).substr(at));
                one.twin[i] = std::string(one.twin[from], at);
            },
        };
        for (unsigned steps = random.below(400); steps > 0; --steps) {
            const std::size_t count = one.twin.size();
            const unsigned kind = random.below(count == 0 ? 4 : std::size(acts));
            i = static_cast<unsigned short>(count == 0 ? 0 : random.below(count));
            std::erase_if(one.held, [&](const auto& text) { return kind < 5 || (kind > 6 && text.first == i); });
            acts[kind]();
            ASSERT_TRUE(one.right() && other.right()) << "seed " << seed << ", kind " << kind;
        }
    }
}

}  // namespace
