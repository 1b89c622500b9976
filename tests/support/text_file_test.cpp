// A TextFile holds the lines of a file; read one by one through a window they are the same, and so are lines written in
// pieces. A read that fails half-way is no shorter file. Here lines are one text, each ended by LF.
#include "keldb/support/read_window.h"
#include "tests/testing/faulty_platform.h"
#include "tests/testing/kit.h"

namespace {

// The plain rule.
std::string naive_lines(std::string bytes) {
    for (std::size_t at = 0; (at = bytes.find("\r\n", at)) != std::string::npos; ++at) bytes.erase(at, 1);
    return bytes.empty() || bytes.ends_with('\n') ? bytes : bytes + '\n';
}

std::string lines_by_number(const TextFile& file) {
    std::string lines;
    for (std::size_t i = 0; i < file.numLines(); ++i) lines.append(file.line(i)) += '\n';
    return lines;
}

std::string lines_in_turn(TextFile& file) {
    std::string lines;
    for (std::size_t number = 0; !file.atEnd(); ++number) {
        EXPECT_EQ(file.lineNumber(), number);
        lines.append(file.getLine()) += '\n';
    }
    EXPECT_TRUE(file.nextLine().empty());
    return lines;
}

std::string lines_of_file(const std::string& path, bool by_line) {
    TextFile file = TextFile::fromBytes("old\n");
    const bool loaded = by_line ? file.loadLineByLine(wide(path)) : file.load(wide(path), '\n', false);
    const std::string lines = lines_in_turn(file);
    EXPECT_TRUE(loaded || lines.empty());
    return loaded && !file.readFailed() ? lines : "(none)";
}

TEST(TextFile, SplitsEveryShortTextAndGrows) {
    const TempDir folder;
    const auto expect_split = [&](const std::string& text) {
        for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text}) {
            TextFile file = TextFile::fromBytes(bytes);
            const std::string lines = naive_lines(text);
            ASSERT_EQ(lines_by_number(file), lines);
            ASSERT_EQ(lines_in_turn(file), lines);
            if (text.size() <= 4) write_file(folder.path("lines"), bytes);
            for (int most = 1; text.size() <= 4 && most <= 4; most += 3) {
                const FaultyPlatform trickle({Fault::kPart, most}, FaultyPlatform::kEvery);
                ASSERT_EQ(lines_of_file(folder.path("lines"), true), lines) << bytes;
            }
            const std::string first = lines.substr(0, lines.find('\n'));
            file.appendLine(file.line(0));  // its own text
            ASSERT_EQ(lines_by_number(file), lines + first + '\n');
            ASSERT_TRUE(file[0] == first && file[file.numLines()] == "" && file[SIZE_MAX] == "");
        }
    };
    for (std::size_t length = 0; length <= 6; ++length) {
        every_text(std::string_view("a\r\n\0", 4), length, expect_split);
    }
}

TEST(TextFile, AFaultyReadIsNoShorterFile) {
    const TempDir folder;
    const std::string path = folder.path("lines"), line = std::string(997, 'x') + '\n';
    std::string bytes;  // more than one window
    while (bytes.size() <= kel::ReadWindow::kBytes) bytes += line;
    write_file(path, bytes);
    EXPECT_FALSE(TextFile().loadLineByLine(wide(folder.path("missing"))));
    const std::size_t descriptors = open_descriptors();
    for (const bool by_line : {false, true}) {
        EXPECT_EQ(lines_of_file(path + '\0', by_line), "(none)");  // another name, of no file
        for (const Fault fault : {Fault{Fault::kError, EIO}, Fault{Fault::kError, EINTR}, Fault{Fault::kPart, 1}}) {
            bool struck = true;
            for (long at = 0; struck; ++at) {
                const FaultyPlatform platform(fault, at);
                const std::string read = lines_of_file(path, by_line), where = platform.struck_operation();
                struck = platform.struck();
                const bool harmless = fault.kind == Fault::kPart || fault.value == EINTR || where == "close" ||
                                      where == "fileStat" || !struck;
                ASSERT_TRUE(read == (harmless ? bytes : "(none)")) << where;
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
    Random random(11);
    TextFile streamed;
    std::string whole;
    streamed.startSaving(wide(path), WString());
    for (std::size_t i = 0; i < 3000; ++i) {
        const std::size_t length = i % 1000 == 500 ? kLong[i / 1000] : random.below(2500);
        const std::string line(length, static_cast<char>('a' + i % 26));
        whole += line + '\n';
        streamed.appendLine(line);
        const std::size_t held = streamed.numLines();  // none, when it was handed down
        ASSERT_EQ(streamed.line(held - 1), held == 0 ? "" : line);
    }
    EXPECT_TRUE(streamed.finishSaving());
    EXPECT_FALSE(streamed.finishSaving());  // it was finished
    EXPECT_TRUE(file_bytes(path) == whole);
    for (const std::string& text :
         {whole + "a\r\nb\r", "a\r\n" + whole}) {  // the first CR behind the first piece, or in it
        write_file(path, text);
        for (const bool by_line : {false, true}) EXPECT_TRUE(lines_of_file(path, by_line) == naive_lines(text));
    }
    // A piece that was not written is missed, though the next one was.
    bool struck = true;
    for (long at = 0; struck; ++at) {
        const FaultyPlatform platform({Fault::kPart, 0}, at);
        streamed.startSaving(wide(path), WString());
        for (int i = 0; i < 2; ++i) streamed.appendLine(std::string(std::size_t{1} << 20, 'x'));
        EXPECT_EQ(streamed.finishSaving(), platform.struck_operation() != "write");
        struck = platform.struck();
    }
}

}  // namespace
