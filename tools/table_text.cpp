#include "table_text.h"

#include "tag_field.h"

namespace tool {

TextFile table_text(keldb& table) {
    TextFile file;
    const int tags = tag_field(table);
    table.save_params(file);
    table.save_column_header(file, false);
    for (unsigned row = 0; row < table.get_num_records(); ++row) {
        dbrecord& record = *table.get_record(row);
        if (tags >= 0) record.set_field(tags, record.get_tag());
        record.write(file);
    }
    return file;
}

}  // namespace tool
