// The small values of the suite: identifiers, lists of keys and texts, timecodes, settings, the log and the watchdog.

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "keldb/support/assoc_list.h"
#include "keldb/support/config_block.h"
#include "keldb/support/cookie.h"
#include "keldb/support/grow_string.h"
#include "keldb/support/log.h"
#include "keldb/support/settings.h"
#include "keldb/support/timecode.h"
#include "keldb/support/watchdog.h"

namespace {

TEST(Cookie, Kinds) {
    const struct {
        const char* text;
        char kind;
    } kCases[] = {{"", 'I'},
                  {"I", 'I'},
                  {"I0", 'I'},
                  {"I12345678901234567890", 'I'},
                  {"Interview 1", 'i'},
                  {"I1a", 'i'},
                  {"I 1", 'i'},
                  {"i1", 'i'},
                  {"M12", 'M'},
                  {"\xC3\x89", '\xC3'}};
    for (const auto& c : kCases) {
        for (const bool item : {false, true}) {
            const Cookie id(c.text, item);
            EXPECT_EQ(id.kind(), c.kind) << c.text;
            EXPECT_EQ(id.valid(), c.kind != 'I') << c.text;
            EXPECT_EQ(id.asString(item), c.text);
            EXPECT_EQ(Cookie(WStringFromAscii(c.text), item), id);
        }
    }
    EXPECT_FALSE(Cookie(static_cast<const char*>(nullptr), false).valid());
    EXPECT_EQ(convertCookie(Cookie("12", false), 'M', 255).text(), "M12");
}

TEST(Cookie, ListsKeepTheirOrder) {
    CookieVec added(0);
    CookieSet set;
    for (const char* text : {"b", "\xFF", "a", "b", "", "B"}) {
        added.add(Cookie(text, false));
        set.add(Cookie(text, false));
    }
    std::string order;
    for (std::size_t i = 0; i < set.size(); ++i) {
        order += set[i].text().c_str() + std::string("|");
        EXPECT_TRUE(set.contains(set[i]));
    }
    EXPECT_EQ(order, "|B|a|b|\xFF|");
    EXPECT_FALSE(set.contains(Cookie("c", false)));
    EXPECT_EQ(added.size(), 6U);
    EXPECT_EQ(added[3].text(), "b");
}

TEST(AssocList, LookingUpCreatesNothing) {
    AssocList list(false);
    const char* absent = list["Name"];
    EXPECT_EQ(absent, nullptr);
    EXPECT_TRUE(list.empty());
    list["Name"] = "one";
    list["Tape"] = static_cast<const char*>(nullptr);
    list["NAME"] = list["name"].value();
    list["Copy"] = list["Name"];
    list["Nothing"] = list["absent"];
    EXPECT_STREQ(list["nAmE"].key(), "Name");
    std::string walked;
    const AssocList copy(list);
    list.clear();
    AssocListIter at(copy);
    for (; *at; ++at) {
        walked += std::string((*at)->key()) + "=" + (*at)->value() + ";";
    }
    EXPECT_EQ(walked, "Name=one;Tape=;Copy=one;Nothing=;");
    ++at;
    EXPECT_EQ(*at, nullptr);
}

TEST(ConfigBlock, HoldsLabelTexts) {
    configb block;
    strp_field field;
    EXPECT_EQ(block.get("Name"), nullptr);
    field.set("Clip 1");
    block.set("Name", field);
    field.set("Clip 2");
    block.set("name", field);
    EXPECT_STREQ(block.get("NAME"), "Clip 2");
    EXPECT_EQ(block.size(), 1U);
}

TEST(GrowString, Grows) {
    GrowString text;
    text.append("a");
    text.append(static_cast<const char*>(nullptr));
    text.append('\t');
    text.append(std::string_view("b\0c", 3));
    EXPECT_EQ(text.view(), std::string_view("a\tb\0c", 5));
}

TEST(Timecode, TwoForms) {
    const struct {
        const char* text;
        const char* punctuated;  // null for no timecode: both forms are the text itself
        const char* database;
    } kCases[] = {
        {"10:00:00:05", "10:00:00:05", "10000005"},
        {"10:00:00;05", "10:00:00;05", "10000005;"},
        {"10;00;00;05", "10:00:00;05", "10000005;"},
        {"10.00,00:05", "10:00:00:05", "10000005"},
        {"1:2:3:4", "01:02:03:04", "01020304"},
        {"99:99:99:99", "99:99:99:99", "99999999"},
        {"10000005", "10:00:00:05", "10000005"},
        {"10000005;", "10:00:00;05", "10000005;"},
        {" \t10:00:00:05\r\n", "10:00:00:05", "10000005"},
        {"", nullptr, nullptr},
        {" ", nullptr, nullptr},
        {"10:00:00", nullptr, nullptr},
        {"10:00:00:", nullptr, nullptr},
        {":00:00:05", nullptr, nullptr},
        {"10:00:00:05:", nullptr, nullptr},
        {"10:00:00:05;", nullptr, nullptr},
        {"100:00:00:05", nullptr, nullptr},
        {"10:00:00:005", nullptr, nullptr},
        {"10:00:00:0x", nullptr, nullptr},
        {"-1:00:00:05", nullptr, nullptr},
        {"10 00 00 05", nullptr, nullptr},
        {"1000005", nullptr, nullptr},
        {"100000050", nullptr, nullptr},
        {"1000000;", nullptr, nullptr},
        {"1000000x", nullptr, nullptr},
        {"10:00:00:05 tail", nullptr, nullptr},
        {"\xB2\xB2:00:00:05", nullptr, nullptr},
    };
    for (const auto& c : kCases) {
        const time_def code(c.text, time_def::kLabelKind);
        EXPECT_EQ(code.valid(), c.punctuated != nullptr) << c.text;
        EXPECT_EQ(code.get_punctuated_str(), c.punctuated ? c.punctuated : c.text);
        EXPECT_EQ(code.get_database_str(), c.database ? c.database : c.text);
        // Either form is a timecode of the same value.
        EXPECT_EQ(time_def(code.get_database_str(), 6).get_punctuated_str(), code.get_punctuated_str());
        EXPECT_EQ(time_def(code.get_punctuated_str(), 6).get_database_str(), code.get_database_str());
    }
}

TEST(Settings, AreReadFromTheEnvironment) {
    const struct {
        const char* text;  // null for not set
        int value;         // with the default 5 and the range -10..100
    } kCases[] = {{nullptr, 5},
                  {"", 5},
                  {"x", 5},
                  {"-", 5},
                  {"7", 7},
                  {" +7x", 7},
                  {"-3", -3},
                  {"101", 100},
                  {"-99999999999", -10},
                  {"99999999999", 100}};
    for (const auto& c : kCases) {
        c.text ? ::setenv("KELDB_TEST_SETTING", c.text, 1) : ::unsetenv("KELDB_TEST_SETTING");
        EXPECT_EQ(config_int("test_Setting", 5, -10, 100), c.value) << (c.text ? c.text : "(not set)");
    }
    ::unsetenv("KELDB_TEST_SETTING");
    EXPECT_EQ(config_int(nullptr, 5, 0, 10), 5);
    EXPECT_EQ(config_int(std::string(1'000, 'k').c_str(), 5, 0, 10), 5);
}

TEST(Log, GoesToTheSinkLineByLine) {
    std::vector<std::string> lines;
    setLogSink(
        [](const char* message, void* to) {
            static_cast<std::vector<std::string>*>(to)->emplace_back(message);
            errno = EBADF;
        },
        &lines);
    errno = ENOENT;
    LogPrint("%s %d", "row", 3);
    LogBoth("ended\n");
    LogPrint("%s", std::string(5'000, 'x').c_str());
    LogPrint("%s", "");
    DebugPrint(nullptr);
    EXPECT_EQ(errno, ENOENT);
    setLogSink(nullptr, nullptr);
    EXPECT_EQ(lines, (std::vector<std::string>{"row 3\n", "ended\n", std::string(1'022, 'x') + "\n", "\n"}));
}

TEST(Watchdog, HearsTheFirstBeginAndTheLastEnd) {
    static std::string told;
    told.clear();
    SystemWatchdog::setWatcher([](bool working) { told += working ? '(' : ')'; });
    SystemWatchdog::endLifeSupport();  // nothing runs
    {
        const kel::LifeSupport outer;
        const kel::LifeSupport inner;
        EXPECT_EQ(SystemWatchdog::depth(), 2);
        EXPECT_EQ(told, "(");
    }
    { const kel::LifeSupport again; }
    SystemWatchdog::setWatcher(nullptr);
    EXPECT_EQ(told, "()()");
    EXPECT_EQ(SystemWatchdog::depth(), 0);
}

}  // namespace
