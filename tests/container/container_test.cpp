// Containers written and read back, and every answer of a reader that is not valid.

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

#include "keldb/container/qv_container_file.h"
#include "keldb/support/log.h"
#include "tests/testing/temp_dir.h"

namespace {

using QVContainerFile::Reader;
using QVContainerFile::Writer;
using testing_kit::file_bytes;
using testing_kit::wide;

constexpr unsigned kName = 0, kSize = 2;
constexpr unsigned kOutside[] = {3, 65535, 65536, 65537, std::numeric_limits<unsigned>::max()};

const std::string kFile =
    "\"KELDB:Rev 1\"\n\"Name:Clips\"\n\"Permanent:false\"\n\"KELDB\"\n"
    "\"32\",\"12\",\"10\"\n\"text\",\"text\",\"double\"\n\"Name\",\"COOKIE\",\"Size\"\n"
    "\"one\",\"clip-1\",\"10\"\n\"\",\"clip-2\",\"2.50000000\"\n";

// The items in order, each with its two attributes.
std::string items(const Reader& reader) {
    std::string text;
    for (unsigned i = 0; i < reader.getNumItems(); ++i) {
        const Reader::Item item = reader.getItem(i);
        text += (i == 0 ? "" : " ") + std::string(item.getCookie().text().view()) + (item.valid() ? "" : "!") + ':';
        text += std::string(item.getAttrib(kName).view()) + ',' + item.getAttrib(kSize).c_str();
    }
    return text;
}
constexpr const char* kItems = "clip-1:one,10 clip-2:,2.50000000";

class Container : public testing::Test {
protected:
    Container() {
        setLogSink([](const char*, void*) {}, nullptr);
    }
    ~Container() override { setLogSink(nullptr, nullptr); }

    void fill() {
        writer.setName("Reels");
        writer.setPermanent(false);
        writer.setName("Clips");
        Writer::Item one = writer.addItem(Cookie("clip-1", true));
        one.setAttrib(kName, " \t\none");
        one.setAttrib(kSize, 10);
        writer.addItem(Cookie("clip-2", true)).setAttrib(kSize, 2.5);
    }
    std::string saved(Writer& container) const {
        container.save(wide(path));
        return file_bytes(path);
    }
    Reader reader_of(Writer& container) const {
        container.save(wide(path));
        return Reader(wide(path), false);
    }
    Reader reader_of(std::string_view bytes) const {
        testing_kit::write_file(path, bytes);
        return Reader(wide(path), false);
    }

    testing_kit::TempDir folder;
    const std::string path = folder.path("Clips.v2.rak");
    DBFieldDesc fields[4] = {
        {"Name", DBFieldTypes::text}, {"COOKIE", DBFieldTypes::text}, {"Size", DBFieldTypes::number}, {}};
    Writer writer{fields};
};

TEST_F(Container, ReadsBackWhatItWrites) {
    fill();
    EXPECT_EQ(saved(writer), kFile);
    const Reader reader = reader_of(writer);  // now over a file
    ASSERT_TRUE(reader.valid());
    EXPECT_EQ(reader.getCookie().text(), "Clips.v2");
    EXPECT_EQ(reader.getName(), "Clips");
    EXPECT_EQ(reader.getNameW(), L"Clips");
    EXPECT_EQ(reader.getItemAttribIndex("SIZE"), 2);
    EXPECT_EQ(reader.getItemAttribIndex("take"), -1);
    EXPECT_EQ(reader.getItemAttribIndex(nullptr), -1);
    EXPECT_EQ(items(reader), kItems);
    const Reader::Item one = reader.getItem(0), two = reader.getItem(1);
    EXPECT_EQ(one.getAttrib(kSize, 7), 10);
    EXPECT_EQ(two.getAttrib(kSize, 7.5), 2.5);
    EXPECT_EQ(two.getAttrib(kSize, 7), 2);
    EXPECT_EQ(two.getAttrib(kName, 7), 0);  // an empty attribute is 0, not the fallback
    EXPECT_EQ(two.getAttrib(kName, 7.5), 0.0);
    for (const unsigned outside : kOutside) {
        EXPECT_EQ(one.getAttrib(outside), "");
        EXPECT_EQ(one.getAttrib(outside, 7), 7);
        EXPECT_EQ(one.getAttrib(outside, 7.5), 7.5);
        EXPECT_FALSE(reader.getItem(outside - 1).valid());
    }
    EXPECT_TRUE(reader.contains(two.getCookie()));
    EXPECT_FALSE(reader.contains(Cookie("CLIP-2", true)));
    EXPECT_FALSE(reader.contains(Cookie()));
    EXPECT_EQ(reader.getContents().size(), 2U);
    EXPECT_TRUE(reader.getContents().contains(one.getCookie()));

    const Reader header(wide(path), true);
    EXPECT_TRUE(header.valid());
    EXPECT_EQ(header.getName(), "Clips");
    EXPECT_EQ(header.getNumItems(), 0U);
}

TEST_F(Container, AddsNothingForAnInvalidIdentityAndSetsNothingOutsideTheFields) {
    fill();
    for (const char* id : {"", "I", "I17"}) {
        Writer::Item item = writer.addItem(Cookie(id, true));
        EXPECT_FALSE(item.valid()) << id;
        item.setAttrib(kName, "x");
        item.setAttrib(kSize, 1.5);
    }
    EXPECT_EQ(saved(writer), kFile);
    Writer::Item interview = writer.addItem(Cookie("Interview 1", true));
    for (const unsigned outside : kOutside) {
        interview.setAttrib(outside, "x");
        interview.setAttrib(outside, 1);
    }
    writer.addItem(Cookie("clip-1", true));  // repeats are not looked for
    const Reader reader = reader_of(writer);
    EXPECT_EQ(items(reader), std::string(kItems) + " Interview 1:, clip-1:,");
    EXPECT_EQ(reader.getContents().size(), 3U);
}

TEST_F(Container, KeepsItsItemsUsableWhileItGrows) {
    fill();
    Writer::Item first = writer.addItem(Cookie("first", true));
    for (int i = 1; i < 1200; ++i) writer.addItem(Cookie(("clip-" + std::to_string(i)).c_str(), true));
    first.setAttrib(kName, std::numeric_limits<int>::min());
    first.setAttrib(kSize, -std::numeric_limits<double>::max());  // 319 characters
    const Reader reader = reader_of(writer);
    EXPECT_EQ(reader.getItem(2).getAttrib(kName, 0), std::numeric_limits<int>::min());
    EXPECT_EQ(reader.getItem(2).getAttrib(kSize, 0.0), -std::numeric_limits<double>::max());
    EXPECT_EQ(reader.getItem(1201).getCookie().text(), "clip-1199");
}

TEST_F(Container, ReadsItsOwnAttributesAsTextsNumbersAndTruths) {
    struct Row {
        const char* text;
        int as_int;
        double as_double;
        bool permanent;
    };
    for (const Row& row : {Row{"12abc", 12, 12, false}, Row{"2.5", 2, 2.5, false}, Row{"", 7, 7.5, false},
                           Row{"abc", 0, 0, false}, Row{"1", 1, 1, true}, Row{"TRUE", 0, 0, true},
                           Row{"-3e2", -3, -300, false}, Row{"99999999999", 2147483647, 99999999999, false}}) {
        SCOPED_TRACE(row.text);
        Writer container(fields);
        container.setAttrib("count", row.text);
        container.setAttrib("PERMANENT", row.text);
        const Reader reader = reader_of(container);
        EXPECT_EQ(reader.getAttrib("Count"), row.text);
        EXPECT_EQ(reader.getAttrib("Count", 7), row.as_int);
        EXPECT_EQ(reader.getAttrib("Count", 7.5), row.as_double);
        EXPECT_EQ(reader.getAttrib("absent", 7), 7);
        EXPECT_EQ(reader.getAttrib("absent", 7.5), 7.5);
        EXPECT_EQ(reader.isPermanent(), row.permanent);
    }
}

TEST_F(Container, CopiesAndMovesAreContainersOfTheirOwn) {
    fill();
    Writer assigned(fields);
    assigned.setName("other");
    {
        Writer copy(writer), moved(std::move(copy));
        assigned = moved;
        moved.addItem(Cookie("clip-3", true));
        EXPECT_EQ(items(reader_of(moved)), std::string(kItems) + " clip-3:,");
    }
    EXPECT_EQ(saved(assigned), kFile);
    assigned = std::move(writer);
    EXPECT_EQ(saved(writer), kFile);  // moving copies

    Reader other = reader_of("");
    {
        Reader reader = reader_of(kFile);
        other = reader;
        EXPECT_EQ(items(Reader(std::move(reader))), kItems);
    }
    EXPECT_EQ(items(other), kItems);
    EXPECT_EQ(other.getCookie().text(), "Clips.v2");
}

// Every answer of a reader that is not valid. The items counted are those of the table as it loaded.
void expect_not_valid(const Reader& reader, unsigned count) {
    EXPECT_FALSE(reader.valid());
    EXPECT_EQ(reader.getNumItems(), count);
    EXPECT_FALSE(reader.getItem(0).valid());
    EXPECT_EQ(reader.getItem(0).getCookie().text(), "");
    EXPECT_EQ(reader.getItem(0).getAttrib(0U), "");
    EXPECT_EQ(reader.getItem(0).getAttrib(0U, 7), 7);
    EXPECT_EQ(reader.getItem(0).getAttrib(0U, 7.5), 7.5);
    EXPECT_FALSE(reader.contains(Cookie("clip-1", true)));
    EXPECT_EQ(reader.getContents().size(), count == 0 ? 0U : 1U);  // of each item the empty identity
    EXPECT_EQ(reader.getItemAttribIndex("Name"), -1);
    EXPECT_EQ(reader.getAttrib("Name"), "");
    EXPECT_EQ(reader.getAttrib("Name", 7), 7);
    EXPECT_EQ(reader.getAttrib("Name", 7.5), 7.5);
    EXPECT_EQ(reader.getNameW(), L"");
    EXPECT_FALSE(reader.isPermanent());
}

TEST_F(Container, IsNotValidWithoutAttributesOrIdentities) {
    writer.addItem(Cookie("clip-1", true));
    expect_not_valid(reader_of(writer), 0);  // no parameter lines

    Writer nameless(fields + 2), without_fields(fields + 3);
    nameless.setPermanent(true);
    nameless.setName("Clips");
    EXPECT_TRUE(nameless.addItem(Cookie("clip-1", true)).valid());
    nameless.addItem(Cookie("clip-2", true)).setAttrib(0, "clip-1");
    expect_not_valid(reader_of(nameless), 2);
    without_fields.setName("Clips");
    without_fields.addItem(Cookie("clip-1", true)).setAttrib(0, 1);
    expect_not_valid(reader_of(without_fields), 0);

    for (const std::string& name : {folder.path("missing"), folder.path(), std::string()}) {
        expect_not_valid(Reader(wide(name), false), 0);
    }
    for (const char* bytes : {"", "\n", "KELDB", "no container"}) expect_not_valid(reader_of(bytes), 0);
}

// A cut file keeps every item that stands before the cut, or is not valid.
TEST_F(Container, AnyCutKeepsTheItemsBeforeIt) {
    const std::size_t first = kFile.find("\"one\""), second = kFile.find("\"\",\"clip-2\"");
    for (std::size_t length = 0; length < kFile.size(); ++length) {
        SCOPED_TRACE(length);
        const Reader reader = reader_of(kFile.substr(0, length));
        if (!reader.valid()) {
            ASSERT_LT(length, first);
            expect_not_valid(reader, 0);
            continue;
        }
        EXPECT_EQ(reader.getName(), "Clips");
        ASSERT_LE(reader.getNumItems(), length <= first ? 0U : length <= second ? 1U : 2U);
        EXPECT_TRUE(length < second || items(reader).starts_with("clip-1:one,10")) << items(reader);
    }
}

TEST(ContainerName, StandsForAnIdentity) {
    struct Row {
        const wchar_t* path;
        const char* id;
    };
    for (const Row& row :
         {Row{L"/bins/Clips.SG", "MClips"}, Row{L"Clips.v2.rak", "BClips.v2"}, Row{L"a/Clips.RaK", "BClips"},
          Row{L"bins.rak/Clips.txt", "Clips"}, Row{L"Clips", "Clips"}, Row{L"a/msg", "Mmsg"},
          Row{L"a.b/tamarak", "Btamarak"}, Row{L"Clips.rak.old", "Clips.rak"}, Row{L"", ""}, Row{L"bins/", ""}}) {
        EXPECT_EQ(QVContainerFile::getCookieFromFilename(row.path).text(), row.id);
    }
}

}  // namespace
