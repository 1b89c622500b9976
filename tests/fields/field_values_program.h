// Reads a string of bytes as a program of operations on two FieldValues and runs it beside two vectors of strings.
// After every step the texts, the emptiness and ok() must agree, and every text pointer and every String that was
// handed out and that nothing has ended since must still read as it did.
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
            const std::string name = act();
            const std::string wrong = first_.fault() + second_.fault();
            if (!wrong.empty()) return "step " + std::to_string(step) + ", " + name + ": " + wrong;
        }
        return "";
    }

private:
    struct Held {
        unsigned short field;
        std::string_view text;  // or
        const String* string;
        std::string expected;
    };

    struct Subject {
        kel::FieldValues values;
        std::vector<std::string> twin;
        std::vector<Held> held;

        void end(unsigned short field) {
            std::erase_if(held, [field](const Held& h) { return h.field == field; });
        }
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
                if (!walked || values.text(i) != text || values.copy(i) != text ||
                    values.text(i).data()[text.size()] != '\0')
                    wrong = "value " + std::to_string(i);
                total += twin[i++].size();
            });
            if (!wrong.empty()) return wrong;
            if (i != twin.size() || values.total_size() != total) return "total_size, or the walk, is wrong";
            for (const Held& h : held) {
                if ((h.string ? h.string->view() : h.text) != h.expected) return "a text handed out has changed";
            }
            return "";
        }
    };

    std::string act() {
        Subject& one = source_.one_in(2) ? first_ : second_;
        Subject& other = &one == &first_ ? second_ : first_;
        const unsigned kind = source_.pick(12);
        if (kind < 6 && !one.twin.empty()) {
            return act_on_value(one, kind, static_cast<unsigned short>(source_.u8() % one.twin.size()));
        }
        if (kind < 9) return kind == 8 ? pack(one, true) : pack(one, false);
        if (kind == 9) {
            const auto count = static_cast<unsigned short>(source_.u8());
            if (count != one.twin.size()) one.held.clear();
            one.values.resize(count);
            one.twin.resize(count);
            return "resize";
        }
        if (kind == 10) {
            one.values.swap(other.values);
            one.twin.swap(other.twin);
            one.held.swap(other.held);
            return "swap";
        }
        if (source_.one_in(4)) {
            one.held.clear();
            one.values.clear();
            std::fill(one.twin.begin(), one.twin.end(), "");
            return "clear";
        }
        one.held.clear();
        one.values = other.values;
        one.twin = other.twin;
        return "copy";
    }

    std::string act_on_value(Subject& one, unsigned kind, unsigned short i) {
        if (kind == 0) {
            one.held.push_back({i, one.values.text(i), nullptr, one.twin[i]});
            return "text";
        }
        if (kind == 1) {
            one.held.push_back({i, {}, &one.values.string(i), one.twin[i]});
            return "string";
        }
        if (kind == 2) {
            one.held.clear();
            one.values.erase(i);
            one.twin.erase(one.twin.begin() + i);
            return "erase";
        }
        one.end(i);
        if (kind == 3) {  // from a text of the very same object
            const auto from = static_cast<unsigned short>(source_.u8() % one.twin.size());
            const std::size_t at = source_.u8() % (one.twin[from].size() + 1);
            const std::string expected = one.twin[from].substr(at);
            one.values.set(i, one.values.text(from).substr(at));
            one.twin[i] = expected;
            return "set from its own text";
        }
        const std::string wanted = text();
        if (kind == 4) {
            one.values.set(i, String(wanted));
        } else {
            one.values.set(i, std::string_view(exact_copy(wanted).get(), wanted.size()));
        }
        one.twin[i] = wanted;
        return "set";
    }

    // In a block of its own, or in memory that stays with this program (with nothing behind it that could be written).
    std::string pack(Subject& one, bool embedded) {
        std::vector<std::string> texts(source_.pick(14));
        for (std::string& each : texts) each = text();
        kel::ValueBuilder builder;
        builder.start(0);
        for (const std::string& each : texts) builder.append(each);
        one.held.clear();
        one.twin = texts;
        if (embedded) {
            memory_.push_back(std::make_unique<char[]>(kel::FieldValues::packed_size(builder)));
            one.values.pack_into(memory_.back().get(), builder);
        } else {
            one.values.pack(builder);
        }
        return "pack";
    }

    std::string text() {
        if (source_.one_in(64)) return std::string(65500 + source_.u8(), 'x');  // around the limit of 16-bit ends
        return source_.text();
    }

    model::ByteSource source_;
    std::vector<std::unique_ptr<char[]>> memory_;  // outlives the values
    Subject first_;
    Subject second_;
};

}  // namespace testing_kit

#endif
