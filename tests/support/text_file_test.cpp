// A TextFile holds the lines of a file, whatever its line ends, and a read that fails half-way is no shorter file.

#include "keldb/support/text_file.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/testing/allocation_faults.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/temp_dir.h"
#include "tests/testing/texts.h"

namespace {

using testing_kit::wide;
using Lines = std::vector<std::string>;

// The plain rule, one byte at a time.
Lines naive_lines(const std::string& bytes) {
    Lines lines;
    std::string line;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const bool crlf = bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n';
        if (bytes[i] == '\n') {
            lines.push_back(line);
            line.clear();
        } else if (!crlf) {
            line += bytes[i];
        }
    }
    if (!bytes.empty() && bytes.back() != '\n') {
        lines.push_back(line);
    }
    return lines;
}

Lines lines_by_number(const TextFile& file) {
    Lines lines;
    for (std::size_t i = 0; i < file.numLines(); ++i) {
        lines.emplace_back(file.line(i));
    }
    return lines;
}

Lines lines_in_turn(TextFile& file) {
    Lines lines;
    while (!file.atEnd()) {
        EXPECT_EQ(file.lineNumber(), lines.size());
        lines.emplace_back(file.getLine().view());
    }
    EXPECT_EQ(file.nextLine(), "");
    return lines;
}

TEST(TextFile, SplitsEveryShortText) {
    for (std::size_t length = 0; length <= 6; ++length) {
        testing_kit::every_text(std::string_view("a\r\n\0", 4), length, [](const std::string& bytes) {
            TextFile file = TextFile::fromBytes(bytes);
            const Lines expected = naive_lines(bytes);
            ASSERT_EQ(lines_in_turn(file), expected);
            ASSERT_EQ(lines_by_number(file), expected);
            TextFile marked = TextFile::fromBytes("\xEF\xBB\xBF" + bytes);
            ASSERT_EQ(lines_by_number(marked), expected);
        });
    }
}

TEST(TextFile, IsReadThroughNumbersWhileItGrows) {
    TextFile file;
    EXPECT_EQ(file.numLines(), 0U);
    file.appendLine("one");
    EXPECT_EQ(file[0], "one");
    EXPECT_EQ(file.numLines(), 1U);
    EXPECT_EQ(file[1], "");
    file.appendLine("two");
    file.appendLine(file.line(0));
    EXPECT_EQ(lines_by_number(file), (Lines{"one", "two", "one"}));
    EXPECT_EQ(file.bytes(), "one\ntwo\none\n");
    EXPECT_EQ(file[3], "");
    EXPECT_EQ(file[static_cast<std::size_t>(-1)], "");
}

TEST(TextFile, LoadsWhatWasSaved) {
    const testing_kit::TempDir folder;
    TextFile file;
    for (int i = 0; i < 200'000; ++i) {  // longer than one piece of reading, and worth large pages
        file.appendLine(std::string(static_cast<std::size_t>(i % 50), static_cast<char>('A' + i % 60)));
    }
    ASSERT_TRUE(file.save(wide(folder.path("lines")), 1));
    TextFile loaded;
    ASSERT_TRUE(loaded.load(wide(folder.path("lines")), '\n', false));
    EXPECT_EQ(loaded.bytes(), file.bytes());
}

TEST(TextFile, CannotLoad) {
    const testing_kit::TempDir folder;
    testing_kit::write_file(folder.path("closed"), "secret");
    ASSERT_EQ(::chmod(folder.path("closed").c_str(), 0), 0);
    for (const std::string& path : {folder.path("missing"), folder.path(), std::string(), folder.path("closed/x"),
                                    folder.path() + std::string("\0x", 2)}) {
        TextFile file = TextFile::fromBytes("old\n");
        EXPECT_FALSE(file.load(wide(path), '\n', false)) << path;
        EXPECT_EQ(file.numLines(), 0U) << path;
    }
}

TEST(TextFile, LoadsAPipeToItsEnd) {
    const testing_kit::TempDir folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { testing_kit::write_file(pipe, "a\r\n" + std::string(200'000, 'x') + "\r\nend"); });
    TextFile file;
    EXPECT_TRUE(file.load(wide(pipe), '\n', false));
    writer.join();
    EXPECT_EQ(lines_by_number(file), (Lines{"a", std::string(200'000, 'x'), "end"}));
}

TEST(TextFile, AFaultyReadIsNoShorterFile) {
    const testing_kit::TempDir folder;
    const std::string bytes(300'000, 'x');
    testing_kit::write_file(folder.path("lines"), bytes);
    const std::size_t descriptors = testing_kit::open_descriptors();
    using testing_kit::Fault;
    for (const Fault fault : {Fault{Fault::kError, EIO}, Fault{Fault::kError, EINTR}, Fault{Fault::kShort}}) {
        bool struck = true;
        for (long at = 0; struck; ++at) {
            testing_kit::FaultyPlatform platform(fault, at);
            const testing_kit::UsePlatform in_place(platform);
            TextFile file = TextFile::fromBytes("old\n");
            const bool loaded = file.load(wide(folder.path("lines")), '\n', false);
            struck = platform.struck();
            ASSERT_EQ(file.bytes(), loaded ? bytes + "\n" : "") << platform.struck_operation();
            const bool harmless = fault.kind == Fault::kShort || fault.code == EINTR || !struck ||
                                  platform.struck_operation() == "close" || platform.struck_operation() == "fileStat";
            ASSERT_EQ(loaded, harmless) << platform.struck_operation();
            ASSERT_EQ(testing_kit::open_descriptors(), descriptors) << platform.struck_operation();
        }
    }
}

TEST(TextFile, WithoutMemoryNothingIsLeftBehind) {
    const testing_kit::TempDir folder;
    const std::string old = "old\r\nlines of more than fifteen bytes\n";
    testing_kit::write_file(folder.path("lines"), old);
    const WString path = wide(folder.path("lines"));
    const std::size_t descriptors = testing_kit::open_descriptors();
    const long blocks = testing_kit::live_blocks();
    const auto check = [&]() -> std::string {
        if (testing_kit::live_blocks() != blocks) {
            return "memory is left";
        }
        return testing_kit::names_in(folder.path()) != Lines{"lines"} ? "a temporary is left"
               : testing_kit::open_descriptors() != descriptors       ? "a descriptor is left"
                                                                      : "";
    };
    const auto load = [&] {
        TextFile file = TextFile::fromBytes("before");
        try {
            file.load(path, '\n', false);
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(file.numLines(), 0U);
            throw;
        }
    };
    EXPECT_EQ(testing_kit::sweep_allocations(load, check), "");
    EXPECT_EQ(testing_kit::file_bytes(folder.path("lines")), old);
    const auto append_and_save = [&] {
        TextFile file;
        file.appendLine("a line of more than fifteen bytes");
        file.save(path, 1);
    };
    EXPECT_EQ(testing_kit::sweep_allocations(append_and_save, check), "");
    EXPECT_EQ(testing_kit::file_bytes(folder.path("lines")), "a line of more than fifteen bytes\n");

    const auto tear = [] {
        TextFile file;
        try {
            file.appendLine("fifteen bytes..");  // the LF is the first byte that needs a block
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(file.bytes(), "");
            throw;
        }
    };
    EXPECT_EQ(testing_kit::sweep_allocations(tear, check), "");
}

}  // namespace
