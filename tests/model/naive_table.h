// The obvious table: vectors of texts, written from the rules; and what it has in common with the obvious view.
// Operations have the library's names and arguments, so that a program does the same to both. How two records compare
// in a sort, how a number is written, whether one text occurs in another, and which fields are halves of a range is
// asked of the library: tests/search, tests/fields and tests/support hold that against the rules.
#ifndef KELDB_TESTS_MODEL_NAIVE_TABLE_H
#define KELDB_TESTS_MODEL_NAIVE_TABLE_H

#include <algorithm>
#include <map>
#include <memory>

#include "keldb/fields/well_known_fields.h"
#include "keldb/search/record_order.h"
#include "keldb/support/ascii.h"
#include "keldb/support/text_search.h"
#include "keldb/support/timecode.h"
#include "keldb/table/keldb.h"
#include "tests/testing/texts.h"

namespace model {

using Text = std::string;
using Log = std::vector<Text>;  // "v3 recordsDeleted 1 2 ", in the order in which listeners heard it
using Numbers = std::vector<unsigned>;
using testing_kit::folded;

struct Field {
    Text name;
    DBFieldTypes::eType type;
    bool ranged = kel::range_pair_of(name) != nullptr;  // by the name that it had when it was added
};
struct Row {
    explicit Row(std::vector<Text> texts) : values(std::move(texts)) {}
    std::vector<Text> values;
    int tag = 0;
    bool changed = false;
    const dbrecord* twin = nullptr;  // the library's record, once the two have been compared
};
using RowPtr = std::shared_ptr<Row>;

// "" where there is no row or no such field.
inline Text value_of(const RowPtr& row, int field) {
    return row && static_cast<unsigned>(field) < row->values.size() ? row->values[static_cast<unsigned>(field)] : "";
}

// What a table shares with the views on it.
struct Data {
    int get_fieldnum(const Text& field) const {
        const auto known = numbers.find(folded(field));
        return field.empty() || known == numbers.end() ? -1 : static_cast<int>(known->second);
    }
    bool store(const RowPtr& row, unsigned field, const Text& text, bool always) {
        if (!row || field >= row->values.size()) return false;
        if (always || row->values[field] != text) row->changed = changed = true;
        row->values[field] = text;
        return true;
    }
    int matches(const RowPtr& row) const {
        if (!row || query.empty()) return -1;
        for (unsigned i = 0; i < fields.size() && i < query.size(); ++i) {
            if (!query[i].empty() && !(fields[i].ranged ? in_range(row, i) : contains(row, i))) return 0;
        }
        return 1;
    }
    bool in_range(const RowPtr& row, unsigned field) const {
        const auto* const pair = kel::range_pair_of(fields[field].name);
        if (!pair) return true;  // renamed since
        const Text from = value_of(row, get_fieldnum(Text(pair->start))), &wanted = query[field];
        const Text to = value_of(row, get_fieldnum(Text(pair->end)));
        const Text from_part = from.substr(0, wanted.size()), to_part = to.substr(0, wanted.size());
        return !from.empty() && (from_part == wanted || (!to.empty() && wanted >= from_part && wanted <= to_part));
    }
    bool contains(const RowPtr& row, unsigned field) const {
        const auto type = fields[field].type;
        String text(row->values[field]);
        if (type == 'T') text = time_def(text, time_def::kLabelKind).get_punctuated_str();
        const unsigned flags = type == 'T' || type == 't' ? TextSearch::kTimecode : 0;
        return kel::Needle(query[field], flags | (word_only != 0 ? TextSearch::kWholeWords : 0)).found_in(text);
    }
    // By the keys as they are now; no record stands last.
    auto order(int direction, int plain) {
        const bool known = static_cast<unsigned>(keys[0]) < fields.size();
        if (!known) keys[0] = -1;
        const bool timecode = known && fields[static_cast<unsigned>(keys[0])].type == DBFieldTypes::timecode;
        kel::sort_state() = {keys, offset, plain, timecode ? keys[0] : -1};
        return [direction](const RowPtr& a, const RowPtr& b) {
            if (!a || !b) return a && !b;
            return (direction < 0 ? kel::compare_descending : kel::compare_ascending)(*a->twin, *b->twin) < 0;
        };
    }

    std::vector<RowPtr> rows;  // raw
    std::vector<Field> fields;
    std::map<Text, unsigned> numbers;  // of fields, by their names in small letters
    std::map<Text, int> ids;           // rows by identifier, as far as they were noted
    std::vector<Text> query;
    bool changed = false;
    int word_only = 0, keys[2] = {0, -1}, offset = 0;
};

// Announces step by step: each listener is told before the next one.
class NaiveBase {
public:
    NaiveBase(Text label, Log& log, Data* of) : name(std::move(label)), log_(log), data_(of) {}
    NaiveBase(const NaiveBase&) = delete;
    NaiveBase& operator=(const NaiveBase&) = delete;
    virtual ~NaiveBase() = default;

    virtual unsigned size() const = 0;
    virtual RowPtr record(unsigned row) const = 0;
    virtual int baseIndex(int row) const = 0;
    virtual int add_records(int count) = 0;
    virtual void insert_records(unsigned at, unsigned count) = 0;
    virtual void delete_records(unsigned start, unsigned count) = 0;
    virtual int get_tag(unsigned row) const = 0;
    virtual void set_tag(unsigned row, int value) = 0;

    int set_field(unsigned row, unsigned field, const char* text) {
        return data_->store(record(row), field, Text(kel::skip_leading_space(text)), true);
    }
    int set_field(unsigned row, unsigned field, auto number) {
        dbrecord written(1);
        written.set_field(0, number);
        return set_field(row, field, Text(written.field_text(0)).c_str());
    }
    int set_field(unsigned row, const Cookie& id) {
        const int field = data_->get_fieldnum("cookie");
        if (field < 0 || !record(row)) return 0;
        const Text text(id.text().view());
        data_->ids[text] = baseIndex(static_cast<int>(row));
        return data_->store(record(row), static_cast<unsigned>(field), text, false);
    }
    void set_sort_offset(int to) { data_->offset = to; }
    void set_sortfield(int field) { data_->keys[0] = field; }
    void set_query(const dbrecord* wanted) {
        if (wanted->get_num_fields() < data_->fields.size()) return;
        data_->query.clear();
        for (unsigned i = 0; i < wanted->get_num_fields(); ++i) data_->query.emplace_back(wanted->field_text(i));
    }
    int match_record(int row) const { return data_->matches(record(static_cast<unsigned>(row))); }

    void invert_tag(unsigned row) { set_tag(row, get_tag(row) == 0); }
    void set_all_tags(int value) {
        for (unsigned i = 0; i < size(); ++i) set_tag(i, value);
    }
    void invert_all_tags() {
        for (unsigned i = 0; i < size(); ++i) invert_tag(i);
    }
    int get_num_tags() const { return static_cast<int>(tagged().size()); }
    Numbers tagged() const {
        return rows_where([this](unsigned i) { return get_tag(i) != 0; });
    }
    int tagMatches(int keep) {
        const Numbers matches = rows_where([this](unsigned i) { return match_record(static_cast<int>(i)) == 1; });
        if (keep == 0) set_all_tags(0);
        for (const unsigned row : matches) set_tag(row, 1);
        return static_cast<int>(matches.size());
    }
    Numbers rows_where(const auto& holds) const {
        Numbers found;
        for (unsigned i = 0; i < size(); ++i) {
            if (holds(i)) found.push_back(i);
        }
        return found;
    }
    int first_where(const auto& holds) const {
        const Numbers found = rows_where(holds);
        return found.empty() ? -1 : static_cast<int>(found[0]);
    }
    // Calls act(row, length), which makes them go, for each run of the rows. How many went.
    static int in_runs(const Numbers& rows, const auto& act) {
        for (unsigned k = 0, length = 1; k < rows.size(); k += length, length = 1) {
            while (k + length < rows.size() && rows[k + length] == rows[k] + length) ++length;
            act(rows[k] - k, length);
        }
        return static_cast<int>(rows.size());
    }

    // --- Listeners, in the order of registration: a view, or somebody foreign who is heard of in the log ---

    void add_listener(NaiveBase* view, unsigned types = 0) { listeners_.push_back({view, types}); }
    void drop_listener(const NaiveBase* view) {  // null: the foreign one
        std::erase_if(listeners_, [view](const auto& listener) { return listener.first == view; });
    }
    bool stood_upon() const {
        return std::ranges::any_of(listeners_, [](const auto& listener) { return listener.first; });
    }
    void announce(unsigned type, const Text& text, const Numbers& deleted) {
        for (const auto& [view, types] : listeners_) {
            if (view) view->rows_deleted(deleted);
            if (types & type) log_.push_back(name + text);
        }
    }
    void announce_deleted(const Numbers& numbers) {
        Text text = " recordsDeleted ";
        for (const unsigned number : numbers) text += std::to_string(number) + " ";
        announce(1, text, numbers);
    }
    virtual void rows_deleted(const Numbers&) {}

    const Text name;
    std::vector<Qv::Ptr<Qv::Guard>> guards;  // of the foreign listener

protected:
    Log& log_;
    Data* data_;
    std::vector<std::pair<NaiveBase*, unsigned>> listeners_;
};

class NaiveTable : public NaiveBase, public Data {
public:
    NaiveTable(Text label, Log& log) : NaiveBase(std::move(label), log, this) {}
    NaiveTable* table() { return this; }

    // --- Rows ---

    unsigned size() const override { return static_cast<unsigned>(seen().size()); }
    RowPtr record(unsigned row) const override { return row < size() ? seen()[row] : nullptr; }
    int baseIndex(int row) const override { return row; }
    int add_records(int count) override {
        const auto first = static_cast<int>(rows.size());
        return show != 0 ? -1 : (put_in(rows.size(), count), first);
    }
    void insert_records(unsigned at, unsigned count) override {
        if (show != 0) return;
        put_in(std::min<std::size_t>(at, rows.size()), static_cast<int>(count));
        ids.clear();
    }
    void delete_records(unsigned start, unsigned count) override {
        if (start >= rows.size() || show != 0) return;
        ids.clear();
        const Numbers gone = rows_where([=](unsigned row) { return row >= start && row - start < count; });
        if (gone.empty()) return;
        rows.erase(rows.begin() + start, rows.begin() + gone.back() + 1);
        changed = true;
        announce_deleted(gone);
    }
    int delete_tagged_records() {
        const Numbers chosen = rows_where([this](unsigned i) { return get_tag(i) == 1; });
        return show != 0 ? -1 : in_runs(chosen, [this](unsigned at, unsigned n) { delete_records(at, n); });
    }
    int add_keldb(const NaiveTable* other) {
        const auto same = [](const Field& a, const Field& b) { return a.name == b.name && a.type == b.type; };
        if (show != 0 || !std::ranges::equal(fields, other->fields, same)) return -1;
        const std::vector<RowPtr> theirs = other->rows;
        for (const RowPtr& row : theirs) rows.push_back(std::make_shared<Row>(row->values));
        return static_cast<int>(theirs.size());
    }
    NaiveTable& operator=(const NaiveTable& other) {
        if (this == &other) return *this;
        static_cast<Data&>(*this) = other;
        show = other.show;
        std::map<RowPtr, RowPtr> copies;
        for (RowPtr& row : rows) {
            row = copies[row] = std::make_shared<Row>(*row);
            row->twin = nullptr;
        }
        shown_ = other.shown_;
        for (RowPtr& row : shown_) row = copies[row];
        return *this;
    }
    bool setField(unsigned row, unsigned field, const String& text) {
        return store(record(row), field, Text(text.view()), false);
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
    void invert_all_tags() {
        for (const RowPtr& row : rows) row->tag = row->tag == 0;
    }
    void set_show_tags_only(int flag) {
        show = flag;
        take_snapshot();
    }
    int tag_all_different(int field) {
        set_all_tags(0);
        set_show_tags_only(0);
        set_sortfield(field);
        sort(1, 0);
        Text previous;
        for (const RowPtr& row : rows) {
            const Text value = folded(value_of(row, field));
            if (value != previous) row->tag = 1;
            previous = value.substr(0, 255);
        }
        return get_num_tags();
    }

    // --- Fields ---

    int addField(const DBFieldDesc& added) {
        const Text field(added.name.view());
        if (get_fieldnum(field) >= 0) return get_fieldnum(field);
        for (const RowPtr& row : rows) row->values.emplace_back();
        fields.push_back({field, added.type});
        number_names();
        return static_cast<int>(fields.size()) - 1;
    }
    void removeField(const char* field) {
        const int found = get_fieldnum(field);
        if (found < 0) return;
        fields.erase(fields.begin() + found);
        numbers.clear();
        number_names();
        for (const RowPtr& row : rows) row->values.erase(row->values.begin() + found);
    }
    int set_fieldname(unsigned field, Text to) {
        if (field >= fields.size()) return 0;
        std::erase(to, '&');
        const Text before = folded(std::exchange(fields[field].name, to));
        if (get_fieldnum(before) == static_cast<int>(field)) numbers.erase(before);
        number_names();  // another field of the old name takes it over
        numbers[folded(to)] = field;
        return 1;
    }
    int set_fieldtype(unsigned field, DBFieldTypes::eType type) {
        if (field < fields.size()) fields[field].type = type;
        return field < fields.size();
    }

    // --- Searching and sorting ---

    void set_word_only_search(int flag) { word_only = flag; }
    int tag_matching_records(int keep) { return query.empty() ? 0 : tagMatches(keep); }
    int findFirst(const char* field, const char* value, int length) {
        const int known = folded(field) == "cookie" ? getRowIndexByID(Cookie(value, false)) : -1;
        if (known >= 0) return known;
        const int number = get_fieldnum(field);
        const std::size_t most = length == 0 ? Text::npos : static_cast<std::size_t>(length);
        const auto found = std::ranges::find_if(rows, [&](const RowPtr& row) {
            return value_of(row, number).substr(0, most) == Text(value).substr(0, most);
        });
        return number < 0 || found == rows.end() ? -1 : static_cast<int>(found - rows.begin());
    }
    int getRowIndexByID(const Cookie& wanted) {
        const Text id(wanted.text().view());
        const int field = get_fieldnum("cookie");
        for (bool anew = false;; anew = true) {
            for (unsigned row = 0, built = !ids.empty(); field >= 0 && !built && row < size(); ++row)
                ids.emplace(value_of(record(row), field), static_cast<int>(row));
            if (ids.count(id) == 0) return -1;
            const RowPtr row = record(static_cast<unsigned>(ids[id]));
            if (anew || (row && field >= 0 && value_of(row, field) == id)) return ids[id];
            ids.clear();  // a plain setter changed the identifier since
        }
    }
    void sort(int direction, int plain) {
        std::ranges::stable_sort(rows, order(direction, plain));
        take_snapshot();
    }

    int show = 0;

private:
    const std::vector<RowPtr>& seen() const { return show != 0 ? shown_ : rows; }
    void put_in(std::size_t at, int count) {
        const std::vector<Text> blank(fields.size());
        while (count-- > 0) rows.insert(rows.begin() + static_cast<long>(at), std::make_shared<Row>(blank));
    }
    void take_snapshot() {  // of the tagged rows, where they stand now
        shown_ = rows;
        std::erase_if(shown_, [](const RowPtr& row) { return row->tag == 0; });
        ids.clear();
    }
    void number_names() {
        for (unsigned i = 0; i < fields.size(); ++i) numbers.emplace(folded(fields[i].name), i);
    }

    std::vector<RowPtr> shown_;
};

}  // namespace model

#endif
