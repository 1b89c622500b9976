// A container file: a bin of clips with a name and a few attributes, written, changed in place, and read.
#include <cstdio>

#include "keldb/container/qv_container_file.h"

int main() {
    DBFieldDesc fields[] = {
        {"Cookie", DBFieldTypes::text}, {"Name", DBFieldTypes::text}, {"Size", DBFieldTypes::number}, {}};
    constexpr unsigned kName = 1, kSize = 2;
    const WString path = L"Interviews.rak";

    QVContainerFile::Writer bin(fields);
    bin.setName("Interviews");
    bin.setPermanent(true);
    bin.setAttrib("owner", "ed");
    QVContainerFile::Writer::Item first = bin.addItem(Cookie("clip-0017", true));
    first.setAttrib(kName, "Harbour master, take 2");
    first.setAttrib(kSize, 10);
    QVContainerFile::Writer::Item second = bin.addItem(Cookie("clip-0018", true));
    second.setAttrib(kName, "Harbour master, take 3");
    second.setAttrib(kSize, 2.5);
    bin.save(path);

    // The second save replaces the file: the new one stands complete beside it before the old one goes.
    first.setAttrib(kName, "Harbour master, take 2 (circled)");
    bin.save(path);

    const QVContainerFile::Reader reader(path, false);
    if (!reader.valid()) return 1;
    std::printf("%s (%s), %u items, owner %s\n", reader.getName().c_str(),
                reader.isPermanent() ? "permanent" : "not permanent", reader.getNumItems(),
                reader.getAttrib("owner").c_str());
    for (unsigned i = 0; i < reader.getNumItems(); ++i) {
        const QVContainerFile::Reader::Item item = reader.getItem(i);
        std::printf("  %s  %-34s %g\n", item.getCookie().text().c_str(), item.getAttrib(kName).c_str(),
                    item.getAttrib(kSize, 0.0));
    }
    std::printf("its own identity: %s\n", QVContainerFile::getCookieFromFilename(path).text().c_str());
    return reader.getNumItems() == 2 && reader.contains(Cookie("clip-0018", true)) ? 0 : 1;
}
