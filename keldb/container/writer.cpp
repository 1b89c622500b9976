// Writing containers.

#include <sys/stat.h>
#include <unistd.h>

#include "keldb/container/qv_container_file.h"
#include "keldb/support/conversions.h"
#include "keldb/support/log.h"
#include "keldb/support/paths.h"
#include "keldb/support/platform.h"

namespace QVContainerFile {
namespace {

void report(const char* what, const WString& path) {
    LogPrint("QVContainerFile::Writer::save: %s %s\n", toUTF8(path).c_str(), what);
}

// A link there would lead the new file elsewhere, perhaps to the very file that it replaces.
void take_away_link(const String& path) {
    char target;
    if (OS().readLink(path.c_str(), &target, 1) >= 0) OS().unlink(path.c_str());
}

bool is_regular_file(const String& path) {
    struct ::stat about {};
    return OS().stat(path.c_str(), &about) == 0 && S_ISREG(about.st_mode);
}

}  // namespace

void Writer::Item::setAttrib(unsigned index, const String& value) {
    if (record_ && index < record_->get_num_fields()) record_->set_field(static_cast<int>(index), value.view(), true);
}

void Writer::Item::setAttrib(unsigned index, int value) {
    if (record_ && index < record_->get_num_fields()) record_->set_field(static_cast<int>(index), value);
}

void Writer::Item::setAttrib(unsigned index, double value) {
    if (record_ && index < record_->get_num_fields()) record_->set_field(static_cast<int>(index), value);
}

Writer::Writer(DBFieldDesc* fields) : table_(fields), cookie_field_(table_.get_fieldnum("Cookie")) {}

Writer::Item Writer::addItem(const Cookie& id) {
    if (!id.valid()) return Item(nullptr);
    const auto row = static_cast<unsigned>(table_.add_records(1));
    dbrecord* record = table_.get_record(row);
    try {
        if (cookie_field_ >= 0) record->set_field(cookie_field_, id.asString(true).view(), true);
    } catch (...) {
        table_.delete_records(row, 1);  // needs no memory: nobody listens
        throw;
    }
    return Item(record);
}

void Writer::setAttrib(const String& name, const String& value) { table_.add_param(name.c_str(), value.c_str()); }

void Writer::setPermanent(bool permanent) { setAttrib("Permanent", BoolAsString(permanent)); }

void Writer::save(const WString& path) {
    if (fileExists(path)) return replace(path);
    table_.set_filename(path);
    if (!table_.saveWholeText(path)) report("is not written", path);
}

// The old file goes only once the new one stands complete beside it.
void Writer::replace(const WString& path) {
    const WString temporary = path + WString(L".tmp");
    const String bytes = toUTF8(path), temporary_bytes = toUTF8(temporary);
    if (!is_regular_file(bytes)) return report("is no regular file", path);
    if (OS().access(bytes.c_str(), W_OK) != 0) return report("may not be written", path);
    take_away_link(temporary_bytes);
    table_.set_filename(temporary);
    const bool in_the_way = fileExists(temporary) && !is_regular_file(temporary_bytes);
    if (in_the_way || !table_.saveWholeText(path)) return report("is not written", temporary);
    if (!OS().remove(path) || !OS().move(temporary, path, 0)) report("is not replaced", path);
}

}  // namespace QVContainerFile
