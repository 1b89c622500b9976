// A table's life and fields, its update brackets, the numbers it is given, copies, assignment, and records taken from
// other tables.
#include <ctime>

#include "keldb/search/record_order.h"
#include "tests/testing/allocation_faults.h"
#include "tests/testing/kit.h"

namespace {

// --- Life and fields ---

TEST(TableLifecycle, FromDescriptorsToFreed) {
    const keldb none;
    EXPECT_EQ(none.get_valid() * 2 + none.get_revision(), 1);
    const DBFieldDesc nothing[] = {{}, {"unseen", DBFieldTypes::text}};
    keldb empty(nothing);
    EXPECT_EQ(empty.add_records(2), 0);
    EXPECT_EQ(text_of(empty), " |  |");
    EXPECT_EQ(keldb(static_cast<const DBFieldDesc*>(nullptr)).get_valid(), 1);

    const long long before = std::time(nullptr);
    const DBFieldDesc fields[] = {{"Na&me", DBFieldTypes::text}, {"tc", DBFieldTypes::timecode}, {}};
    keldb table(fields);
    EXPECT_EQ(text_of(table), "Name:a tc:t");
    EXPECT_GE(table.get_last_mod_time(), before);
    table.add_records(1);
    EXPECT_EQ(table.add_param("KELDB", "x") + table.add_param("n", "v") + table.add_param("N", ""), -1);
    table.set_param_val("KELDB", table.get_param_val("KELDB") + 1);  // out of the value that it replaces
    EXPECT_EQ(std::string(table.get_nth_param_val(0)) + table.get_nth_param_val(1), "ev 1");
    dberror error{9, 9, 9, 9};
    EXPECT_EQ(table.read_error_info(error) + table.is_error() + error.kind, 9);
    EXPECT_EQ(table.set_fieldtype(99, DBFieldTypes::none), 0);  // an error all the same
    EXPECT_EQ(table.read_error_info(error) + table.read_error_info(error) + table.is_error(), 3);
    EXPECT_TRUE(error.kind == 2 && error.index == 3 && error.extra1 == 0 && error.extra2 == 0);
    EXPECT_EQ(table.set_fieldtype(1, DBFieldTypes::none) + table.set_fieldname(0, nullptr), 2);
    EXPECT_EQ(text_of(table), ":a tc:a | ,");
    table.set_tag(0, 1);
    table.set_show_tags_only(1);
    table.free();
    EXPECT_EQ(text_of(table) + std::to_string(table.get_num_params()), "0");
    EXPECT_EQ(table.get_valid() + table.is_error() + table.get_changed() + table.get_show_tags_only(), 0);
    EXPECT_EQ(table.addField({"again", DBFieldTypes::text}) + table.add_records(1), 0);
    EXPECT_TRUE(table.ok());
}

TEST(TableFields, TakeAtMostWhatARecordCounts) {
    keldb table(std::vector<DBFieldDesc>(70000, {"", DBFieldTypes::text}));
    table.add_records(1);
    EXPECT_EQ(table.addField({"one more", DBFieldTypes::text}), 65535);
    EXPECT_TRUE(table.get_num_fields() == 65535U && table.ok());
}

TEST(TableTexts, StayWhereTheyAreWhileOthersComeAndGo) {
    std::string bytes = "KELDB:Rev 1\nName:cl#ip\nKELDB\n1,1\ntext,text\na,b\nx,y\n";
    bytes[bytes.find('#')] = '\0';
    keldb table;
    load_bytes(table, bytes);
    keldb assigned, copied(table);
    EXPECT_EQ(saved_bytes(copied), saved_bytes(table));
    assigned = table;
    for (keldb* each : {&table, &assigned, &copied}) {
        const char *const parameter = each->get_param_val("Name"), *const name = each->get_fieldname(1);
        for (int i = 0; i < 38; ++i) each->add_param(("p" + std::to_string(i)).c_str(), "v");
        for (int i = 0; i < 40; ++i) each->addField({String("f" + std::to_string(i)), DBFieldTypes::text});
        each->removeField("a");
        EXPECT_TRUE(each->get_param_val("Name") == parameter && each->get_fieldname(0) == name);
        each->setField(0, 0, "a text that is not held inside");
        EXPECT_EQ(each->getField(0, 0).c_str(), each->getField(0, 0).c_str());  // one text, shared
    }
}

TEST(DerivedTable, ReachesStoredRecordsParametersAndErrors) {
    struct Derived : keldb {
        using keldb::fill_error_info, keldb::find_param, keldb::get_raw_record, keldb::get_raw_tag;
        using keldb::index_tags, keldb::keldb, keldb::read_params;
    };
    Derived table(std::vector<DBFieldDesc>{{"Cookie", DBFieldTypes::text}});
    table.add_records(3);
    table.setField(2, 0, "M1");
    table.set_tag(2, 257);
    table.set_show_tags_only(1);
    EXPECT_EQ(table.get_raw_tag(1) * 100 + table.get_raw_tag(2) * 10 + table.get_raw_tag(3), 9);    // 0, 1, -1
    EXPECT_EQ(table.get_raw_row(0) * 100 + table.get_raw_row(1) * 10 + table.get_new_row(2), 190);  // 2, -1, 0
    EXPECT_EQ(table.get_new_row(1) + table.get_new_row(3), -2);
    for (const int row : {0, 1}) {
        EXPECT_EQ(static_cast<int>(table.get_num_records()), row + 1);
        EXPECT_EQ(table.getRowIndexByID(Cookie("M1", false)), row);
        table.get_raw_record(0)->set_tag(1);
        table.index_tags();
    }
    TextFile file = TextFile::fromBytes("\"keldb:Rev 1\"\n :x\n\"Name: clip\",2\nKeldb,7\nbehind\n");
    dbrecord line(0);
    table.read_params(file, &line);
    EXPECT_EQ(text_of(line) + "; " + file.getLine().c_str(), "Keldb,7; behind");
    EXPECT_EQ(table.find_param("NAME") * 10 + table.find_param("x") + table.find_param(nullptr), 8);  // 1, -1, -1
    EXPECT_STREQ(table.get_param_val("name"), "clip");
    table.fill_error_info(4, 3, 2, 1);
    dberror error;
    EXPECT_EQ(table.read_error_info(error) * error.kind * error.index * error.extra1 * error.extra2, 24);
}

// b and e open and close a bracket, u0 hands row 0's labels over, +A queues the identifier A.
TEST(TableUpdates, AnnounceTheIdentifiersOfTheOutermostBracket) {
    const char* const log = "name:a notes:a Cookie:a | n,x,M1 | n,y,I7 | n,z, | n,w,Interview 1";
    const char* const kRows[][3] = {
        // clang-format off
        {log, "b +A b +B e", ""}, {log, "b +A b +B e e", "!A,B"}, {log, "+A e b e", ""},
        {log, "b u0 +A +A e", "!M1,A,A"}, {log, "b u1 u2 u9 u3 e", "!Interview 1"},
        // one of the label fields is missing
        {"name:a Cookie:a | n,M1", "b u0 e", ""}, {"notes:a Cookie:a | n,M1", "b u0 e", ""},
        {"name:a notes:a | n,x", "b u0 e", ""},
        // clang-format on
    };
    configb block;
    for (const auto& [fields, script, announced] : kRows) {
        SCOPED_TRACE(script);
        keldb table = table_of(fields);
        Announcements said(table);
        for (const std::string& step : pieces(script, ' ')) {
            if (step[0] == 'b') table.beginUpdate();
            if (step[0] == 'e') table.endUpdate();
            if (step[0] == 'u') table.update(&block, step[1] - '0');
            if (step[0] == '+') table.addToUpdate(Cookie(step.c_str() + 1, false));
        }
        EXPECT_EQ(said.take(), announced);
    }
    keldb table = table_of(log);
    EXPECT_TRUE(table.update(&block, 1));
    EXPECT_FALSE(table.update(&block, -1) || table.update(&block, 4) || table.update(nullptr, 0));
}

// --- Numbers inside, at the edge and absurd ---

std::vector<unsigned> arguments(unsigned n) {
    return {0, 1, n - 1, n, n + 1, 65535, 65536, 65537, INT_MAX, 1U << 31, UINT_MAX};
}

TEST(Arguments, NamingRowsFieldsAndParameters) {
    keldb table = table_of("name:a Start~time:t | x, | y,");
    table.add_param("p", "v");  // behind the revision
    for (const unsigned n : arguments(2)) {
        const auto i = static_cast<int>(n);
        char first[2];  // with the zero byte behind it
        int number = 0;
        double real = 0;
        bool truth = false;
        int done = table.setField(0, n, "1");
        done += table.in_field(n, 0, first, 1) + table.in_field(0, n, number) + table.in_field(0, n, real) +
                table.in_field(0, n, truth) + (*table.get_fieldname(n) != 0) + (table.get_field_type(n) != 0) +
                (table.get_fieldsize(n) != 0) + (table.get_nth_param_name(i) != nullptr) +
                (table.get_nth_param_val(i) != nullptr);
        for (const auto& [to, from] : {std::pair(0, i), {i, 0}}) {
            table.clear_changed();
            table.copy_record(to, &table, from);
            done += table.get_changed();
        }
        EXPECT_EQ(done, n < 2 ? 12 : 0) << n;
    }
}

TEST(Arguments, BeyondWhatMemoryHoldsLeaveTheTableAsItWas) {
    EXPECT_GE(live_blocks(), 0);  // brings in the operators that refuse absurd requests
    keldb table = lettered_table(2);
    for (const unsigned at : arguments(2)) {
        EXPECT_THROW(table.insert_records(at, INT_MAX), std::bad_alloc);
        EXPECT_THROW(table.insert_records(at, UINT_MAX), std::bad_alloc);
    }
    EXPECT_THROW(table.add_records(INT_MAX), std::bad_alloc);
    EXPECT_EQ(table.add_records(INT_MIN), 2);
    EXPECT_TRUE(text_of(table) == "Name:a | a | b" && table.ok());
}

// --- Copies and assignment ---

TEST(TableCopies, TakeWhatEachPromises) {
    int keys[] = {0, -1};
    keldb target = table_of("x:a | 1");
    Announcements kept(target);
    {
        keldb source = table_of("Name:a Start~time:t | b,10 | *a,09 | *c,");
        source.add_param("Name", "clip");
        source.add_param("keldb", "Rev 9");
        source.set_filename(L"/log");
        source.set_fieldtype(99, DBFieldTypes::none);
        source.set_sortfields(keys);
        source.set_sort_offset(3);
        source.set_query(source.get_record(0));
        source[0].set_changed(1);
        source.set_show_tags_only(1);
        source.beginUpdate();
        source.addToUpdate(Cookie("M1", false));
        Announcements not_copied(source);
        target = source;
        keldb with(source), without(source, 0), by_fields(source, static_cast<DBFieldDesc*>(nullptr));
        source.set_field(0, 0, "changed later");
        source.set_fieldname(0, "changed too");
        EXPECT_EQ(described(with), "Name:a Start~time:t | a,09 | c,; KELDB=Rev 1 Name=clip 1 0 1 0 -1");
        EXPECT_EQ(described(without), "Name:a Start~time:t; KELDB=Rev 1 Name=clip 1 0 1 0 -1");
        EXPECT_EQ(described(by_fields), "Name:a Start~time:t | a,09 | c,; 1 0 0 0 -1");
        with.sortPrepare(1, 0);
        EXPECT_EQ(kel::sort_state().offset + kel::sort_state().keys[0], 0);
    }
    EXPECT_EQ(described(target), "Name:a Start~time:t | *a,09 | *c,; KELDB=Rev 9 Name=clip 1 1 1 1 0");
    EXPECT_TRUE(target.get_filename() == L"/log" && keldb(target).get_filename().empty());
    target.endUpdate();
    EXPECT_EQ(kept.take(), "!M1");
    target.set_show_tags_only(0);
    EXPECT_TRUE(target[0].get_changed() && !target[1].get_changed());
    keys[0] = 1;
    target.sort(-1, 1);  // by the caller's list, as it is now
    EXPECT_EQ(text_of(target), "Name:a Start~time:t | b,10 | *a,09 | *c,");
    target = keldb();
    EXPECT_EQ(described(target), "; 0 0 0 0 -1");
    keldb bare;
    load_bytes(bare, "KELDB:Rev 1\nKELDB\n1\na\nn\n");
    EXPECT_EQ(keldb(bare).get_changed(), 0);  // the revision is no change
}

TEST(TableMerging, AppendsByFieldNameAndConvertsTimecodes) {
    const char* const kRows[][3] = {
        {"tc:t notes:a", "name:a tc:T | n,10000005 | m,10000005;", "tc:t notes:a | 10:00:00:05, | 10:00:00;05,"},
        {"TC:T", "tc:t | 10:00:00:05 | 10:00:00;05 | soon |", "TC:T | 10000005 | 10000005; | soon |"},
        {"tc:t", "tc:a | 10000005", "tc:t | 10000005"},
        {":a a:a", ":a a:a | x,y", ":a a:a | ,y"},  // a field without a name has no counterpart
    };
    for (const auto& [ours, theirs, left] : kRows) {
        keldb table = table_of(ours), other = table_of(theirs);
        EXPECT_EQ(table.merge_all_matching(&other), 1);
        EXPECT_EQ(text_of(table), left);
    }
    keldb table = table_of("a:a b:a | *1,x | 2,y"), shown = table_of("a:a | *1 | 2"),
          unlike = table_of("b:t c:a | 9,9");
    keldb typed = table_of("a:t b:t");
    EXPECT_TRUE(table.sameColumns(&typed) && !table.sameColumns(nullptr));  // by name and place alone
    EXPECT_FALSE(table.sameColumns(&shown) || unlike.sameColumns(&typed));
    EXPECT_EQ(shown.merge_all_matching(&unlike) + shown.merge_all_matching(nullptr), 0);
    EXPECT_EQ(table.merge_all_matching(&table), 1);
    shown.set_show_tags_only(1);
    EXPECT_EQ(shown.merge_all_matching(&table) + shown.add_keldb(&shown), 0);  // takes nothing in
    EXPECT_EQ(table.merge_all_matching(&shown), 1);                            // and gives what it shows
    EXPECT_EQ(table.add_keldb(nullptr) + table.add_keldb(&shown), -2);
    table.copy_record(1, &table, 4);
    table.copy_record(0, &shown, 0);  // of another width: nothing
    table.copy_record(0, nullptr, 0);
    EXPECT_EQ(text_of(table), "a:a b:a | *1,x | 1, | 1,x | 2,y | 1,");
}

}  // namespace
