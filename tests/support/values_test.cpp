// The small values of the suite.
#include "keldb/support/assoc_list.h"
#include "keldb/support/conversions.h"
#include "keldb/support/timecode.h"
#include "keldb/support/watchdog.h"
#include "tests/testing/kit.h"

namespace {

TEST(AssocList, LookingUpCreatesNothingAndAddingMovesNothing) {
    AssocList list;
    EXPECT_TRUE(!list["Name"].value() && list.empty());
    list["Name"] = "one";
    list["NAME"] = list["name"].value();
    list["Copy"] = list["Name"];
    list["Nothing"] = list["absent"];  // null
    const char *const name = list["nAmE"].key(), *const value = list["Name"];
    for (int i = 0; i < 100; ++i) list[StringFromInteger(i)] = "more";
    EXPECT_TRUE(name == list["Name"].key() && value == list.find("name"));  // of the entry, not of who looked it up
    std::string walked;
    for (AssocListIter at(list); *at; ++at) walked += std::string((*at)->key()) + '=' + (*at)->value() + ';';
    EXPECT_EQ(walked.substr(0, 34), "Name=one;Copy=one;Nothing=;0=more;");
}

TEST(Conversions, OfNumbersTruthAndCase) {
    for (const char* text : {"4294967296", "", " ", "-1", "+1", "1 2", "12x", "0x10", "\x80", "99999999999999999999"})
        EXPECT_EQ(UIntFromString(text, 7), 7U) << text;
    EXPECT_TRUE(UIntFromString("4294967295", 7) == UINT_MAX && UIntFromString(" 00012\t\r\n", 7) == 12);
    constexpr const char* kTexts[] = {"FALSE|f|no|N|0", "true|T|Yes|y|1", "|2|on|true |\xD9"};  // false, true, neither
    for (int truth = 0; truth < 3; ++truth) {
        for (const std::string& text : pieces(kTexts[truth])) {
            bool value = truth == 0;
            EXPECT_TRUE(BoolFromString(String(text), value) == (truth < 2) && value == (truth == 1)) << text;
        }
    }
    EXPECT_EQ(BoolAsString(true) + BoolAsString(false), "truefalse");
    EXPECT_TRUE(isEssentiallyEmpty(std::string_view(" \t\r\n\v\f\0\x1F\x7F", 9)));
    EXPECT_FALSE(isEssentiallyEmpty("  . ") || isEssentiallyEmpty("\xA0"));
    String text("\xC4 MiXed [Case] of more than fifteen");
    toLower(text);
    EXPECT_EQ(text, "\xC4 mixed [case] of more than fifteen");
}

TEST(Timecode, TwoForms) {
    // A text and its two forms; or the text alone, which is no timecode and stays as it is in both.
    for (const std::string& row :
         pieces("10:00:00:05|10:00:00:05|10000005/10;00.00,05|10:00:00;05|10000005;/1:2:3:4|01:02:03:04|01020304/"
                "99:99:99:99|99:99:99:99|99999999/10000005;|10:00:00;05|10000005;/ \t10:00:00:05\r\n|10:00:00:05|"
                "10000005// /10:00:00/10:00:00:/:00:00:05/10:00:00:05:/100:00:00:05/10:00:00:0x/-1:00:00:05/"
                "10 00 00 05/1000005/100000050/1000000;/1000000x/10:00:00:05 tail/\xB2\xB2:00:00:05",
                '/')) {
        std::vector<std::string> forms = pieces(row);
        const time_def code{String(forms[0]), time_def::kLabelKind};
        EXPECT_EQ(code.valid(), forms.size() == 3) << row;
        forms.resize(3, forms[0]);
        EXPECT_EQ(code.get_punctuated_str(), forms[1]);
        EXPECT_EQ(code.get_database_str(), forms[2]);
    }
}

TEST(Log, GoesToTheSinkLineByLine) {
    std::string log;
    const LogSink sink = [](const char* message, void* to) {
        *static_cast<std::string*>(to) += message + std::string("|");
        errno = EBADF;
    };
    setLogSink(sink, &log);
    errno = ENOENT;
    LogPrint("%s %d", "row", 3);
    LogBoth("ended\n");
    LogPrint("%s", std::string(5'000, 'x').c_str());
    DebugPrint(nullptr);
    EXPECT_EQ(log, "row 3\n|ended\n|" + std::string(1'022, 'x') + "\n|");
    DebugPrint("in debug builds");
    EXPECT_EQ(errno, ENOENT);
    setLogSink(nullptr, nullptr);
}

TEST(Watchdog, HearsTheFirstBeginAndTheLastEnd) {
    static std::string told;
    SystemWatchdog::setWatcher([](bool working) { told += working ? '(' : ')'; });
    SystemWatchdog::endLifeSupport();  // nothing runs
    {
        const kel::LifeSupport outer, inner;
        told += std::to_string(SystemWatchdog::depth());
    }
    SystemWatchdog::setWatcher(nullptr);
    EXPECT_EQ(told + std::to_string(SystemWatchdog::depth()), "(2)0");
}

}  // namespace
