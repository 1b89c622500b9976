// keldb show: the records of a table, all or those asked for.

#include <limits>
#include <optional>

#include "command.h"
#include "field_choice.h"
#include "mapped_fields.h"
#include "messages.h"
#include "output.h"
#include "print_table.h"
#include "selection.h"
#include "terminal.h"
#include "where_clause.h"
#include "write_records.h"

namespace tool {
namespace {

struct ShowOptions {
    InputChoice input;
    std::vector<std::string> fields, where, sort, distinct;
    unsigned limit = std::numeric_limits<unsigned>::max();
    int offset = 0;
    bool all_fields = false, descending = false, tagged = false, explain = false, csv = false, json = false;
};

// The options with every field name found in the table.
struct Wanted {
    std::vector<unsigned> fields;
    std::vector<FieldValue> conditions;
    std::vector<unsigned> distinct;
    SortOrder order;
};

std::optional<Wanted> find_wanted(OpenTable& input, const ShowOptions& options) {
    std::optional<std::vector<unsigned>> fields = fields_listed(input, options.fields);
    std::optional<std::vector<FieldValue>> conditions = read_conditions(input, options.where);
    std::optional<std::vector<unsigned>> keys = fields_listed(input, options.sort);
    std::optional<std::vector<unsigned>> distinct = fields_listed(input, options.distinct);
    if (!fields || !conditions || !keys || !distinct) return std::nullopt;
    if (options.fields.empty()) *fields = options.all_fields ? all_fields(input.table) : mapped_fields(input.table);
    return Wanted{std::move(*fields), std::move(*conditions), std::move(*distinct),
                  SortOrder{std::move(*keys), options.descending, options.offset}};
}

void explain(OpenTable& input, const std::vector<FieldValue>& conditions) {
    for (const FieldValue& condition : conditions) tell_line(explained(input.table, condition));
}

void select(Selection& records, const Wanted& wanted, const ShowOptions& options) {
    records.keep_matches(wanted.conditions);
    if (options.tagged) records.keep_tagged();
    for (const unsigned field : wanted.distinct) records.keep_distinct(field);
    if (!wanted.order.fields.empty()) records.sort(wanted.order);
}

// Returns whether every value could be shown as it is.
bool write(const Selection& records, const std::vector<unsigned>& fields, const ShowOptions& options) {
    StandardOutput out;
    if (options.json) return write_json(records, fields, out) == 0;
    if (options.csv) {
        write_csv(records, fields, out);
    } else if (records.size() != 0) {
        print_table(records, fields, {terminal_width(), colour_wanted()}, out);
    }
    return true;
}

int show(const ShowOptions& options) {
    const std::unique_ptr<OpenTable> input = open_table(options.input);
    if (!input) return kFault;
    const std::optional<Wanted> wanted = find_wanted(*input, options);
    if (!wanted) return kFault;
    if (wanted->fields.empty() && input->table.get_num_fields() != 0) {
        tell("{}: the field map shows no field; --all-fields shows them", input->name);
        return kFindings;
    }
    if (options.explain) explain(*input, wanted->conditions);

    Selection records(input->table);
    select(records, *wanted, options);
    const bool nothing_matched = records.size() == 0 && (!wanted->conditions.empty() || options.tagged);
    if (nothing_matched) tell_no_match(*input, wanted->conditions);
    records.keep_first(options.limit);
    const bool as_it_is = write(records, wanted->fields, options);
    if (!as_it_is) tell("{}: some bytes are no UTF-8: JSON shows them as U+FFFD", input->name);
    return nothing_matched || !as_it_is || !input->whole() ? kFindings : kDone;
}

}  // namespace

void add_show(CLI::App& app, Action& chosen) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App& command = *app.add_subcommand("show", "Show the records of a table");
    add_input(command, options->input);
    CLI::Option* fields = add_repeatable(command, "--fields", options->fields, "Show these fields, in this order: A,B");
    command.add_flag("--all-fields", options->all_fields, "Show every field, whatever the table's field map says")
        ->excludes(fields);
    add_repeatable(command, "--where", options->where, "Show the records that match FIELD=VALUE; all of several");
    command.add_flag("--tagged", options->tagged, "Show tagged records only");
    add_repeatable(command, "--distinct", options->distinct, "Show one record for each value of the field");
    CLI::Option* sort = add_repeatable(command, "--sort", options->sort, "Sort by these fields: A,B");
    CLI::Option* descending = command.add_flag("--desc", options->descending, "Sort downwards")->needs(sort);
    command.add_option("--offset", options->offset, "Sort by what follows the first N bytes; -N: by the last N bytes")
        ->needs(sort)
        ->excludes(descending);
    command.add_option("--limit", options->limit, "Show the first N records only");
    command.add_flag("--explain", options->explain, "Say how each value of --where is understood");
    CLI::Option* csv = command.add_flag("--csv", options->csv, "Write comma-separated lines (RFC 4180)");
    command.add_flag("--json", options->json, "Write a JSON array of objects")->excludes(csv);
    choose(command, chosen, options, show);
}

}  // namespace tool
