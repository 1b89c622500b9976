// Containers written and read back, and every answer of a reader that is not valid.
#include "keldb/container/qv_container_file.h"
#include "tests/testing/kit.h"

namespace {

using namespace QVContainerFile;

constexpr unsigned kName = 0, kSize = 2;
constexpr unsigned kOutside[] = {3, 65535, 65536, 65537, UINT_MAX};

const std::string kFile =
    "\"KELDB:Rev 1\"\n\"Name:Clips\"\n\"Permanent:false\"\n\"KELDB\"\n"
    "\"32\",\"12\",\"10\"\n\"text\",\"text\",\"double\"\n\"Name\",\"COOKIE\",\"Size\"\n"
    "\"one\",\"clip-1\",\"10\"\n\"\",\"clip-2\",\"2.50000000\"\n";
constexpr const char* kItems = "clip-1:one,10 clip-2:,2.50000000";

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

// Every answer of a reader that is not valid. The items counted are those of the table as it loaded.
void expect_not_valid(const Reader& reader, unsigned count = 0) {
    const Reader::Item item = reader.getItem(0);
    EXPECT_FALSE(reader.valid() || reader.isPermanent() || item.valid() || reader.contains(Cookie("clip-1", true)));
    EXPECT_TRUE(reader.getNumItems() == count && reader.getNameW().empty() && reader.getItemAttribIndex("Name") == -1);
    EXPECT_EQ(reader.getContents().size(), count == 0 ? 0U : 1U);  // of each item the empty identity
    EXPECT_EQ(item.getCookie().text() + item.getAttrib(0U) + reader.getAttrib("Name"), "");
    EXPECT_EQ(item.getAttrib(0U, 7) + reader.getAttrib("Name", 7), 14);
    EXPECT_EQ(item.getAttrib(0U, 7.5) + reader.getAttrib("Name", 7.5), 15);
}

struct Container : testing::Test {
    Container() {
        setLogSink([](const char*, void*) {}, nullptr);
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
    Reader reader_of(std::string_view bytes) const {
        write_file(path, bytes);
        return Reader(wide(path), false);
    }

    TempDir folder;
    const std::string path = folder.path("Clips.v2.rak");
    DBFieldDesc fields[4] = {
        {"Name", DBFieldTypes::text}, {"COOKIE", DBFieldTypes::text}, {"Size", DBFieldTypes::number}, {}};
    Writer writer{fields};
};

TEST_F(Container, ReadsBackWhatItWrites) {
    EXPECT_EQ(saved(writer), kFile);
    EXPECT_EQ(saved(writer), kFile);  // over a file
    const Reader reader(wide(path), false), header(wide(path), true);
    EXPECT_TRUE(reader.valid() && header.valid());
    EXPECT_EQ(reader.getCookie().text() + reader.getName(), "Clips.v2Clips");
    EXPECT_EQ(header.getNameW(), L"Clips");
    EXPECT_EQ(reader.getItemAttribIndex("SIZE"), 2);
    EXPECT_EQ(reader.getItemAttribIndex("take") + reader.getItemAttribIndex(nullptr), -2);
    EXPECT_EQ(items(reader) + items(header), kItems);
    const Reader::Item one = reader.getItem(0), two = reader.getItem(1);
    EXPECT_TRUE(one.getAttrib(kSize, 7) == 10 && two.getAttrib(kSize, 7.5) == 2.5);
    EXPECT_EQ(two.getAttrib(kName, 7) + two.getAttrib(kName, 7.5), 0);  // an empty attribute is 0, not the fallback
    for (const unsigned outside : kOutside) {
        EXPECT_TRUE(one.getAttrib(outside).empty() && !reader.getItem(outside - 1).valid());
        EXPECT_EQ(one.getAttrib(outside, 7) + one.getAttrib(outside, 7.5), 14.5);
    }
    EXPECT_TRUE(reader.contains(two.getCookie()) && reader.getContents().contains(one.getCookie()));
    EXPECT_FALSE(reader.contains(Cookie("CLIP-2", true)) || reader.contains(Cookie()));
    EXPECT_EQ(reader.getContents().size(), 2U);
}

TEST_F(Container, AddsNothingForAnInvalidIdentityAndSetsNothingOutsideTheFields) {
    Writer::Item invalid = writer.addItem(Cookie("I17", true)), interview = writer.addItem(Cookie("Interview 1", true));
    EXPECT_FALSE(invalid.valid());
    writer.addItem(Cookie("clip-1", true));  // repeats are not looked for
    const auto set = [](Writer::Item& item, unsigned index) {
        item.setAttrib(index, "x"), item.setAttrib(index, 1), item.setAttrib(index, 1.5);
    };
    set(invalid, kName);
    for (const unsigned outside : kOutside) set(interview, outside);
    EXPECT_EQ(items(reader_of(saved(writer))), std::string(kItems) + " Interview 1:, clip-1:,");
}

TEST_F(Container, ReadsItsOwnAttributesAsTextsNumbersAndTruths) {
    // The text, the sum of it as an integer and as a real, 7 and 7.5 for what is absent, and it as a truth.
    const std::tuple<const char*, double, bool> kTexts[] = {
        {"2.5a", 4.5, false}, {"", 14.5, false}, {"abc", 0, false}, {"1", 2, true}};
    for (const auto& [text, numbers, permanent] : kTexts) {
        writer.setAttrib("count", text);
        writer.setAttrib("PERMANENT", text);
        const Reader reader = reader_of(saved(writer));
        EXPECT_TRUE(reader.getAttrib("Count") == text && reader.isPermanent() == permanent) << text;
        EXPECT_EQ(reader.getAttrib("Count", 7) + reader.getAttrib("Count", 7.5), numbers) << text;
    }
}

TEST_F(Container, IsNotValidWithoutAttributesOrIdentities) {
    Writer without_parameters(fields), nameless(fields + 2), without_fields(fields + 3), smallest(fields + 1);
    for (Writer* container : {&nameless, &without_fields, &smallest}) container->setPermanent(true);
    for (Writer* container : {&without_parameters, &nameless, &without_fields, &smallest}) {
        EXPECT_TRUE(container->addItem(Cookie("clip-1", true)).valid());
        container->addItem(Cookie("clip-2", true)).setAttrib(0, "clip-1");
        const Reader reader = reader_of(saved(*container));
        EXPECT_EQ(reader.getItem(0).valid(), container == &smallest);
        if (container != &smallest) expect_not_valid(reader, container == &nameless ? 2 : 0);
    }
    for (const std::string& name : {folder.path("missing"), folder.path(), std::string()})
        expect_not_valid(Reader(wide(name), false));
}

TEST(ContainerName, StandsForAnIdentity) {
    const std::pair<const wchar_t*, const char*> kNames[] = {
        // clang-format off
        {L"/bins/Clips.SG", "MClips"}, {L"Clips.v2.rak", "BClips.v2"}, {L"a/msg", "Mmsg"}, {L"bins.rak/Clips.txt", "Clips"},
        {L"a.b/tamaRaK", "BtamaRaK"}, {L"Clips.rak.old", "Clips.rak"}, {L"bins/", ""}, {L"a/.hidden", ".hidden"},
        // clang-format on
    };
    for (const auto& [path, id] : kNames) EXPECT_EQ(QVContainerFile::getCookieFromFilename(path).text(), id);
}

}  // namespace
