#include "tag_field.h"

#include "keldb/support/ascii.h"

namespace tool {

namespace {
int tag_of(std::string_view text) {
    constexpr int kHighest = 255;
    const int number = kel::read_int(text);
    return number >= 0 && number <= kHighest ? number : 1;
}
}  // namespace

int tag_field(const keldb& table) { return table.get_fieldnum("Tag"); }

void take_tags(keldb& table) {
    const int field = tag_field(table);
    if (field < 0) return;
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        dbrecord* record = table.get_record(row);
        record->set_tag(tag_of(record->field_text(static_cast<unsigned>(field))));
    }
}

}  // namespace tool
