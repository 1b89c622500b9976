// Every row, field and count argument with values inside, at the edge and absurd, on tables around the size of a chunk.
// Whatever is refused, or ends in bad_alloc, leaves the table as it was.
#include "tests/testing/allocation_faults.h"
#include "tests/testing/kit.h"

namespace {

// Records named by one letter each; blank ones are shown as -.
keldb table_with(unsigned rows) {
    keldb table = table_of("name:a Cookie:a Start~time:t");
    table.add_records(static_cast<int>(rows));
    for (unsigned i = 0; i < rows; ++i) table.setField(i, 0, String(std::string(1, static_cast<char>('a' + i % 26))));
    return table;
}
std::string names_of(const keldb& table) {
    std::string names;
    for (unsigned i = 0; i < table.get_num_records(); ++i) {
        const std::string_view name = table[i].field_text(0);
        names += name.empty() ? '-' : name[0];
    }
    return names;
}

std::vector<unsigned> arguments(unsigned n) {
    return {0, 1, n - 1, n, n + 1, 65535, 65536, 65537, INT_MAX, 1U << 31, UINT_MAX};
}

TEST(Arguments, NamingRowsFieldsAndParameters) {
    keldb table = table_with(2);
    table.add_param("p", "v");  // behind the revision
    for (const unsigned n : arguments(2)) {
        char first[2];  // with the zero byte behind it
        table.clear_changed();
        table.copy_record(0, &table, static_cast<int>(n));
        const int copied = table.get_changed();
        table.clear_changed();
        table.copy_record(static_cast<int>(n), &table, 0);
        const int i = static_cast<int>(n), done = table.in_field(n, 0, first, 1) + copied + table.get_changed();
        EXPECT_EQ(done + (table.get_nth_param_name(i) != nullptr) + (table.get_nth_param_val(i) != nullptr),
                  n < 2 ? 5 : 0)
            << n;
    }
    for (const unsigned n : arguments(3)) {
        const int done = table.setField(0, n, "1") + (*table.get_fieldname(n) != 0) + (table.get_field_type(n) != 0) +
                         (table.get_fieldsize(n) != 0);
        EXPECT_EQ(done, n < 3 ? 4 : 0) << n;
    }
}

TEST(Arguments, CountsAndPositions) {
    EXPECT_GE(live_blocks(), 0);  // brings in the operators that refuse absurd requests
    for (const unsigned rows : {0U, 1U, 499U, 500U, 501U}) {
        for (const unsigned count : arguments(rows)) {
            for (const unsigned at : arguments(rows)) {
                keldb table = table_with(rows);
                std::string names = names_of(table);
                const auto expect_same = [&](const auto& change) {  // or refused, and that for absurd counts alone
                    try {
                        change();
                    } catch (const std::bad_alloc&) {
                        EXPECT_GT(count, kLargestBlock / 64);
                    }
                    EXPECT_TRUE(names_of(table) == names && table.ok()) << rows << ", " << at << ", " << count;
                };
                expect_same([&] {
                    table.delete_records(at, count);
                    if (at < rows) names.erase(at, count);
                });
                if (count > 65000 && at != 0 && at != rows) continue;
                expect_same([&] {
                    table.insert_records(at, count);
                    names.insert(std::min<std::size_t>(at, names.size()), count, '-');
                });
                if (at != 0) continue;
                expect_same([&] {
                    EXPECT_EQ(table.add_records(static_cast<int>(count)), static_cast<int>(names.size()));
                    if (count <= INT_MAX) names.append(count, '-');
                });
            }
        }
    }
}

}  // namespace
