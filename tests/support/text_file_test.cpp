// A TextFile holds the lines of a file; read one by one through a window they are the same, and so are lines written in
// pieces. A read that fails half-way is no shorter file.
#include <sys/stat.h>
#include <thread>

#include "keldb/support/read_window.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/kit.h"

namespace {

using namespace std::string_view_literals;
using Lines = std::vector<std::string>;

// The plain rule.
Lines naive_lines(std::string bytes) {
    for (std::size_t at = 0; (at = bytes.find("\r\n", at)) != std::string::npos; ++at) bytes.erase(at, 1);
    Lines lines = pieces(bytes, '\n');
    if (lines.back().empty()) lines.pop_back();
    return lines;
}

Lines lines_by_number(const TextFile& file) {
    Lines lines;
    for (std::size_t i = 0; i < file.numLines(); ++i) lines.emplace_back(file.line(i));
    return lines;
}

Lines lines_in_turn(TextFile& file) {
    Lines lines;
    while (!file.atEnd()) {
        EXPECT_EQ(file.lineNumber(), lines.size());
        lines.emplace_back(file.getLine().view());
    }
    EXPECT_TRUE(file.nextLine().empty() && !file.readFailed());
    return lines;
}

Lines lines_through_window(const std::string& path) {
    TextFile file;
    EXPECT_TRUE(file.loadLineByLine(wide(path)));
    return lines_in_turn(file);
}

TEST(TextFile, SplitsEveryShortTextAndGrows) {
    const TempDir folder;
    const auto expect_split = [&](const std::string& text) {
        for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text}) {
            TextFile file = TextFile::fromBytes(bytes);
            Lines lines = naive_lines(text);
            ASSERT_EQ(lines_by_number(file), lines);
            ASSERT_EQ(lines_in_turn(file), lines);
            if (text.size() <= 4) write_file(folder.path("lines"), bytes);
            for (int most = 1; text.size() <= 4 && most <= 4; most += 3) {
                const FaultyPlatform trickle({Fault::kTrickle, most});
                ASSERT_EQ(lines_through_window(folder.path("lines")), lines) << bytes;
            }
            file.appendLine(file.line(0));  // its own text
            lines.push_back(lines.empty() ? "" : lines[0]);
            ASSERT_EQ(lines_by_number(file), lines);
            ASSERT_TRUE(file[0] == lines[0] && file[lines.size()] == "" && file[SIZE_MAX] == "");
        }
    };
    for (std::size_t length = 0; length <= 6; ++length) {
        every_text(std::string_view("a\r\n\0", 4), length, expect_split);
    }
}

TEST(TextFile, CannotLoadWhatIsNoFile) {
    const TempDir folder;
    write_file(folder.path("file"), "text");
    for (const std::string_view name : {"missing"sv, ""sv, "file\0"sv}) {
        const WString path = wide(folder.path(name));
        TextFile file = TextFile::fromBytes("old\n");
        EXPECT_FALSE(file.load(path, '\n', false) || file.numLines() != 0 || file.loadLineByLine(path)) << name;
    }
}

TEST(TextFile, GoesThroughAPipe) {
    const TempDir folder;
    const WString pipe = wide(folder.path("pipe"));
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    const std::string sent = "a\n" + std::string(200'000, 'x') + "\nend\n";
    std::thread writer([&] { EXPECT_TRUE(TextFile::fromBytes(sent).save(pipe, 1)); });
    TextFile received;
    EXPECT_TRUE(received.load(pipe, '\n', false));
    writer.join();
    EXPECT_TRUE(received.bytes() == sent && std::filesystem::is_fifo(folder.path("pipe")));
}

TEST(TextFile, AFaultyReadIsNoShorterFile) {
    const TempDir folder;
    const WString path = wide(folder.path("lines"));
    std::string bytes;  // more than one window
    while (bytes.size() <= kel::ReadWindow::kBytes) bytes += std::string(997, 'x') + '\n';
    write_file(folder.path("lines"), bytes);
    const std::size_t descriptors = open_descriptors();
    for (const bool by_line : {false, true}) {
        for (const Fault fault : {Fault{Fault::kError, EIO}, Fault{Fault::kError, EINTR}, Fault{Fault::kShort}}) {
            bool struck = true;
            for (long at = 0; struck; ++at) {
                const FaultyPlatform platform(fault, at);
                TextFile file = TextFile::fromBytes("old\n");
                bool loaded = by_line ? file.loadLineByLine(path) : file.load(path, '\n', false);
                std::string seen;
                while (!file.atEnd()) seen.append(file.nextLine()) += '\n';
                loaded = loaded && !file.readFailed();
                file = TextFile();
                struck = platform.struck();
                const std::string where = platform.struck_operation();
                const bool harmless = !struck || fault.kind == Fault::kShort || fault.code == EINTR ||
                                      where == "close" || where == "fileStat";
                ASSERT_EQ(loaded, harmless) << where;
                ASSERT_TRUE(loaded ? seen == bytes : by_line || seen.empty()) << where;
                ASSERT_EQ(open_descriptors(), descriptors) << where;
            }
        }
    }
}

// Lines around the size of the window, and enough of them for large pages.
TEST(StreamedSave, WritesTheBytesOfTheWholeFile) {
    const TempDir folder;
    const std::string path = folder.path("streamed");
    constexpr std::size_t kWindow = kel::ReadWindow::kBytes, kLong[] = {kWindow - 1, kWindow, 5 * kWindow};
    std::mt19937 random(11);
    TextFile whole, streamed;
    streamed.startSaving(wide(path), WString());
    for (std::size_t i = 0; i < 3000; ++i) {
        const std::size_t length = i % 1000 == 500 ? kLong[i / 1000] : random() % 2500;
        const std::string line(length, static_cast<char>('a' + i % 26));
        whole.appendLine(line);
        streamed.appendLine(line);
        const std::size_t held = streamed.numLines();  // none, when it was handed down
        ASSERT_EQ(streamed.line(held - 1), held == 0 ? "" : line);
    }
    EXPECT_TRUE(streamed.finishSaving());
    EXPECT_FALSE(streamed.finishSaving());  // it was finished
    EXPECT_TRUE(file_bytes(path) == whole.bytes());
    EXPECT_TRUE(lines_through_window(path) == lines_by_number(whole));
    TextFile loaded;
    EXPECT_TRUE(loaded.load(wide(path), '\n', false) && loaded.bytes() == whole.bytes());
    const std::string bytes(whole.bytes());
    write_file(path, bytes + "a\r\nb\r");  // the first CR stands behind the first piece
    EXPECT_TRUE(loaded.load(wide(path), '\n', false) && loaded.bytes() == bytes + "a\nb\r\n");
}

}  // namespace
