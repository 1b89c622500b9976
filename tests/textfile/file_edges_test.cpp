// Files at the edges of what is counted: very many columns, very long lines, memory that runs out.

#include <gtest/gtest.h>

#include <string>

#include "keldb/support/log.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"
#include "tests/testing/temp_dir.h"

namespace {

using testing_kit::load_bytes;
using testing_kit::text_of;

std::string row_of(std::size_t columns, const char* item) {
    std::string row;
    for (std::size_t i = 0; i < columns; ++i) row += std::string(i ? "," : "") + item + std::to_string(i);
    return row + '\n';
}

std::string types_of(std::size_t columns) {
    std::string row = "a";
    for (std::size_t i = 1; i < columns; ++i) row += ",a";
    return row + '\n';
}

// Counts are taken as 16-bit numbers, so beyond 65535 columns only what those say is there.
TEST(FileEdges, CountsColumnsIn16Bits) {
    struct Wide {
        std::size_t columns;
        unsigned fields;
    };
    for (const Wide wide : {Wide{65535, 65535}, Wide{65536, 0}, Wide{65539, 3}}) {
        const std::string bytes = "\"KELDB:Rev 1\"\nKELDB\n" + row_of(wide.columns, "") + types_of(wide.columns) +
                                  row_of(wide.columns, "c") + row_of(wide.columns, "v");
        keldb table;
        LoadReport report;
        load_bytes(table, bytes, false, &report);
        EXPECT_EQ(table.get_valid(), 1);
        EXPECT_EQ(table.get_num_fields(), wide.fields);
        EXPECT_EQ(table[0].get_num_fields(), wide.fields);
        EXPECT_EQ(table.getField(0, 2), wide.fields != 0 ? "v2" : "");
        EXPECT_EQ(table.getField(0, 65534), wide.fields == 65535 ? "v65534" : "");
        EXPECT_EQ(report.findings.empty(), wide.columns == 65535);
        EXPECT_TRUE(table.ok());
    }
}

TEST(FileEdges, CutsAValueOfAHundredMegabytes) {
    setLogSink([](const char*, void*) {}, nullptr);
    const std::string head = "\"KELDB:Rev 1\"\nKELDB\n4\na\nn\n";
    keldb table;
    load_bytes(table, head + std::string(100'000'000, 'x') + "\n");
    EXPECT_EQ(table.get_valid(), 1);
    EXPECT_EQ(table.get_num_records(), 0U);
    EXPECT_EQ(table.is_error(), 1);
    setLogSink(nullptr, nullptr);
}

TEST(FileEdges, EndsNotValidWhenMemoryIsOut) {
    const testing_kit::TempDir folder;
    testing_kit::write_file(folder.path("log.txt"),
                            "\"KELDB:Rev 1\"\n\"KELDB\"\n4,4\nx,zz\na&b,a name of some length\n"
                            "1,\"a value of some length\"\n2,\"\"\n 3,4\n");
    keldb table;
    LoadReport report;
    table.set_filename(testing_kit::wide(folder.path("log.txt")));
    const std::string wrong = testing_kit::sweep_allocations(
        [&] { table.loadFromFile(testing_kit::kAllRecords, false, &report); },
        [&]() -> std::string {
            if (!table.ok()) return "an invariant is broken";
            if (table.get_valid() == 0) return report.end == LoadReport::End::out_of_memory ? "" : "reported otherwise";
            return text_of(table) == "ab:x a~name~of~some~length:a | 1,a value of some length | 2, | 3,4" ? "" : "half";
        });
    EXPECT_EQ(wrong, "");
}

TEST(FileEdges, AppendsWholeRecordsWhenMemoryIsOut) {
    keldb table = testing_kit::table_of("a:a b:a");
    const std::string wrong = testing_kit::sweep_allocations(
        [&] {
            TextFile file = TextFile::fromBytes("a,b\n1,\"a value of some length\"\n2,3\n");
            table.delete_records(0, table.get_num_records());
            table.add_text(file, 1, testing_kit::kAllRecords);
        },
        [&]() -> std::string {
            const std::string whole = "a:a b:a | 1,a value of some length | 2,3", text = text_of(table);
            return table.ok() && whole.starts_with(text) ? "" : text;
        });
    EXPECT_EQ(wrong, "");
}

}  // namespace
