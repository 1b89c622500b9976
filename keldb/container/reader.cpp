// Reading containers.

#include <limits>

#include "keldb/container/qv_container_file.h"
#include "keldb/support/ascii.h"
#include "keldb/support/conversions.h"
#include "keldb/support/paths.h"

namespace QVContainerFile {

String Reader::Item::getAttrib(unsigned index) const { return record_ ? String(record_->field_text(index)) : String(); }

int Reader::Item::getAttrib(unsigned index, int fallback) const {
    if (!record_ || index >= record_->get_num_fields()) return fallback;
    return kel::read_int(record_->field_text(index));
}

double Reader::Item::getAttrib(unsigned index, double fallback) const {
    if (!record_ || index >= record_->get_num_fields()) return fallback;
    return kel::read_double(record_->field_text(index));
}

Reader::Reader(const WString& path, bool headerOnly)
    : table_(path, headerOnly ? 0 : std::numeric_limits<int>::max(), true), id_(stripPathAndExt(path), false) {}

bool Reader::valid() const { return table_.get_valid() != 0 && cookie_field() >= 0; }

Reader::Item Reader::getItem(unsigned i) const {
    dbrecord* record = valid() ? table_.get_record(i) : nullptr;
    if (!record) return Item(Cookie(), nullptr);
    return Item(Cookie(String(record->field_text(static_cast<unsigned>(cookie_field()))), true), record);
}

bool Reader::contains(const Cookie& id) const {
    const int field = cookie_field();
    for (unsigned i = 0; field >= 0 && i < getNumItems(); ++i) {
        const Cookie held(String(table_.get_record(i)->field_text(static_cast<unsigned>(field))), false);
        if (held.compare(id) == 0) return true;
    }
    return false;
}

CookieSet Reader::getContents() const {
    CookieSet contents;
    for (unsigned i = 0; i < getNumItems(); ++i) contents.add(getItem(i).getCookie());
    return contents;
}

int Reader::getItemAttribIndex(const char* name) const { return valid() ? table_.get_fieldnum(name) : -1; }

String Reader::getAttrib(const String& name) const {
    return valid() ? String(table_.get_param_val(name.c_str())) : String();
}

int Reader::getAttrib(const String& name, int fallback) const {
    const String text = getAttrib(name);
    return text.empty() ? fallback : kel::read_int(text);
}

double Reader::getAttrib(const String& name, double fallback) const {
    const String text = getAttrib(name);
    return text.empty() ? fallback : kel::read_double(text);
}

bool Reader::isPermanent() const {
    bool permanent = false;
    return BoolFromString(getAttrib("Permanent"), permanent) && permanent;
}

Cookie getCookieFromFilename(const WString& path) {
    Cookie base(stripPathAndExt(path), false);
    const String bytes = toUTF8(path);
    if (kel::ends_ignoring_case(bytes, "sg")) return convertCookie(base, 'M', 255);
    if (kel::ends_ignoring_case(bytes, "rak")) return convertCookie(base, 'B', 255);
    return base;
}

}  // namespace QVContainerFile
