// Query by example on a table.

#include "keldb/search/query_plan.h"
#include "keldb/table/keldb.h"

void keldb::set_query(dbrecord* query) {
    if (!query || query->get_num_fields() < layout_.size()) return;
    std::vector<TextSearch::Criteria> criteria;
    criteria.reserve(query->get_num_fields());
    for (unsigned i = 0; i < query->get_num_fields(); ++i)
        criteria.emplace_back(TextSearch::Criterion(String(query->field_text(i)), TextSearch::kContains));
    setQuery(criteria);
}

void keldb::setQuery(const std::vector<TextSearch::Criteria>& criteria) {
    if (criteria.size() < layout_.size() || &criteria == &query_.criteria()) return;
    query_.set(criteria);
}

void keldb::set_word_only_search(int flag) { query_.set_word_only(static_cast<unsigned>(flag)); }

void keldb::set_case_significant_search(int flag) { query_.set_case_significant(static_cast<unsigned>(flag)); }

const kel::QueryPlan& keldb::query_plan() const {
    if (!query_.plan() || query_.plan()->layout_version() != layout_.version())
        query_.keep_plan(std::make_shared<const kel::QueryPlan>(query_, layout_));
    return *query_.plan();
}

int keldb::match_record(int row) const {
    const dbrecord* record = row < 0 ? nullptr : get_record(static_cast<unsigned>(row));
    if (!record || query_.empty()) return -1;
    return query_plan().matches(*record) ? 1 : 0;
}

bool keldb::sets_condition(unsigned field) const {
    return field < query_.criteria().size() && !query_.criteria()[field].empty();
}

int keldb::match_field(const dbrecord* record, int field) const {
    if (field < 0) return 0;
    if (!record) return sets_condition(static_cast<unsigned>(field)) ? 0 : 1;
    return query_plan().matches_field(*record, static_cast<unsigned>(field)) ? 1 : 0;
}

bool keldb::found_in_special_label_field(const dbrecord* record, int field) const {
    const auto i = static_cast<unsigned>(field);
    if (field < 0 || i >= layout_.size()) return false;
    if (!sets_condition(i)) return true;
    return record && kel::QueryPlan::in_pair_of(i, query_.criteria()[i].getCriterion(0).text(), layout_, *record);
}

bool keldb::matchField(const dbrecord* record, unsigned short field, const TextSearch::Criteria& criteria) const {
    if (!record || field >= layout_.size()) return false;
    const DBFieldTypes::eType type = layout_.type(field);
    kel::CalendarBuffer buffer;
    const std::string_view text = kel::searched_text(record->field_text(field), type, buffer);
    return TextSearch::match(String(text), criteria, kel::search_flags(type, query_.word_only()));
}
