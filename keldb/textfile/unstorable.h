// What the text format cannot give back: everything in a table that saving it with save_text and loading it again
// changes or loses. The format itself is described in doc/table_format.md.
#ifndef KELDB_TEXTFILE_UNSTORABLE_H
#define KELDB_TEXTFILE_UNSTORABLE_H

#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/string.h"
#include "keldb/table/keldb.h"

struct StorageLoss {
    enum class Kind {
        // The table
        no_parameters,           // a file that begins with the marker line is not read
        records_without_fields,  // `row` is their number: they become blank lines, which are not read
        tags_without_field,      // `row` records are tagged, and no field named Tag holds the tags
        revision,                // the number in the revision entry is not the table's revision

        // Parameter `field`, counted from 0; field name or type `field`
        parameter,
        field_name,
        field_type,

        // Record `row`
        value_count,  // it has other than the table's number of fields: it and all records behind it are lost
        value,        // in field `field`
        tag_value,    // the field Tag, in which a save puts the record's tag
    };
    enum class Reason {
        none,
        double_quote,
        line_end,        // a line feed in a name or parameter, a carriage return in a value
        backslash_n,     // reads back as a line feed
        blanks_at_ends,  // dropped by the reader
        too_long,        // more than 4095 bytes
        colon,           // in a parameter's name
        no_name,         // a parameter of that kind is dropped
        ampersand,       // taken out of field names
        odd_code,        // a type that is no single visible character
    };

    Kind kind;
    Reason reason = Reason::none;
    unsigned row = 0;
    unsigned field = 0;
};

// Every such thing, in file order: the table, its parameters, its fields, its records by row (stored rows, whatever is
// shown). Empty exactly when a table loaded from the saved file equals this one in revision, parameters, field names
// and types, and all values and tags (tags as the Tag field gives them).
KELDB_API std::vector<StorageLoss> storage_losses(const keldb& table);

// The loss in words: what it is and what becomes of it, such as `a backslash and n in the value read back as a line
// feed`. Where it is must be said before it.
KELDB_API String describe(const StorageLoss& loss);

#endif
