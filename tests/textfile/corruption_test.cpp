// A damaged file keeps the records before the damage, or is refused; no record ever has a wrong number of fields.
#include "tests/testing/kit.h"

namespace {

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
        std::cout << "REL damaged_files=" << files << "\nREL silent_losses=" << silent_losses
                  << "\nREL silent_losses_without_finding=" << unreported << '\n';
    }

    // Loads the damaged bytes, which are the file's own up to some place.
    void check(const std::string& bytes) {
        ++files;
        ASSERT_EQ(load_fault(bytes, false), "") << bytes;
        keldb table;
        LoadReport report;
        load_bytes(table, bytes, false, &report);
        PlainTable damaged(table);
        if (!damaged.valid) return;
        const bool silent = table.is_error() == 0 && damaged.records.size() < original.records.size();
        silent_losses += silent ? 1 : 0;
        unreported += silent && report.findings.empty() ? 1 : 0;
        const auto place = std::mismatch(kFile.begin(), kFile.end(), bytes.begin(), bytes.end()).first;
        const long whole = std::count(kFile.begin(), place, '\n') - kHeaderLines;
        if (whole < 0) return;
        damaged.records.resize(static_cast<std::size_t>(whole));
        EXPECT_TRUE(damaged.parameters == original.parameters && damaged.fields == original.fields &&
                    std::equal(damaged.records.begin(), damaged.records.end(), original.records.begin()))
            << bytes;
    }

    const PlainTable original = loaded(kFile);
    int files = 0, silent_losses = 0, unreported = 0;
};

TEST_F(Corruption, OfTheEnd) {
    ASSERT_EQ(original.records.size(), 7U);
    for (std::size_t length = 0; length < kFile.size(); ++length) check(kFile.substr(0, length));
}

TEST_F(Corruption, OfAByte) {
    for (std::size_t place = 0; place < kFile.size(); ++place) {
        std::string others("\0\x80\xFF\",\n \\", 8);
        for (int bit = 0; bit < 8; ++bit) others += static_cast<char>(kFile[place] ^ (1 << bit));
        for (const char other : others) check(std::string(kFile).replace(place, 1, 1, other));
        check(std::string(kFile).erase(place, 1));
        check(std::string(kFile).insert(place, 1, kFile[place]));
    }
}

TEST_F(Corruption, OfTheOrderOfLines) {
    const auto lines = pieces(kFile.substr(0, kFile.size() - 1), '\n');
    for (std::size_t first = 0; first < lines.size(); ++first) {
        for (std::size_t second = first + 1; second < lines.size(); ++second) {
            std::string bytes;
            for (std::size_t i = 0; i < lines.size(); ++i)
                bytes += lines[i == first ? second : i == second ? first : i] + '\n';
            check(bytes);
        }
    }
}

}  // namespace
