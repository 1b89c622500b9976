// A damaged file keeps the records before the damage, or is refused; no record ever has a wrong number of fields.
#include "tests/testing/kit.h"

namespace {

// Calls visit(bytes) for the file cut at every length, with each byte changed, left out and doubled, and with every two
// lines in each other's place.
template <class Visit>
void every_damage(const std::string& file, const Visit& visit) {
    for (std::size_t place = 0; place < file.size(); ++place) {
        visit(file.substr(0, place));
        std::string others("\0\x80\xFF\",\n \\", 8);
        for (int bit = 0; bit < 8; ++bit) others += static_cast<char>(file[place] ^ (1 << bit));
        for (const char other : others) visit(std::string(file).replace(place, 1, 1, other));
        visit(std::string(file).erase(place, 1));
        visit(std::string(file).insert(place, 1, file[place]));
    }
    std::vector<std::string> lines = pieces(file, '\n');
    for (std::size_t second = 0; second < lines.size(); ++second) {
        for (std::size_t first = 0; first < second; ++first) {
            std::swap(lines[first], lines[second]);
            std::string bytes = lines[0];
            for (std::size_t i = 1; i < lines.size(); ++i) bytes += '\n' + lines[i];
            visit(bytes);
            std::swap(lines[first], lines[second]);
        }
    }
}

TEST(Corruption, KeepsTheRecordsBeforeIt) {
    keldb table = table_of(
        "Name:a Start~time:t End~time:T Notes,~long:x | Reel \"7\",10:00:00:00,10:00:08;12, | take 2,10:01:00:00,, | , "
        "| caf\xC3\xA9,10:02:00:00,10:02:01;00,a \\ c | KELDB,10:03:00:00,10:03:02;10,said \"cut\" "
        "| take 10,10:04:00:00,10:04:20;00,last \"one\" of the day and slow | pickup,10:05:00:00,,no sound");
    table.setField(0, 3, "two\nlines, and a comma");
    table.add_param("owner", "ed");
    table.add_param("day", "12, night");
    const std::string file = saved_bytes(table);
    const PlainTable original = plain(table);
    ASSERT_EQ(original.size(), 8U);
    const std::ptrdiff_t header_lines = std::count(file.begin(), file.end(), '\n') - 7;
    int files = 0, silent_losses = 0, unreported = 0;
    const Logged log;
    every_damage(file, [&](const std::string& bytes) {
        if (bytes == file) return;
        ++files;
        EXPECT_EQ(load_fault(bytes, false), "") << bytes;
        LoadReport report;
        load_bytes(table, bytes, false, &report);
        PlainTable left = plain(table);
        if (table.get_valid() == 0) return;
        const bool silent = table.is_error() == 0 && left.size() < original.size();
        silent_losses += silent ? 1 : 0;
        unreported += silent && report.findings.empty() ? 1 : 0;
        const auto place = std::mismatch(file.begin(), file.end(), bytes.begin(), bytes.end()).first;
        const std::ptrdiff_t whole = std::count(file.begin(), place, '\n') - header_lines;
        if (whole < 0) return;
        left.resize(static_cast<std::size_t>(1 + whole));
        EXPECT_EQ(left, PlainTable(original.begin(), original.begin() + 1 + whole)) << bytes;
    });
    std::cout << "REL damaged_files=" << files << "\nREL silent_losses=" << silent_losses
              << "\nREL silent_losses_without_finding=" << unreported << '\n';
}

}  // namespace
