// The obvious table: vectors of texts, written from the rules. Texts are compared, ordered as people count and read as
// timecodes by the library's own support functions, which have tests of their own.
#ifndef KELDB_TESTS_MODEL_NAIVE_TABLE_H
#define KELDB_TESTS_MODEL_NAIVE_TABLE_H

#include <algorithm>
#include <array>
#include <ctime>
#include <map>

#include "keldb/support/conversions.h"
#include "keldb/support/ordering.h"
#include "keldb/support/timecode.h"
#include "tests/model/naive_base.h"

namespace model {

struct Field {
    Text name;
    char type;
    bool ranged;  // half of a start/end pair by the name that it had when it was added
};

// The pair that a field of that name belongs to; of the names that programs use.
inline std::pair<Text, Text> pair_of(const Text& name) {
    if (name == "Start time" || name == "End time") return {"Start time", "End time"};
    if (name == "snd start" || name == "snd end") return {"snd start", "snd end"};
    return {};
}

inline Text without_leading_space(const Text& text) {
    return text.substr(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
}

// What a sort compares by, as it was prepared.
struct Order {
    std::vector<int> keys;
    int offset, plain, timecode, direction;

    bool before(const Row* a, const Row* b) const {  // no record stands last
        if (!a || !b) return a && !b;
        return (direction >= 0 ? ascending(*a, *b) : descending(*a, *b)) < 0;
    }

private:
    static int compare(const Text& a, const Text& b) { return lower(a).compare(lower(b)); }
    static bool blank(const Row& row) {
        return std::all_of(row.values.begin(), row.values.end(), [](const Text& value) { return value.empty(); });
    }
    static Text from(const Text& text, std::size_t at) { return text.substr(std::min(at, text.size())); }

    int ascending(const Row& a, const Row& b) const {
        if (blank(a) || blank(b)) return blank(a) - blank(b);
        for (const int key : keys) {
            const Text x = without_leading_space(a.value(static_cast<unsigned>(key)));
            const Text y = without_leading_space(b.value(static_cast<unsigned>(key)));
            if (x.empty() || y.empty()) return x.empty() - y.empty();
            if (const int order = by_key(key, x, y)) return order;
        }
        return 0;
    }
    int by_key(int key, const Text& x, const Text& y) const {
        if (key == timecode) {
            const int start = compare(x.substr(0, 8), y.substr(0, 8));
            return start != 0 ? start : compare(from(x, 9), from(y, 9));
        }
        if (offset > 0) return compare(from(x, static_cast<unsigned>(offset)), from(y, static_cast<unsigned>(offset)));
        if (plain != 0) return compare(x, y);
        if (offset == 0) return strxcmp(x, y);
        const auto last = static_cast<std::size_t>(-static_cast<long long>(offset));
        return compare(from(x, x.size() - std::min(last, x.size())), from(y, y.size() - std::min(last, y.size())));
    }
    int descending(const Row& a, const Row& b) const {
        for (const int key : keys) {
            const int order = compare(a.value(static_cast<unsigned>(key)), b.value(static_cast<unsigned>(key)));
            if (order != 0) return -order;
        }
        return 0;
    }
};

class NaiveTable : public NaiveBase {
public:
    using NaiveBase::NaiveBase;

    // --- Rows ---

    unsigned size() const override { return static_cast<unsigned>((show_ != 0 ? shown_ : rows).size()); }
    RowPtr record(unsigned row) const override { return row < size() ? (show_ != 0 ? shown_ : rows)[row] : nullptr; }
    int baseIndex(int row) const override { return row; }

    int add_records(int count) override {
        if (show_ != 0) return -1;
        const auto first = static_cast<int>(rows.size());
        for (int i = 0; i < count; ++i) append(std::vector<Text>(fields.size()));
        return first;
    }
    void insert_records(unsigned at, unsigned count) override {
        if (show_ != 0) return;
        at = std::min(at, static_cast<unsigned>(rows.size()));
        for (unsigned i = 0; i < count; ++i)
            rows.insert(rows.begin() + at, std::make_shared<Row>(Row{std::vector<Text>(fields.size())}));
        ids_.clear();
        repoint(false);
    }
    void delete_records(unsigned start, unsigned count) override {
        if (start >= rows.size() || show_ != 0) return;
        count = std::min(count, static_cast<unsigned>(rows.size()) - start);
        std::vector<unsigned> numbers;
        for (unsigned i = 0; i < count; ++i) numbers.push_back(start + i);
        rows.erase(rows.begin() + start, rows.begin() + start + count);
        ids_.clear();
        if (count == 0) return;
        changed = true;
        announce_deleted(numbers);
    }
    int delete_tagged_records() override {
        if (show_ != 0) return -1;
        int deleted = 0;
        for (unsigned row = 0; row < rows.size(); ++row) {
            unsigned length = 0;
            while (row + length < rows.size() && rows[row + length]->tag == 1) ++length;
            if (length != 0) delete_records(row, length);
            deleted += static_cast<int>(length);
        }
        return deleted;
    }

    // --- Values ---

    int set_text(unsigned row, unsigned field, const Text& text) override {
        const RowPtr r = record(row);
        if (!r || field >= r->values.size()) return 0;
        store(*r, field, without_leading_space(text));
        return 1;
    }
    bool setField(unsigned row, unsigned field, const String& text) {
        const RowPtr r = record(row);
        if (!r || field >= r->values.size()) return false;
        if (r->values[field] != text.view()) store(*r, field, Text(text.view()));
        return true;
    }
    using NaiveBase::set_field;
    int set_field(unsigned row, const Cookie& id) override {
        const int field = fieldnum("cookie");
        if (field < 0 || !record(row)) return 0;
        ids_[Text(id.text().view())] = static_cast<int>(row);
        return setField(row, static_cast<unsigned>(field), id.text());
    }
    void clear_changed() {
        for (const RowPtr& row : rows) row->changed = false;
        changed = false;
    }

    // --- Tags ---

    int get_tag(unsigned row) const override { return record(row) ? record(row)->tag : -1; }
    void set_tag(unsigned row, int value) override {
        if (record(row)) record(row)->tag = value & 0xFF;
    }
    void invert_tag(unsigned row) override {
        if (record(row)) record(row)->tag = record(row)->tag == 0;
    }
    void set_all_tags(int value) override {
        for (unsigned i = 0; i < rows.size(); ++i) set_tag(i, value);
    }
    void invert_all_tags() override {
        for (const RowPtr& row : rows) row->tag = row->tag == 0;
    }
    void set_show_tags_only(int flag) override {
        show_ = flag;
        if (flag != 0) index_tags();
        ids_.clear();
        repoint(false);
    }
    int get_show_tags_only() const { return show_; }

    // --- Fields ---

    int fieldnum(const Text& field) const {
        const auto known = numbers_.find(lower(field));
        return field.empty() || known == numbers_.end() ? -1 : static_cast<int>(known->second);
    }
    unsigned addField(const DBFieldDesc& added) {
        const Text field(added.name.view());
        if (fieldnum(field) >= 0) return static_cast<unsigned>(fieldnum(field));
        fields.push_back({field, static_cast<char>(added.type), !pair_of(field).first.empty()});
        const auto number = static_cast<unsigned>(fields.size() - 1);
        if (!field.empty()) numbers_[lower(field)] = number;
        for (const RowPtr& row : rows) row->values.emplace_back();
        return number;
    }
    void removeField(const String& field) {
        const int found = fieldnum(Text(field.view()));
        if (found < 0) return;
        fields.erase(fields.begin() + found);
        numbers_.clear();
        for (unsigned i = 0; i < fields.size(); ++i) {
            if (!fields[i].name.empty()) numbers_.emplace(lower(fields[i].name), i);
        }
        for (const RowPtr& row : rows) row->values.erase(row->values.begin() + found);
    }
    int set_fieldname(unsigned field, const char* name_given) {
        if (field >= fields.size()) return 0;
        Text to = name_given;
        std::erase(to, '&');
        const Text before = lower(fields[field].name);
        fields[field].name = to;
        if (numbers_.count(before) != 0 && numbers_[before] == field) {  // another field of that name takes it over
            numbers_.erase(before);
            for (unsigned i = 0; i < fields.size(); ++i) {
                if (lower(fields[i].name) == before) numbers_.emplace(before, i);
            }
        }
        if (!to.empty()) numbers_[lower(to)] = field;
        return 1;
    }
    int set_fieldtype(unsigned field, DBFieldTypes::eType type) {
        if (type == 0) error = {2, 3, 0, 0};
        if (field >= fields.size()) return 0;
        fields[field].type = type == 0 ? 'a' : static_cast<char>(type);
        return 1;
    }

    // --- Copies and merging ---

    // A new table from this one: the rows it shows, untagged and unchanged.
    void copy_from(NaiveTable& source, bool with_records) {
        fields = source.fields;
        for (Field& field : fields) field.ranged = !pair_of(field.name).first.empty();
        numbers_ = source.numbers_;
        for (unsigned i = 0; with_records && i < source.size(); ++i) append(source.record(i)->values);
    }
    NaiveTable& operator=(const NaiveTable& source) {
        if (this == &source) return *this;
        rows.clear();
        shown_.clear();
        std::map<const Row*, RowPtr> copies;
        for (const RowPtr& row : source.rows) {
            rows.push_back(copies[row.get()] = std::make_shared<Row>(*row));
            rows.back()->twin = nullptr;
        }
        for (const RowPtr& row : source.shown_) {
            if (source.show_ != 0) shown_.push_back(copies.at(row.get()));
        }
        fields = source.fields;
        numbers_ = source.numbers_;
        show_ = source.show_;
        own_keys = source.own_keys;
        keys = source.keys;
        offset = source.offset;
        query = source.query;
        word_only_ = source.word_only_;
        ids_ = source.ids_;
        pending_ = source.pending_;
        depth_ = source.depth_;
        error = source.error;
        changed = source.changed;
        repoint(false);
        return *this;
    }
    int add_keldb(const NaiveTable* other) {
        const auto same = [](const Field& a, const Field& b) { return a.name == b.name && a.type == b.type; };
        if (show_ != 0 || !std::equal(fields.begin(), fields.end(), other->fields.begin(), other->fields.end(), same))
            return -1;
        const std::vector<RowPtr> theirs = other->rows;
        for (const RowPtr& row : theirs) append(row->values);
        return static_cast<int>(theirs.size());
    }
    int merge_all_matching(NaiveTable* other) {
        std::vector<int> match;
        for (const Field& field : fields) match.push_back(other->fieldnum(field.name));
        if (std::all_of(match.begin(), match.end(), [](int field) { return field < 0; })) return 0;
        const unsigned count = other->size();
        for (unsigned r = 0; r < count; ++r) {
            const int row = add_records(1);
            if (row < 0) return 1;
            for (unsigned i = 0; i < fields.size(); ++i) {
                if (match[i] < 0) continue;
                const auto theirs = static_cast<unsigned>(match[i]);
                const Text text = other->record(r)->value(theirs);
                const time_def code(String(text), time_def::kLabelKind);
                const char from = other->fields[theirs].type, to = fields[i].type;
                set_text(static_cast<unsigned>(row), i,
                         from == 'T' && to == 't'   ? Text(code.get_punctuated_str().view())
                         : from == 't' && to == 'T' ? Text(code.get_database_str().view())
                                                    : text);
            }
        }
        return 1;
    }
    void copy_record(int row, const RowPtr& from) {
        const RowPtr to = record(static_cast<unsigned>(row));
        if (!to || !from || to->values.size() != from->values.size()) return;
        const std::vector<Text> values = from->values;
        for (unsigned i = 0; i < values.size(); ++i) store(*to, i, without_leading_space(values[i]));
    }

    // --- Searching and sorting ---

    void set_query(const dbrecord* wanted) {
        if (wanted->get_num_fields() < fields.size()) return;
        query.clear();
        for (unsigned i = 0; i < wanted->get_num_fields(); ++i) query.emplace_back(wanted->field_text(i));
    }
    void set_word_only_search(int flag) { word_only_ = flag; }
    int match_record(int row) const override {
        const RowPtr r = row < 0 ? nullptr : record(static_cast<unsigned>(row));
        if (!r || query.empty()) return -1;
        for (unsigned i = 0; i < fields.size() && i < query.size(); ++i) {
            if (!query[i].empty() && !(fields[i].ranged ? in_range(*r, i) : contains(*r, i))) return 0;
        }
        return 1;
    }
    int tag_matching_records(int keep) override {
        int matches = 0;
        for (unsigned row = 0; row < size() && !query.empty(); ++row) {
            const bool match = match_record(static_cast<int>(row)) == 1;
            if (match || keep == 0) set_tag(row, match);
            matches += match;
        }
        return matches;
    }
    int tag_all_different(int field) override {
        set_all_tags(0);
        set_show_tags_only(0);
        set_sortfield(field);
        sort(1, 0);
        Text previous;
        for (const RowPtr& row : rows) {
            const Text value = field < 0 ? "" : row->value(static_cast<unsigned>(field));
            if (lower(value) == lower(previous)) continue;
            row->tag = 1;
            previous = value.substr(0, 255);
        }
        return get_num_tags();
    }
    int findFirst(const char* field, const char* value, int length) override {
        const int known = lower(field) == "cookie" ? getRowIndexByID(Cookie(value, false)) : -1;
        if (known >= 0) return known;
        const int number = fieldnum(field);
        const auto part = [length](const Text& text) {
            return length == 0 ? text : text.substr(0, static_cast<std::size_t>(length));
        };
        for (unsigned row = 0; number >= 0 && row < rows.size(); ++row) {
            if (part(rows[row]->value(static_cast<unsigned>(number))) == part(value)) return static_cast<int>(row);
        }
        return -1;
    }
    int getRowIndexByID(const Cookie& wanted) {
        const Text id(wanted.text().view());
        if (ids_.empty()) collect_ids();
        const auto known = ids_.find(id);
        if (known == ids_.end()) return -1;
        const int field = fieldnum("cookie");
        const RowPtr row = record(static_cast<unsigned>(known->second));
        if (row && field >= 0 && row->value(static_cast<unsigned>(field)) == id) return known->second;
        ids_.clear();
        collect_ids();
        return ids_.count(id) != 0 ? ids_[id] : -1;
    }
    void set_sortfields(int* list) { keys = list; }
    void set_sort_offset(int to) { offset = to; }
    void set_sortfield(int field) {
        own_keys[0] = field;
        own_keys[1] = -1;
        keys = nullptr;
    }
    Order prepare(int direction, int plain) {
        Order order{{}, offset, plain, -1, direction};
        int* const list = keys ? keys : own_keys.data();
        for (int* key = list; *key >= 0; ++key) {
            if (static_cast<unsigned>(*key) >= fields.size())
                *key = -1;
            else if (fields[static_cast<unsigned>(*key)].type == 't')
                order.timecode = *key;
        }
        for (const int* key = list; *key >= 0; ++key) order.keys.push_back(*key);
        return order;
    }
    void sort(int direction, int plain) override {
        const Order order = prepare(direction, plain);
        std::stable_sort(rows.begin(), rows.end(),
                         [&](const RowPtr& a, const RowPtr& b) { return order.before(a.get(), b.get()); });
        if (show_ != 0) index_tags();
        ids_.clear();
        repoint(false);
    }

    // --- Update brackets ---

    void beginUpdate() {
        if (depth_++ == 0) pending_.clear();
    }
    void addToUpdate(const Cookie& id) { pending_.emplace_back(id.text().view()); }
    void endUpdate() {
        if (depth_ == 0 || --depth_ != 0 || pending_.empty()) return;
        Text payload;
        for (const Text& id : std::exchange(pending_, {})) payload += " " + id;
        announce_changed(payload);
    }

    std::vector<RowPtr> rows;  // raw
    std::vector<Field> fields;
    bool changed = false;
    std::array<int, 4> error{};
    std::array<int, 10> own_keys{0, -1};
    int* keys = nullptr;  // the caller's list, when one is in use
    int offset = 0;
    std::vector<Text> query;

private:
    void append(std::vector<Text> values) {
        rows.push_back(std::make_shared<Row>(Row{std::move(values)}));
        repoint(true);
    }
    void store(Row& row, unsigned field, const Text& text) {
        row.values[field] = text;
        row.changed = changed = true;
    }
    void index_tags() {
        shown_.clear();
        std::copy_if(rows.begin(), rows.end(), std::back_inserter(shown_), [](const RowPtr& r) { return r->tag != 0; });
    }
    void collect_ids() {
        const int field = fieldnum("cookie");
        for (unsigned row = 0; field >= 0 && row < size(); ++row)
            ids_.emplace(record(row)->value(static_cast<unsigned>(field)), static_cast<int>(row));
    }
    bool in_range(const Row& row, unsigned field) const {
        const auto [start, end] = pair_of(fields[field].name);
        const Text& wanted = query[field];
        if (start.empty()) return true;  // renamed since
        const int s = fieldnum(start), e = fieldnum(end);
        const Text from = s < 0 ? "" : row.value(static_cast<unsigned>(s));
        const Text to = e < 0 ? "" : row.value(static_cast<unsigned>(e));
        if (from.empty()) return false;
        if (from.substr(0, wanted.size()) == wanted) return true;
        return !to.empty() && wanted >= from.substr(0, wanted.size()) && wanted <= to.substr(0, wanted.size());
    }
    bool contains(const Row& row, unsigned field) const {
        const char type = fields[field].type;
        Text text = row.value(field), wanted = query[field];
        if (type == 'M') {
            const auto seconds = static_cast<std::time_t>(UIntFromString(String(text), 0));
            text = std::ctime(&seconds);  // NOLINT: one thread
        }
        if (type == 'T') text = time_def(String(text), time_def::kLabelKind).get_punctuated_str().view();
        if (type == 'T' || type == 't') {
            for (Text* part : {&text, &wanted})
                std::replace_if(
                    part->begin(), part->end(), [](char c) { return c == ';' || c == '.' || c == ','; }, ':');
        }
        text = " " + lower(text) + " ";
        wanted = lower(wanted);
        const auto in_word = [&](std::size_t at) {
            return word_only_ != 0 && (kel::is_letter(text[at]) || kel::is_digit(text[at]) || (text[at] & 0x80) != 0);
        };
        for (std::size_t at = text.find(wanted, 1); at < text.size() - wanted.size(); at = text.find(wanted, at + 1)) {
            if (!in_word(at - 1) && !in_word(at + wanted.size())) return true;
        }
        return false;
    }

    int show_ = 0;
    int word_only_ = 0;
    std::vector<RowPtr> shown_;
    std::map<Text, unsigned> numbers_;  // of fields, by their names in small letters
    std::map<Text, int> ids_;
    std::vector<Text> pending_;
    unsigned depth_ = 0;
};

}  // namespace model

#endif
