// Query: what a table is searched for, one criteria per field.
//
// Invariant: it is never read past its end; fields beyond it have no condition. What can be worked out from the query
// and the layout alone is kept beside it (QueryPlan, made by the search) until either changes; a copy starts without.
#ifndef KELDB_TABLE_QUERY_H
#define KELDB_TABLE_QUERY_H

#include <memory>
#include <utility>
#include <vector>

#include "keldb/support/text_search.h"

namespace kel {

class QueryPlan;

class Query {
public:
    Query() = default;
    Query(const Query& other) : criteria_(other.criteria_), word_only_(other.word_only_), case_(other.case_) {}
    Query& operator=(const Query&) = delete;
    void swap(Query& other) noexcept {
        criteria_.swap(other.criteria_);
        std::swap(word_only_, other.word_only_);
        std::swap(case_, other.case_);
        plan_.reset();
        other.plan_.reset();
    }

    bool empty() const noexcept { return criteria_.empty(); }
    const std::vector<TextSearch::Criteria>& criteria() const noexcept { return criteria_; }
    void set(std::vector<TextSearch::Criteria> criteria) noexcept {
        criteria_.swap(criteria);
        plan_.reset();
    }

    unsigned word_only() const noexcept { return word_only_; }
    unsigned case_significant() const noexcept { return case_; }
    void set_word_only(unsigned flag) noexcept {
        word_only_ = flag;
        plan_.reset();
    }
    void set_case_significant(unsigned flag) noexcept { case_ = flag; }  // kept, and consulted by no comparison

    const std::shared_ptr<const QueryPlan>& plan() const noexcept { return plan_; }
    void keep_plan(std::shared_ptr<const QueryPlan> plan) const noexcept { plan_ = std::move(plan); }

private:
    std::vector<TextSearch::Criteria> criteria_;
    unsigned word_only_ = 0;
    unsigned case_ = 0;
    mutable std::shared_ptr<const QueryPlan> plan_;
};

}  // namespace kel

#endif
