// Sorting many records: each key is read once into a step of sixteen bytes, steps are sorted as numbers, and only ties
// go on: to the next key when the steps are exact and ended, else to the next step of the values, and at last to the
// comparison of records itself. The result is that of a stable sort with it.

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "keldb/search/key_words.h"
#include "keldb/search/record_order.h"
#include "keldb/support/huge_pages.h"

namespace kel {
namespace {

struct Item {
    KeyStep step;
    std::uint32_t row;
};

constexpr std::ptrdiff_t kFewItems = 8;       // at most so many: insertion by the comparison is as fast
constexpr std::ptrdiff_t kRadixItems = 1024;  // from here on a radix sort beats comparing numbers
constexpr std::ptrdiff_t kFetchAhead = 8;

// Memory for many items, to be written before it is read.
template <class T>
std::unique_ptr<T[]> untouched(std::size_t count) {
    std::unique_ptr<T[]> memory(new T[count]);
    prefer_huge_pages(memory.get(), count * sizeof(T));
    return memory;
}

// Sorts by one word of the step, keeping the order of equal ones; `scratch` has room for as many items. Bytes that are
// equal in all words cost nothing.
void radix_sort(Item* first, Item* last, std::uint64_t KeyStep::*word, Item* scratch) {
    std::array<std::array<std::uint32_t, 256>, 8> counts{};
    for (const Item* item = first; item != last; ++item) {
        for (unsigned byte = 0; byte < 8; ++byte) ++counts[byte][item->step.*word >> 8 * byte & 0xFF];
    }
    const auto size = static_cast<std::uint32_t>(last - first);
    Item* from = first;
    Item* to = scratch;
    for (unsigned byte = 0; byte < 8; ++byte) {
        std::array<std::uint32_t, 256>& places = counts[byte];
        if (places[from->step.*word >> 8 * byte & 0xFF] == size) continue;
        std::uint32_t place = 0;
        for (std::uint32_t& count : places) place += std::exchange(count, place);
        for (const Item* item = from; item != from + size; ++item)
            to[places[item->step.*word >> 8 * byte & 0xFF]++] = *item;
        std::swap(from, to);
    }
    if (from != first) std::copy(from, from + size, first);
}

// Sorts by bits 32 to 61, keeping the order of words that are equal there.
void sort_words(std::uint64_t* first, std::size_t size) {
    constexpr unsigned kBits = 10;
    constexpr std::uint64_t kDigit = (1U << kBits) - 1;
    std::uint64_t* const last = first + size;
    if (std::is_sorted(first, last, [](std::uint64_t a, std::uint64_t b) { return a >> 32 < b >> 32; })) return;
    const std::unique_ptr<std::uint64_t[]> scratch = untouched<std::uint64_t>(size);
    std::uint64_t *from = first, *to = scratch.get();
    for (unsigned shift = 32; shift < 62; shift += kBits) {
        std::array<std::uint32_t, kDigit + 1> places{};
        for (std::size_t i = 0; i < size; ++i) ++places[from[i] >> shift & kDigit];
        std::uint32_t place = 0;
        for (std::uint32_t& count : places) place += std::exchange(count, place);
        for (std::size_t i = 0; i < size; ++i) to[places[from[i] >> shift & kDigit]++] = from[i];
        std::swap(from, to);
    }
    std::copy(from, from + size, first);
}

// Calls visit(run, end) for each run of more than one item for which same(a, b) holds between neighbours.
template <class Same, class Visit>
void each_run(Item* first, Item* last, Same same, Visit visit) {
    while (first != last) {
        Item* end = first + 1;
        while (end != last && same(*first, *end)) ++end;
        if (end - first > 1) visit(first, end);
        first = end;
    }
}

bool same_step(const Item& a, const Item& b) { return a.step == b.step; }
bool same_high(const Item& a, const Item& b) { return a.step.high == b.step.high; }

class KeyedSort {
public:
    KeyedSort(std::span<const dbrecord* const> records, bool ascending) : records_(records), ascending_(ascending) {}

    std::vector<std::uint32_t> run() {
        std::vector<std::uint32_t> order(records_.size());
        if (by_one_timecode() && order_by_timecode(sort_state().keys[0], order)) return order;
        items_ = untouched<Item>(order.size());
        scratch_ = untouched<Item>(order.size());
        for (std::uint32_t row = 0; row < order.size(); ++row) items_[row].row = row;
        Item* first = items_.get();
        Item* last = first + order.size();
        last = keep_in_front(first, last, [this](Item& item) { return records_[item.row] != nullptr; });
        const int* key = sort_state().keys;
        if (key && *key >= 0)
            sort_by_key(first, last, key);
        else if (ascending_)
            blank_ones_last(first, last);
        std::transform(first, first + order.size(), order.begin(), [](const Item& item) { return item.row; });
        return order;
    }

private:
    const dbrecord& record(const Item& item) const { return *records_[item.row]; }
    // The descending order takes values as they are, in the manner of an ascending one from byte 0, turned round.
    std::string_view value(const Item& item, int field) const {
        return ascending_ ? key_value(record(item), field) : record(item).field_text(static_cast<unsigned>(field));
    }
    KeyRule rule(int field) const { return ascending_ ? rule_of(field, sort_state()) : KeyRule{KeyRule::from, 0}; }
    KeyStep turned(const KeyStep& step) const { return ascending_ ? step : KeyStep{~step.high, ~step.low}; }

    int compare(const Item& a, const Item& b) const {
        return ascending_ ? compare_ascending(record(a), record(b)) : compare_descending(record(a), record(b));
    }
    auto before() const {
        return [this](const Item& a, const Item& b) { return compare(a, b) < 0; };
    }

    bool by_one_timecode() const {
        const int* key = sort_state().keys;
        return std::ssize(records_) >= kRadixItems && ascending_ && key && key[0] >= 0 && key[1] < 0 &&
               rule(key[0]).kind == KeyRule::timecode;
    }

    // The order in which logs are asked for most: all that decides is one number, and it lies in one word with the row.
    // False, and nothing done, when a value is no timecode in its usual form.
    bool order_by_timecode(int field, std::vector<std::uint32_t>& order) const {
        constexpr std::uint64_t kNoValue = std::uint64_t{1} << 27, kBlank = kNoValue + 1, kMissing = kNoValue + 2;
        const std::unique_ptr<std::uint64_t[]> words = untouched<std::uint64_t>(order.size());
        for (std::size_t row = 0; row < order.size(); ++row) {
            if (const std::size_t far = row + 3 * kFetchAhead; far < order.size())
                fetch(records_[far], records_[far - kFetchAhead], records_[far - 2 * kFetchAhead], field);
            std::uint64_t place = kMissing;
            if (const dbrecord* record = records_[row]) {
                const std::string_view text = key_value(*record, field);
                const auto number =
                    text.empty() ? (record->is_blank() != 0 ? kBlank : kNoValue) : timecode_number(text);
                if (!number) return false;
                place = *number;
            }
            words[row] = place << 32 | row;
        }
        sort_words(words.get(), order.size());
        std::transform(words.get(), words.get() + order.size(), order.begin(),
                       [](std::uint64_t word) { return static_cast<std::uint32_t>(word); });
        return true;
    }

    // Moves the items for which `wanted` holds to the front, each part keeping its order; returns where they end.
    template <class Wanted>
    Item* keep_in_front(Item* first, Item* last, Wanted wanted) {
        Item* front = first;
        Item* others = scratch_.get();
        for (Item* item = first; item != last; ++item) *(wanted(*item) ? front : others)++ = *item;
        std::copy(scratch_.get(), others, front);
        return front;
    }

    Item* blank_ones_last(Item* first, Item* last) {
        return keep_in_front(first, last, [this](Item& item) { return record(item).is_blank() == 0; });
    }

    // Records lie anywhere in memory: asks for the one that comes soon, for the places of the texts of one that comes
    // sooner, and for the very text that is read from the one after next.
    static void fetch(const dbrecord* soon, const dbrecord* sooner, const dbrecord* next, int field) {
        __builtin_prefetch(soon);
        if (const void* texts = sooner ? sooner->values().address() : nullptr) {
            __builtin_prefetch(texts);
            __builtin_prefetch(static_cast<const char*>(texts) + 64);
        }
        if (next) __builtin_prefetch(next->field_text(static_cast<unsigned>(field)).data());
    }
    void fetch_ahead(const Item* item, const Item* last, int field) const {
        if (last - item <= 3 * kFetchAhead) return;
        fetch(&record(item[3 * kFetchAhead]), &record(item[2 * kFetchAhead]), &record(item[kFetchAhead]), field);
    }

    // Records with equal values in the keys before; none of them blank but for the first key. In ascending order those
    // without a value come last and are not looked at further; of them, the blank ones at the very end.
    void sort_by_key(Item* first, Item* last, const int* key) {
        if (last - first < 2) return;
        bool exact = true;
        Item* with_value = next_steps_.get() && key == second_key_ ? take_kept_steps(first, last)
                                                                   : read_steps(first, last, key, exact);
        if (ascending_) blank_ones_last(with_value, last);
        if (exact) {
            sort_ties(first, with_value, key, 0, true);
        } else {
            sort_by_step(first, with_value, key, 0, false);
        }
    }

    // Reads the first exact step of a key, and moves the items that have a value to the front. While all records are
    // read in the order in which they lie in memory, what a tie may want next is read with it: the second step, and the
    // first one of the next key.
    Item* read_steps(Item* first, Item* last, const int* key, bool& exact) {
        const KeyRule of_key = rule(*key);
        if (last - first >= kRadixItems && first == items_.get() && key == sort_state().keys)
            keep_more_steps(key, of_key);
        return keep_in_front(first, last, [&](Item& item) {
            fetch_ahead(&item, last, *key);
            const std::string_view text = value(item, *key);
            if (ascending_ && text.empty()) return false;
            if (exact) exact = read_exact(text, of_key, item);
            if (next_steps_ && !read_exact(value(item, *second_key_), rule(*second_key_), 0, next_steps_[item.row]))
                next_steps_.reset();
            return true;
        });
    }

    void keep_more_steps(const int* key, const KeyRule& of_key) {
        if (of_key.kind != KeyRule::timecode) second_steps_ = untouched<KeyStep>(records_.size());
        // A kept step must tell whether there is a value: one that is shorter than an offset looks like none.
        if (key[1] < 0 || rule(key[1]).offset != 0) return;
        next_steps_ = untouched<KeyStep>(records_.size());
        second_key_ = key + 1;
    }

    bool read_exact(std::string_view text, const KeyRule& of_key, Item& item) const {
        KeyStep steps[2];
        if (!second_steps_) return read_exact(text, of_key, 0, item.step);
        const bool exact = exact_key_steps(text, of_key, 0, steps);
        item.step = turned(steps[0]);
        if (!steps[0].is_last()) second_steps_[item.row] = turned(steps[1]);  // else memory that is never touched
        return exact;
    }

    bool read_exact(std::string_view text, const KeyRule& of_key, unsigned k, KeyStep& place) const {
        KeyStep step;
        const bool exact = exact_key_steps(text, of_key, k, {&step, 1});
        place = turned(step);
        return exact;
    }

    Item* take_kept_steps(Item* first, Item* last) {
        return keep_in_front(first, last, [this](Item& item) {
            item.step = next_steps_[item.row];
            return !ascending_ || !item.step.is_empty();
        });
    }

    void sort_by_step(Item* first, Item* last, const int* key, unsigned k, bool exact) {
        if (last - first <= kFewItems) return insert_all(first, last);
        const KeyRule of_key = rule(*key);
        const bool kept = exact && k == 1 && key == sort_state().keys && second_steps_;
        for (Item* item = first; item != last; ++item) {
            if (kept) {
                item->step = second_steps_[item->row];
                continue;
            }
            fetch_ahead(item, last, *key);
            if (exact) {
                read_exact(value(*item, *key), of_key, k, item->step);
            } else {
                item->step = turned(key_step(value(*item, *key), of_key, k));
            }
        }
        sort_ties(first, last, key, k, exact);
    }

    // Sorts items by their steps, and what is equal by what comes next.
    void sort_ties(Item* first, Item* last, const int* key, unsigned k, bool exact) {
        sort_steps(first, last);
        each_run(first, last, same_step, [&](Item* run, Item* end) {
            if (!turned(run->step).is_last()) {
                k + 1 < kKeySteps ? sort_by_step(run, end, key, k + 1, exact) : std::stable_sort(run, end, before());
            } else if (exact) {
                next_key(run, end, key);
            } else {
                settle(run, end, key);
            }
        });
    }

    void next_key(Item* first, Item* last, const int* key) {
        if (key[1] >= 0) sort_by_key(first, last, key + 1);
    }

    // A run whose steps ended equal without being exact: most often equal values all the same.
    void settle(Item* first, Item* last, const int* key) {
        const KeyRule of_key = rule(*key);
        const std::string_view one = value(*first, *key);
        const bool equal = std::all_of(
            first + 1, last, [&](const Item& item) { return compare_key(one, value(item, *key), of_key) == 0; });
        if (equal)
            next_key(first, last, key);
        else
            std::stable_sort(first, last, before());
    }

    // Items of one run stand in their first order, so the row settles equal steps.
    void sort_steps(Item* first, Item* last) {
        sort_word(first, last, &KeyStep::high);
        each_run(first, last, same_high, [this](Item* run, Item* end) { sort_word(run, end, &KeyStep::low); });
    }

    void sort_word(Item* first, Item* last, std::uint64_t KeyStep::*word) {
        const auto smaller = [word](const Item& a, const Item& b) { return a.step.*word < b.step.*word; };
        if (std::is_sorted(first, last, smaller)) return;  // logs often come in the order that is asked for
        if (last - first >= kRadixItems) return radix_sort(first, last, word, scratch_.get());
        std::sort(first, last, [word](const Item& a, const Item& b) {
            return a.step.*word != b.step.*word ? a.step.*word < b.step.*word : a.row < b.row;
        });
    }

    void insert_all(Item* first, Item* last) const {
        for (Item* item = first + 1; item < last; ++item) {
            const Item moving = *item;
            Item* place = item;
            for (; place != first && compare(moving, place[-1]) < 0; --place) *place = place[-1];
            *place = moving;
        }
    }

    std::span<const dbrecord* const> records_;
    bool ascending_;
    std::unique_ptr<Item[]> items_;
    std::unique_ptr<Item[]> scratch_;

    // By row, all exact; null while there are none.
    std::unique_ptr<KeyStep[]> second_steps_;  // of the first key, where its first step is not the last
    std::unique_ptr<KeyStep[]> next_steps_;    // the first ones of the second key
    const int* second_key_ = nullptr;
};

}  // namespace

std::vector<std::uint32_t> sorted_order(std::span<const dbrecord* const> records, int direction) {
    return KeyedSort(records, direction >= 0).run();
}

}  // namespace kel
