// Reads a string of bytes as a program of operations on two FieldValues and runs it beside two vectors of strings.
// After every step both must agree, and every text that was handed out and not ended since must still read as it did.
#ifndef KELDB_TESTS_FIELDS_FIELD_VALUES_PROGRAM_H
#define KELDB_TESTS_FIELDS_FIELD_VALUES_PROGRAM_H

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "keldb/fields/field_values.h"
#include "tests/testing/texts.h"

namespace testing_kit {

class FieldValuesProgram {
public:
    explicit FieldValuesProgram(std::string_view bytes) : rest_(bytes) {}

    std::string run() {  // "" or the step and what differs
        for (unsigned step = 0; !rest_.empty(); ++step) {
            const unsigned which = below(2), kind = below(12);
            act(subjects_[which], subjects_[1 - which], kind);
            const std::string wrong = subjects_[0].fault() + subjects_[1].fault();
            if (!wrong.empty()) return "step " + std::to_string(step) + ", kind " + std::to_string(kind) + ": " + wrong;
        }
        return "";
    }

private:
    struct Held {
        unsigned short field;
        std::string_view text;
        std::string expected;
    };

    struct Subject {
        kel::FieldValues values;
        std::vector<std::string> twin;
        std::vector<Held> held;

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
            const auto changed = [](const Held& h) { return h.text != h.expected; };
            return std::any_of(held.begin(), held.end(), changed) ? "a text handed out has changed" : "";
        }
    };

    void act(Subject& one, Subject& other, unsigned kind) {
        if (kind < 6 && !one.twin.empty()) return act_on_value(one, kind, place_in(one.twin));
        if (kind == 10) {
            one.values.swap(other.values);
            one.twin.swap(other.twin);
            return one.held.swap(other.held);
        }
        const auto count = static_cast<unsigned short>(kind == 9 ? below(256) : 0);
        if (kind != 9 || count != one.twin.size()) one.held.clear();
        if (kind < 9) {
            pack(one, kind == 8);
        } else if (kind == 9) {
            one.values.resize(count);
            one.twin.resize(count);
        } else if (below(4) == 0) {
            one.values.clear();
            std::fill(one.twin.begin(), one.twin.end(), "");
        } else {
            one.values = other.values;
            one.twin = other.twin;
        }
    }

    void act_on_value(Subject& one, unsigned kind, unsigned short i) {
        if (kind < 2) {
            const std::string_view text = kind == 0 ? one.values.text(i) : one.values.string(i).view();
            return one.held.push_back({i, text, one.twin[i]});
        }
        std::erase_if(one.held, [&](const Held& h) { return kind == 2 || h.field == i; });
        if (kind == 2) {
            one.values.erase(i);
            one.twin.erase(one.twin.begin() + i);
        } else if (kind == 3) {  // from a text of the very same object
            const unsigned short from = place_in(one.twin);
            const std::size_t at = below(one.twin[from].size() + 1);
            one.values.set(i, one.values.text(from).substr(at));
            one.twin[i] = std::string(one.twin[from], at);
        } else {
            one.twin[i] = text();
            if (kind == 4) one.values.set(i, String(one.twin[i]));
            if (kind == 5) one.values.set(i, std::string_view(exact_copy(one.twin[i]).get(), one.twin[i].size()));
        }
    }

    // In a block of its own, or in memory that stays with this program (with nothing behind it that could be written).
    void pack(Subject& one, bool embedded) {
        one.twin.resize(below(14));
        kel::ValueBuilder builder;
        builder.start(0);
        for (std::string& each : one.twin) builder.append(each = text());
        if (!embedded) return one.values.pack(builder);
        memory_.push_back(std::make_unique<char[]>(kel::FieldValues::packed_size(builder)));
        one.values.pack_into(memory_.back().get(), builder);
    }

    // By the next byte of the program, which is 0 past the end; n is at most 256.
    unsigned below(std::size_t n) {
        const auto byte = static_cast<unsigned char>(rest_.empty() ? '\0' : rest_.front());
        rest_.remove_prefix(rest_.empty() ? 0 : 1);
        return static_cast<unsigned>(byte % n);
    }
    unsigned short place_in(const std::vector<std::string>& texts) {
        return static_cast<unsigned short>(below(texts.size()));
    }
    std::string text() {
        if (below(64) == 0) return std::string(65500 + below(256), 'x');  // around the limit of 16-bit ends
        return odd_texts()[below(odd_texts().size())];
    }

    std::string_view rest_;
    std::vector<std::unique_ptr<char[]>> memory_;  // outlives the values
    Subject subjects_[2];
};

}  // namespace testing_kit

#endif
