#include "keldb/fieldmap/field_map.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>
#include <unordered_set>

#include "keldb/fieldmap/map_text.h"
#include "keldb/support/ascii.h"
#include "keldb/support/conversions.h"
#include "keldb/table/keldb.h"

FieldMap::FieldMap(keldb& table) { setSourceDb(ODBView(&table)); }

namespace {

std::string folded_name(std::string_view name) {
    std::string text(name);
    std::transform(text.begin(), text.end(), text.begin(), kel::to_lower);
    return text;
}

}  // namespace

// Appends many names as `append` does one; a wide table has tens of thousands.
class FieldMap::Appender {
public:
    explicit Appender(FieldMap& map) : map_(map) {
        for (const Entry& entry : map_.entries_) known_.insert(folded_name(entry.name));
    }
    void append(const char* name, bool visible) {
        const bool full = map_.size() == std::numeric_limits<unsigned short>::max();
        if (!full && known_.insert(folded_name(name)).second) map_.entries_.push_back({name, visible});
    }

private:
    FieldMap& map_;
    std::unordered_set<std::string> known_;
};

void FieldMap::setSourceDb(const ODBView& view) {
    FieldMap map(*this);
    map.source_ = view;
    if (view) map.read_source();
    *this = std::move(map);
}

void FieldMap::read_source() {
    Appender appender(*this);
    const char* stored = source_->get_param_val(kParameter);
    for (const int number : kel::read_map(stored ? stored : ""))
        appender.append(field_name(static_cast<unsigned>(std::abs(number) - 1)), number > 0);
    if (!entries_.empty()) return;
    for (unsigned i = 0; i < source_->get_num_fields(); ++i) appender.append(field_name(i), true);
}

// Never null: a source that is detached has no fields.
const char* FieldMap::field_name(unsigned field) const {
    const char* name = source_->get_fieldname(field);
    return name ? name : "";
}

String FieldMap::asString() const {
    String text;
    for (int i = 0; i < size(); ++i) {
        if (i > 0) text += ' ';
        if (!at(i).visible) text += '-';
        text += (source_ ? source_->get_fieldnum(at(i).name) : i) + 1;
    }
    return text;
}

void FieldMap::append(const String& name, bool visible) {
    if (containsField(name) || size() == std::numeric_limits<unsigned short>::max()) return;
    entries_.push_back({name, visible});
}

bool FieldMap::remove(const String& name) {
    const int position = getFieldIdx(name);
    if (position < 0) return false;
    entries_.erase(entries_.begin() + position);
    return true;
}

int FieldMap::getFieldIdx(const String& name) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry& entry) { return kel::equal_ignoring_case(entry.name, name); });
    return found == entries_.end() ? -1 : static_cast<int>(found - entries_.begin());
}

String FieldMap::getName(int position) const { return holds(position) ? at(position).name : String(); }

void FieldMap::setName(int position, const String& name) {
    if (holds(position)) at(position).name = name;
}

void FieldMap::set(int position, const String& name, bool visible) {
    if (holds(position)) at(position) = {name, visible};
}

bool FieldMap::isVisible(int position) const { return holds(position) && at(position).visible; }

void FieldMap::setVisible(int position, bool visible) {
    if (holds(position)) at(position).visible = visible;
}

void FieldMap::invertVisible(int position) {
    if (holds(position)) at(position).visible = !at(position).visible;
}

int FieldMap::numVisible() const {
    return static_cast<int>(std::count_if(entries_.begin(), entries_.end(), [](const Entry& e) { return e.visible; }));
}

void FieldMap::swap(int a, int b) {
    if (holds(a) && holds(b)) std::swap(at(a), at(b));
}

int FieldMap::getVisibleFieldIndex(int k) const {
    if (!source_ || k < 0) return -1;
    for (const Entry& entry : entries_) {
        if (entry.visible && k-- == 0) return source_->get_fieldnum(entry.name);
    }
    return -1;
}
