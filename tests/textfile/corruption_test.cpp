// A damaged file keeps the records before the damage, or is refused; no record ever has a wrong number of fields.

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "keldb/support/log.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::PlainTable;

constexpr std::string_view kFile =
    "\"KELDB:Rev 1\"\n\"owner:ed\"\n\"day:12, night\"\n\"KELDB\"\n"
    "\"32\",\"12\",\"12\",\"100\"\n\"text\",\"timecode\",\"timecode_s\",\"x\"\n"
    "\"Name\",\"Start time\",\"End time\",\"Notes, long\"\n"
    "\"Reel \"\"7\"\"\",\"10:00:00:00\",\"10:00:08;12\",\"two\\nlines\"\n"
    "\"take 2\",\"10:01:00:00\",\"10:01:10;02\",\"\"\n\"\",\"\",\"\",\"\"\n"
    "\"caf\xC3\xA9\",\"10:02:00:00\",\"10:02:01;00\",\"a, b \\\\ c\"\n"
    "\"KELDB\",\"10:03:00:00\",\"10:03:02;10\",\"said \"\"cut\"\"\"\n"
    "\"take 10\",\"10:04:00:00\",\"10:04:20;00\",\"last \"\"one\"\" of the day, wide and slow\"\n"
    "\"pickup\",\"10:05:00:00\",\"10:05:05;05\",\"no sound\"\n";
constexpr std::size_t kHeaderLines = 7;

class Corruption : public testing::Test {
protected:
    Corruption() {
        setLogSink([](const char*, void*) {}, nullptr);
    }
    ~Corruption() override {
        setLogSink(nullptr, nullptr);
        std::cout << "REL damaged_files=" << files_ << "\nREL silent_losses=" << silent_
                  << "\nREL silent_losses_without_finding=" << unreported_ << '\n';
        EXPECT_GT(files_, 0);
    }

    // Loads the damaged bytes, of which those before `place` are the file's own.
    void check(std::string_view bytes, std::size_t place) {
        ++files_;
        ASSERT_EQ(testing_kit::load_fault(bytes, false), "") << bytes;
        keldb damaged_table;
        LoadReport report;
        testing_kit::load_bytes(damaged_table, bytes, false, &report);
        const PlainTable damaged(damaged_table);
        const auto line =
            static_cast<std::size_t>(std::count(kFile.begin(), kFile.begin() + static_cast<long>(place), '\n'));
        if (!damaged.valid) return;
        if (line >= kHeaderLines) {
            ASSERT_EQ(damaged.parameters, original_.parameters);
            ASSERT_EQ(damaged.fields, original_.fields);
            ASSERT_GE(damaged.records.size(), line - kHeaderLines) << bytes;
            for (std::size_t i = 0; i < line - kHeaderLines; ++i) ASSERT_EQ(damaged.records[i], original_.records[i]);
        }
        const bool silent = damaged_table.is_error() == 0 && damaged.records.size() < original_.records.size();
        silent_ += silent ? 1 : 0;
        unreported_ += silent && report.findings.empty() ? 1 : 0;
    }

    const PlainTable original_ = testing_kit::loaded(kFile);
    int files_ = 0, silent_ = 0, unreported_ = 0;
};

TEST_F(Corruption, OfTheEnd) {
    ASSERT_EQ(original_.records.size(), 7U);
    for (std::size_t length = 0; length < kFile.size(); ++length) check(kFile.substr(0, length), length);
}

TEST_F(Corruption, OfABit) {
    for (std::size_t place = 0; place < kFile.size(); ++place) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string bytes(kFile);
            bytes[place] = static_cast<char>(bytes[place] ^ (1 << bit));
            check(bytes, place);
        }
    }
}

TEST_F(Corruption, OfAByte) {
    for (std::size_t place = 0; place < kFile.size(); ++place) {
        for (const char c : {'\0', '\x80', '\xFF', '"', ',', '\n', ' ', '\\'}) {
            std::string bytes(kFile);
            bytes[place] = c;
            check(bytes, place);
        }
        check(std::string(kFile).erase(place, 1), place);
        check(std::string(kFile).insert(place, 1, kFile[place]), place);
    }
}

TEST_F(Corruption, OfTheOrderOfLines) {
    const std::vector<std::string> lines = testing_kit::pieces(kFile.substr(0, kFile.size() - 1), '\n');
    for (std::size_t first = 0; first < lines.size(); ++first) {
        std::size_t place = 0;
        for (std::size_t i = 0; i < first; ++i) place += lines[i].size() + 1;
        for (std::size_t second = first + 1; second < lines.size(); ++second) {
            std::vector<std::string> swapped = lines;
            std::swap(swapped[first], swapped[second]);
            std::string bytes;
            for (const std::string& line : swapped) bytes += line + '\n';
            check(bytes, place);
        }
    }
}

}  // namespace
