// The last thing that went wrong in a table: while it was loaded, or in a change of a field's type.
#ifndef KELDB_TABLE_LOAD_ERROR_H
#define KELDB_TABLE_LOAD_ERROR_H

// A copy of a table's error information.
struct dberror {
    enum : int {
        kValueCount = 1,  // a record line whose value count is not the table's field count
        kTypeName = 2,    // a type name that names no type; the field became text
        kHeaderRow = 3,   // a header row whose item count is not the field count
    };
    int kind = 0;
    // kValueCount: the number of records read before the bad line. kTypeName: 3, the type row. kHeaderRow: 3 for the
    // type row, 4 for the name row.
    int index = 0;
    int extra1 = 0;  // 0
    int extra2 = 0;  // 0
};

namespace kel {

// Invariant: the last error wins; reading does not clear it.
class LoadError {
public:
    bool is_set() const noexcept { return set_; }
    const dberror& last() const noexcept { return last_; }
    void record(const dberror& error) noexcept {
        last_ = error;
        set_ = true;
    }
    void clear() noexcept { set_ = false; }

private:
    bool set_ = false;
    dberror last_;
};

}  // namespace kel

#endif
