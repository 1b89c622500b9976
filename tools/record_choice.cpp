#include "record_choice.h"

#include "messages.h"
#include "where_clause.h"

namespace tool {

void add_record_choice(CLI::App& command, RecordChoice& choice, const std::string& verb) {
    add_repeatable(command, "--where", choice.where, verb + " the records that match FIELD=VALUE; all of several");
    command.add_flag("--tagged", choice.tagged, verb + " tagged records only");
    command.add_flag("--all", choice.all, verb + " every record");
}

std::optional<Selection> choose_records(OpenTable& input, const RecordChoice& choice) {
    const bool some = choice.tagged || !choice.where.empty();
    if (some == choice.all) {
        tell("say which records: --where FIELD=VALUE, --tagged, or --all");
        return std::nullopt;
    }
    const std::optional<std::vector<FieldValue>> conditions = read_conditions(input, choice.where);
    if (!conditions) return std::nullopt;
    Selection records(input.table);
    records.keep_matches(*conditions);
    if (choice.tagged) records.keep_tagged();
    if (records.size() == 0) tell_no_match(input, *conditions);
    return records;
}

}  // namespace tool
