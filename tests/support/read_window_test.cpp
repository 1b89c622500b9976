// Lines read one by one through a window are the lines of the whole file, however the file comes in; so are lines
// written in pieces.

#include "keldb/support/read_window.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "keldb/support/text_file.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/texts.h"

namespace {

using testing_kit::wide;

// Reads give a few bytes at a time; once `left` bytes have been read, they fail.
class Trickle : public PlatformService {
public:
    explicit Trickle(std::size_t most, std::size_t left = SIZE_MAX) : most_(most), left_(left) {}
    ssize_t read(int file, void* buffer, std::size_t bytes) override {
        if (left_ == 0) {
            errno = EIO;
            return -1;
        }
        const ssize_t got = PlatformService::read(file, buffer, std::min({bytes, most_, left_}));
        if (got > 0) left_ -= static_cast<std::size_t>(got);
        return got;
    }

private:
    std::size_t most_;
    std::size_t left_;
};

void expect_same_lines(const std::string& path, const std::string& bytes) {
    TextFile whole = TextFile::fromBytes(bytes);
    TextFile one_by_one;
    ASSERT_TRUE(one_by_one.loadLineByLine(wide(path)));
    while (!whole.atEnd()) {
        ASSERT_FALSE(one_by_one.atEnd());
        ASSERT_EQ(one_by_one.lineNumber(), whole.lineNumber());
        ASSERT_EQ(one_by_one.nextLine(), whole.nextLine()) << bytes.substr(0, 100);
    }
    EXPECT_TRUE(one_by_one.atEnd());
    EXPECT_EQ(one_by_one.nextLine(), "");
    EXPECT_FALSE(one_by_one.readFailed());
}

TEST(ReadWindow, GivesTheLinesOfTheWholeFile) {
    const testing_kit::TempDir folder;
    const std::string path = folder.path("lines");
    for (const std::size_t most : {1U, 4U}) {
        Trickle platform(most);
        const testing_kit::UsePlatform in_place(platform);
        for (std::size_t length = 0; length <= 4; ++length) {
            testing_kit::every_text("a\r\n", length, [&](std::string_view text) {
                for (const std::string& bytes : {std::string(text), "\xEF\xBB\xBF" + std::string(text)}) {
                    testing_kit::write_file(path, bytes);
                    expect_same_lines(path, bytes);
                }
            });
        }
    }
}

TEST(ReadWindow, TakesLinesOfAnyLength) {
    const testing_kit::TempDir folder;
    std::mt19937 random(7);
    std::string bytes;
    for (int i = 0; i < 3000; ++i) bytes += std::string(random() % 2000, 'x') + (i % 3 ? "\n" : "\r\n");
    for (const std::size_t length : {kel::ReadWindow::kBytes - 1, kel::ReadWindow::kBytes, 5 * kel::ReadWindow::kBytes})
        bytes += std::string(length, 'y') + "\n" + std::string(random() % 2000, 'z') + "\n";
    testing_kit::write_file(folder.path("lines"), bytes);
    expect_same_lines(folder.path("lines"), bytes);
}

TEST(ReadWindow, SaysThatAReadFailed) {
    const testing_kit::TempDir folder;
    testing_kit::write_file(folder.path("lines"), "one\ntwo\nthree\n");
    TextFile file;
    EXPECT_FALSE(file.loadLineByLine(wide(folder.path("missing"))));
    EXPECT_FALSE(file.loadLineByLine(wide(folder.path())));
    for (std::size_t left = 0; left < 15; ++left) {
        Trickle platform(4, left);
        const testing_kit::UsePlatform in_place(platform);
        bool failed = !file.loadLineByLine(wide(folder.path("lines")));
        while (!failed && !file.atEnd()) file.nextLine();
        EXPECT_EQ(failed || file.readFailed(), left <= 14) << left;
    }
}

TEST(StreamedSave, WritesTheBytesOfTheWholeFile) {
    const testing_kit::TempDir folder;
    std::mt19937 random(11);
    TextFile whole, streamed;
    streamed.startSaving(wide(folder.path("streamed")), WString());
    for (int i = 0; i < 3000; ++i) {
        const std::string line(random() % 2500, static_cast<char>('a' + i % 26));
        whole.appendLine(line);
        streamed.appendLine(line);
    }
    EXPECT_TRUE(streamed.finishSaving());
    EXPECT_FALSE(streamed.finishSaving());  // it was finished
    EXPECT_EQ(testing_kit::file_bytes(folder.path("streamed")), whole.bytes());
    EXPECT_EQ(testing_kit::names_in(folder.path()), std::vector<std::string>{"streamed"});
}

TEST(StreamedSave, ThatIsAbandonedLeavesNothing) {
    const testing_kit::TempDir folder;
    testing_kit::write_file(folder.path("kept"), "old");
    {
        TextFile file;
        file.startSaving(wide(folder.path("kept")), WString());
        file.appendLine(std::string(3 << 20, 'n'));
    }
    TextFile nowhere;
    nowhere.startSaving(wide(folder.path("no/such/folder")), WString());
    nowhere.appendLine(std::string(3 << 20, 'n'));
    EXPECT_FALSE(nowhere.finishSaving());
    EXPECT_EQ(testing_kit::file_bytes(folder.path("kept")), "old");
    EXPECT_EQ(testing_kit::names_in(folder.path()), std::vector<std::string>{"kept"});
}

}  // namespace
