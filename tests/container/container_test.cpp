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

DBFieldDesc fields[4] = {
    {"Name", DBFieldTypes::text}, {"COOKIE", DBFieldTypes::text}, {"Size", DBFieldTypes::number}, {}};

void set_each_way(Writer::Item item, unsigned index) {
    item.setAttrib(index, "x"), item.setAttrib(index, 1), item.setAttrib(index, 1.5);
}

TEST(Container, ReadsBackWhatItWrites) {
    const TempDir folder;
    const std::string path = folder.path("Clips.v2.rak");
    Writer writer(fields);
    writer.setName("Reels");
    writer.setPermanent(false);
    writer.setName("Clips");
    Writer::Item one = writer.addItem(Cookie("clip-1", true));
    one.setAttrib(kName, " \t\none");
    one.setAttrib(kSize, 10);
    writer.addItem(Cookie("clip-2", true)).setAttrib(kSize, 2.5);
    for (int again = 0; again < 2; ++again) {  // over a file
        writer.save(wide(path));
        EXPECT_EQ(file_bytes(path), kFile);
    }
    const Reader reader(wide(path), false), header(wide(path), true);
    EXPECT_EQ(answers(reader), "Clips =14.5 2 2 | clip-1:one,10=20 | clip-2:,2.50000000=4.5 | !-:,=14.5");
    EXPECT_EQ(answers(header), "Clips =14.5 2 0 | !-:,=14.5");
    EXPECT_TRUE(reader.getCookie().text() == "Clips.v2" && header.getNameW() == L"Clips");
    EXPECT_EQ(reader.getItemAttribIndex("take") + reader.getItemAttribIndex(nullptr), -2);
    EXPECT_TRUE(reader.getContents().contains(Cookie("clip-2", true)) && !reader.contains(Cookie("CLIP-2", true)));
}

TEST(Container, AnswersAsItsAttributesAndIdentitiesSay) {
    const std::string nothing = "!  =14.5 -1 0 | !-:,=14.5", items = "2 2 | M1:,=0 | Interview 1:,=0 | ";
    const std::tuple<DBFieldDesc*, const char*, std::string, std::string> kContainers[] = {
        // the fields from there on, two attributes of its own with that text, the identities; the answers
        {fields, "2.5a", "M1,Interview 1", " 2.5a=4.5 " + items + "!-:,=14.5"},
        {fields, "", "M1,Interview 1", " =14.5 " + items + "!-:,=14.5"},
        {fields, "abc", "I17,M1,Interview 1", " abc=0 " + items + "!-:,=14.5"},  // an invalid identity: no item
        // Repeated identities are not looked for.
        {fields, "1", "M1,Interview 1,M1", "permanent  1=2 2 2 | M1:,=0 | Interview 1:,=0 | M1:,=0 | !-:,=14.5"},
        {fields, nullptr, "M1", nothing},
        {fields + 1, "1", "M1,M2", "permanent  1=2 1 2 | M1:M1,=14.5 | M2:M2,=14.5 | !-:,=14.5"},
        {fields + 2, "1", "M1,M2", "!  =14.5 -1 1 | !-:,=14.5 | !-:,=14.5 | !-:,=14.5"},  // each time the empty one
        {fields + 3, nullptr, "M1,M2", nothing},
    };
    const Logged log;
    const TempDir folder;
    for (const auto& [first, text, ids, expected] : kContainers) {
        Writer writer(first);
        if (text) writer.setAttrib("count", text), writer.setAttrib("PERMANENT", text);
        for (const std::string& id : pieces(ids, ',')) {
            const Writer::Item item = writer.addItem(Cookie(String(id), true));
            EXPECT_EQ(item.valid(), id != "I17");
            if (!item.valid()) set_each_way(item, kName);
            for (const unsigned outside : kOutside) set_each_way(item, outside);
        }
        writer.save(wide(folder.path("box")));
        EXPECT_EQ(answers(Reader(wide(folder.path("box")), false)), expected);
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
