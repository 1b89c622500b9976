// QueryPlan: what matching a query comes to for one layout, worked out once for all records.
//
// A record matches when every test holds; a field without a condition costs nothing. The tests are:
//     text         the criterion's text occurs in the value (for a timecode_s, in its punctuated form; for a dos_date,
//                  in its calendar text in local time: weekday, month, day, hh:mm:ss, year and a line feed)
//     range        the query's text lies between the record's start and end values of a pair, compared over the length
//                  of the query's text, both ends included; or it is a leading part of the start value
// A range without a start field matches nothing; one without an end field, or with an empty value there, only as a
// leading part of the start.
//
// Matching needs no memory, so that what depends on it cannot end half-way.
#ifndef KELDB_SEARCH_QUERY_PLAN_H
#define KELDB_SEARCH_QUERY_PLAN_H

#include <vector>

#include "keldb/fields/dbrecord.h"
#include "keldb/search/calendar_text.h"
#include "keldb/support/text_search.h"
#include "keldb/table/field_layout.h"
#include "keldb/table/query.h"

namespace kel {

// The start/end range rule on three texts; `wanted` is not empty.
bool in_range(std::string_view wanted, std::string_view start, std::string_view end) noexcept;

// The text of a field of this type that a search looks at, in the value's own memory or in `buffer`.
std::string_view searched_text(std::string_view value, DBFieldTypes::eType type, CalendarBuffer& buffer) noexcept;

// The flags of a search in a field of this type.
unsigned search_flags(DBFieldTypes::eType type, unsigned word_only) noexcept;

class QueryPlan {
public:
    QueryPlan(const Query& query, const FieldLayout& layout);
    bool matches(const dbrecord& record) const noexcept;
    bool matches_field(const dbrecord& record, unsigned field) const noexcept;  // the tests of that field alone
    // The range rule for a field by its current name; true for a field that is no half of a pair.
    static bool in_pair_of(unsigned field, const String& wanted, const FieldLayout& layout, const dbrecord& record);
    unsigned long long layout_version() const noexcept { return version_; }

private:
    struct Test {
        enum Kind { text, range, nothing } kind;
        unsigned field;
        DBFieldTypes::eType type;
        Needle needle;
        String wanted;
        int start;
        int end;
    };
    static Test range_test(const String& wanted, unsigned field, const FieldLayout& layout);
    static bool holds(const Test& test, const dbrecord& record) noexcept;

    std::vector<Test> tests_;
    unsigned long long version_;
};

}  // namespace kel

#endif
