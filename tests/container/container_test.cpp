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

// Every answer of a reader, of its items in order and of one beyond: ! not valid, - not contained. Numbers are asked
// for as an integer and as a real, and added up: 14.5 stands for what is absent.
std::string answers(const Reader& reader) {
    std::ostringstream text;
    text << (reader.valid() ? "" : "! ") << (reader.isPermanent() ? "permanent " : "") << reader.getName().view() << ' '
         << reader.getAttrib("Count").view() << '=' << reader.getAttrib("Count", 7) + reader.getAttrib("Count", 7.5)
         << ' ' << reader.getItemAttribIndex("SIZE") << ' ' << reader.getContents().size();
    for (unsigned i = 0; i <= reader.getNumItems(); ++i) {
        const Reader::Item item = reader.getItem(i);
        text << " | " << item.getCookie().text().view() << (item.valid() ? "" : "!")
             << (reader.contains(item.getCookie()) ? "" : "-") << ':' << item.getAttrib(kName).view() << ','
             << item.getAttrib(kSize).view() << '=' << item.getAttrib(kSize, 7) + item.getAttrib(kSize, 7.5);
        for (const unsigned outside : kOutside)
            EXPECT_TRUE(item.getAttrib(outside).empty() &&
                        item.getAttrib(outside, 7) + item.getAttrib(outside, 7.5) == 14.5);
    }
    return text.str();
}

const std::string kItems = "clip-1:one,10=20 | clip-2:,2.50000000=4.5 | ";

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

    std::string answers_of(Writer& container) const {
        container.save(wide(path));
        return answers(Reader(wide(path), false));
    }

    TempDir folder;
    const std::string path = folder.path("Clips.v2.rak");
    DBFieldDesc fields[4] = {
        {"Name", DBFieldTypes::text}, {"COOKIE", DBFieldTypes::text}, {"Size", DBFieldTypes::number}, {}};
    Writer writer{fields};
};

TEST_F(Container, ReadsBackWhatItWrites) {
    for (int again = 0; again < 2; ++again) {  // over a file
        EXPECT_EQ(answers_of(writer), "Clips =14.5 2 2 | " + kItems + "!-:,=14.5");
        EXPECT_EQ(file_bytes(path), kFile);
    }
    const Reader reader(wide(path), false), header(wide(path), true);
    EXPECT_EQ(answers(header), "Clips =14.5 2 0 | !-:,=14.5");
    EXPECT_TRUE(reader.getCookie().text() == "Clips.v2" && header.getNameW() == L"Clips");
    EXPECT_EQ(reader.getItemAttribIndex("take") + reader.getItemAttribIndex(nullptr), -2);
    EXPECT_TRUE(reader.getContents().contains(Cookie("clip-2", true)) && !reader.contains(Cookie("CLIP-2", true)));
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
    EXPECT_EQ(answers_of(writer), "Clips =14.5 2 3 | " + kItems + "Interview 1:,=0 | clip-1:,=0 | !-:,=14.5");
}

TEST_F(Container, ReadsItsOwnAttributesAsTextsNumbersAndTruths) {
    const std::pair<const char*, const char*> kTexts[] = {
        {"2.5a", "Clips 2.5a=4.5 "}, {"", "Clips =14.5 "}, {"abc", "Clips abc=0 "}, {"1", "permanent Clips 1=2 "}};
    for (const auto& [text, expected] : kTexts) {
        writer.setAttrib("count", text);
        writer.setAttrib("PERMANENT", text);
        EXPECT_EQ(answers_of(writer), expected + ("2 2 | " + kItems) + "!-:,=14.5");
    }
}

TEST_F(Container, IsNotValidWithoutAttributesOrIdentities) {
    const std::string nothing = "!  =14.5 -1 0 | !-:,=14.5";
    const std::tuple<DBFieldDesc*, bool, std::string> kContainers[] = {
        {fields, false, nothing},
        {fields + 1, true, "permanent  =14.5 1 2 | clip-1:clip-1,=14.5 | clip-2:clip-2,=14.5 | !-:,=14.5"},
        {fields + 2, true, "!  =14.5 -1 1 | !-:,=14.5 | !-:,=14.5 | !-:,=14.5"},  // of each item the empty identity
        {fields + 3, true, nothing},
    };
    for (const auto& [first, permanent, expected] : kContainers) {
        Writer container(first);
        if (permanent) container.setPermanent(true);
        for (const char* const id : {"clip-1", "clip-2"}) EXPECT_TRUE(container.addItem(Cookie(id, true)).valid());
        EXPECT_EQ(answers_of(container), expected);
    }
    for (const std::string& name : {folder.path("missing"), folder.path(), std::string()})
        EXPECT_EQ(answers(Reader(wide(name), false)), nothing);
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
