#include "storage_text.h"

#include "keldb/textfile/unstorable.h"
#include "limited_list.h"
#include "messages.h"

namespace tool {
namespace {

using Kind = StorageLoss::Kind;

constexpr std::size_t kTypeRowAbove = 2;  // lines above the first record
constexpr std::size_t kNameRowAbove = 1;

bool says_the_same(const keldb& table, const StorageLoss& loss) {
    if (loss.kind != Kind::tag_value) return false;
    const dbrecord& record = *table.get_record(loss.row);
    return record.get_tag() == 0 && record.field_text(loss.field).empty();
}

std::string place(const keldb& table, const StorageLoss& loss) {
    switch (loss.kind) {
    case Kind::parameter:
        return fmt::format("parameter \"{}\": ", table.get_nth_param_name(static_cast<int>(loss.field)));
    case Kind::field_name:
    case Kind::field_type:
        return fmt::format("field \"{}\": ", table.get_fieldname(loss.field));
    case Kind::value_count:
        return fmt::format("record {}: ", loss.row + 1);
    case Kind::value:
    case Kind::tag_value:
        return fmt::format("record {}, field \"{}\": ", loss.row + 1, table.get_fieldname(loss.field));
    default:
        return {};
    }
}

// The parameters stand at the head of the file, one a line, but for those that were dropped.
std::size_t parameter_line(const LoadReport& report, unsigned number) {
    std::size_t line = number + 1;
    for (const LoadFinding& finding : report.findings) {
        if (finding.kind == LoadFinding::Kind::nameless_parameter && finding.line <= line) ++line;
    }
    return line;
}

std::size_t header_line(const OpenTable& input, std::size_t above) {
    if (input.comma_separated) return 1;
    const std::size_t first = input.report.first_record_line;
    return first > above ? first - above : 0;
}

std::size_t line_of(const OpenTable& input, const StorageLoss& loss) {
    switch (loss.kind) {
    case Kind::revision:
        return 1;
    case Kind::parameter:
        return parameter_line(input.report, loss.field);
    case Kind::field_name:
        return header_line(input, kNameRowAbove);
    case Kind::field_type:
        return header_line(input, kTypeRowAbove);
    case Kind::value_count:
    case Kind::value:
    case Kind::tag_value:
        return input.report.first_record_line == 0 ? 0 : input.report.first_record_line + loss.row;
    default:
        return 0;
    }
}

}  // namespace

std::vector<LossText> losses_of(const OpenTable& input) {
    std::vector<LossText> texts;
    for (const StorageLoss& loss : storage_losses(input.table)) {
        if (says_the_same(input.table, loss)) continue;
        texts.push_back({line_of(input, loss), place(input.table, loss) + std::string(describe(loss).view())});
    }
    return texts;
}

bool tell_losses(const OpenTable& input, const std::string& saved_as) {
    LimitedList list(saved_as);
    for (const LossText& loss : losses_of(input)) list.tell(located(saved_as, 0, loss.text));
    return list.size() != 0;
}

}  // namespace tool
