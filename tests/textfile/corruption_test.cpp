// A damaged file keeps the records before the damage, or is refused; no record ever has a wrong number of fields.

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "keldb/support/log.h"
#include "tests/testing/plain_table.h"
#include "tests/testing/table_text.h"

namespace {

using testing_kit::PlainTable;

const std::string kFile =
    "\"KELDB:Rev 1\"\n\"owner:ed\"\n\"day:12, night\"\n\"KELDB\"\n"
    "\"32\",\"12\",\"12\",\"100\"\n\"text\",\"timecode\",\"timecode_s\",\"x\"\n"
    "\"Name\",\"Start time\",\"End time\",\"Notes, long\"\n"
    "\"Reel \"\"7\"\"\",\"10:00:00:00\",\"10:00:08;12\",\"two\\nlines\"\n"
    "\"take 2\",\"10:01:00:00\",\"10:01:10;02\",\"\"\n\"\",\"\",\"\",\"\"\n"
    "\"caf\xC3\xA9\",\"10:02:00:00\",\"10:02:01;00\",\"a, b \\\\ c\"\n"
    "\"KELDB\",\"10:03:00:00\",\"10:03:02;10\",\"said \"\"cut\"\"\"\n"
    "\"take 10\",\"10:04:00:00\",\"10:04:20;00\",\"last \"\"one\"\" of the day, wide and slow\"\n"
    "\"pickup\",\"10:05:00:00\",\"10:05:05;05\",\"no sound\"\n";
constexpr long kHeaderLines = 7;

struct Corruption : testing::Test {
    Corruption() {
        setLogSink([](const char*, void*) {}, nullptr);
    }
    ~Corruption() override {
        setLogSink(nullptr, nullptr);
        std::cout << "REL damaged_files=" << files << "\nREL silent_losses=" << silent_losses
                  << "\nREL silent_losses_without_finding=" << unreported << '\n';
    }

    // Loads the damaged bytes, which are the file's own up to some place.
    void check(const std::string& bytes) {
        ++files;
        ASSERT_EQ(testing_kit::load_fault(bytes, false), "") << bytes;
        keldb table;
        LoadReport report;
        testing_kit::load_bytes(table, bytes, false, &report);
        const PlainTable damaged(table);
        if (!damaged.valid) return;
        const bool silent = table.is_error() == 0 && damaged.records.size() < original.records.size();
        silent_losses += silent ? 1 : 0;
        unreported += silent && report.findings.empty() ? 1 : 0;
        const auto place = std::mismatch(kFile.begin(), kFile.end(), bytes.begin(), bytes.end()).first;
        const long whole = std::count(kFile.begin(), place, '\n') - kHeaderLines;
        const auto kept = [whole](const PlainTable& t) {
            const auto end = t.records.begin() + std::min(whole, std::ssize(t.records));
            return std::tuple(t.parameters, t.fields, std::vector(t.records.begin(), end));
        };
        EXPECT_TRUE(whole < 0 || kept(damaged) == kept(original)) << bytes;
    }

    const PlainTable original = testing_kit::loaded(kFile);
    int files = 0, silent_losses = 0, unreported = 0;
};

TEST_F(Corruption, OfTheEnd) {
    ASSERT_EQ(original.records.size(), 7U);
    for (std::size_t length = 0; length < kFile.size(); ++length) check(kFile.substr(0, length));
}

TEST_F(Corruption, OfAByte) {
    for (std::size_t place = 0; place < kFile.size(); ++place) {
        std::string changed = kFile;
        for (int bit = 0; bit < 8; ++bit) {
            changed[place] = static_cast<char>(kFile[place] ^ (1 << bit));
            check(changed);
        }
        for (const char c : {'\0', '\x80', '\xFF', '"', ',', '\n', ' ', '\\'}) {
            changed[place] = c;
            check(changed);
        }
        check(std::string(kFile).erase(place, 1));
        check(std::string(kFile).insert(place, 1, kFile[place]));
    }
}

TEST_F(Corruption, OfTheOrderOfLines) {
    const auto lines = testing_kit::pieces(kFile.substr(0, kFile.size() - 1), '\n');
    for (std::size_t first = 0; first < lines.size(); ++first) {
        for (std::size_t second = first + 1; second < lines.size(); ++second) {
            auto swapped = lines;
            std::swap(swapped[first], swapped[second]);
            std::string bytes;
            for (const std::string& line : swapped) bytes += line + '\n';
            check(bytes);
        }
    }
}

}  // namespace
