// Reads a string of bytes as a program of operations on two FieldValues and runs it beside two vectors of strings.
// After every step both must agree, and every text that was handed out and not ended since must still read as it did.
#ifndef KELDB_TESTS_FIELDS_FIELD_VALUES_PROGRAM_H
#define KELDB_TESTS_FIELDS_FIELD_VALUES_PROGRAM_H

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "keldb/fields/field_values.h"
#include "tests/model/byte_source.h"

namespace testing_kit {

class FieldValuesProgram {
public:
    explicit FieldValuesProgram(std::string_view bytes) : source_(bytes) {}

    std::string run() {  // "" or the step and what differs
        for (unsigned step = 0; !source_.empty(); ++step) {
            Subject& one = subjects_[source_.pick(2)];
            const unsigned kind = source_.pick(12);
            act(one, &one == subjects_ ? subjects_[1] : subjects_[0], kind);
            const std::string wrong = subjects_[0].fault() + subjects_[1].fault();
            if (!wrong.empty())
                return "step " + std::to_string(step) + " of kind " + std::to_string(kind) + ": " + wrong;
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
            std::string wrong;
            values.for_each([&](std::string_view text, std::size_t readable) {
                const bool walked = text == twin[i] && std::string(text.data(), readable).starts_with(text);
                if (!walked || values.text(i) != text || values.copy(i) != text || text.data()[text.size()] != '\0') {
                    wrong = "value " + std::to_string(i);
                }
                total += twin[i++].size();
            });
            if (i != twin.size() || values.total_size() != total) return "total_size, or the walk, is wrong";
            for (const Held& h : held) {
                if (h.text != h.expected) return "a text handed out has changed";
            }
            return wrong;
        }
    };

    void act(Subject& one, Subject& other, unsigned kind) {
        if (kind < 6 && !one.twin.empty()) {
            return act_on_value(one, kind, static_cast<unsigned short>(source_.u8() % one.twin.size()));
        }
        if (kind == 10) {
            one.values.swap(other.values);
            one.twin.swap(other.twin);
            return one.held.swap(other.held);
        }
        const auto count = static_cast<unsigned short>(kind == 9 ? source_.u8() : 0);
        if (kind != 9 || count != one.twin.size()) one.held.clear();
        if (kind < 9) {
            pack(one, kind == 8);
        } else if (kind == 9) {
            one.values.resize(count);
            one.twin.resize(count);
        } else if (source_.one_in(4)) {
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
            const auto from = static_cast<unsigned short>(source_.u8() % one.twin.size());
            const std::size_t at = source_.u8() % (one.twin[from].size() + 1);
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
        one.twin.resize(source_.pick(14));
        kel::ValueBuilder builder;
        builder.start(0);
        for (std::string& each : one.twin) builder.append(each = text());
        if (!embedded) return one.values.pack(builder);
        memory_.push_back(std::make_unique<char[]>(kel::FieldValues::packed_size(builder)));
        one.values.pack_into(memory_.back().get(), builder);
    }

    std::string text() {
        if (source_.one_in(64)) return std::string(65500 + source_.u8(), 'x');  // around the limit of 16-bit ends
        return source_.text();
    }

    model::ByteSource source_;
    std::vector<std::unique_ptr<char[]>> memory_;  // outlives the values
    Subject subjects_[2];
};

}  // namespace testing_kit

#endif
