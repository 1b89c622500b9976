// What a record needs its table for: marking it changed, and handing labels to a configuration block.

#include <array>

#include "keldb/fields/dbrecord.h"
#include "keldb/library/startup_settings.h"
#include "keldb/support/ascii.h"
#include "keldb/support/config_block.h"
#include "keldb/table/keldb.h"

namespace {

struct Label {
    std::string_view field;
    const char* key;
};

constexpr std::array<Label, 11> kLabels = {{
    {"notes", "notes"},
    {"who", "who"},
    {"scene", "scene"},
    {"description", "description"},
    {"shot", "shot"},
    {"reel", "reelid"},
    {"snd reel", "reelid1"},
    {"24P reel", "24P_reel"},
    {"cam reel", "camreel"},
    {"comp reel", "comp_reel"},
    {"lab reel", "lab_reel"},
}};
constexpr std::size_t kLabelsUpToReel = 6;

const char* key_of_label(std::string_view field) {
    const std::size_t count = kel::dbv_reel_field_editable != 0 ? kLabels.size() : kLabelsUpToReel;
    for (std::size_t i = 0; i < count; ++i) {
        if (kel::equal_ignoring_case(field, kLabels[i].field)) return kLabels[i].key;
    }
    return nullptr;
}

void store(configb& block, const char* key, std::string_view text) {
    strp_field field;
    field.set(String(text));
    block.set(key, field);
}

}  // namespace

void dbrecord::note_change() {
    changed_ = 1;
    if (container_) container_->note_record_change();
}

void dbrecord::note_quiet_write() noexcept {
    if (container_) container_->note_quiet_write();
}

int dbrecord::update(configb* block) const {
    const int name = block && container_ ? container_->get_fieldnum("name") : -1;
    if (name < 0) return 0;
    store(*block, "slate/take", field_text(static_cast<unsigned>(name)));
    store(*block, "name", field_text(static_cast<unsigned>(name)));
    int stored = 0;
    for (unsigned short i = 0; i < get_num_fields(); ++i) {
        const char* key = key_of_label(container_->get_fieldname(i));
        if (!key) continue;
        store(*block, key, field_text(i));
        ++stored;
    }
    return stored;
}
