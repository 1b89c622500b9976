// A small clip log that is made, edited in one batch, saved and read back. Editors that change many clips at once do it
// in an update bracket: whoever listens hears of all of them in one "recordsChanged" when the outermost bracket closes.
#include <cstdio>
#include <limits>

#include "keldb/table/keldb.h"
#include "same_records.h"

namespace {

// Prints the identifiers that an announcement of changed records carries, and counts announcements and identifiers.
class ChangeListener {
public:
    explicit ChangeListener(keldb& log) : log_(log) {
        const Qv::Ptr<NotifyCallback> callback(
            new MethodCallback<ChangeListener, NotifyMsg, int>(this, &ChangeListener::on_changed));
        guard_ = log_.registerNotification(callback, NotifyMsgTypeDictionary::instance().intern("recordsChanged"));
    }
    ~ChangeListener() { log_.deregisterNotification(guard_); }
    ChangeListener(const ChangeListener&) = delete;
    ChangeListener& operator=(const ChangeListener&) = delete;

    int announcements = 0;
    std::size_t clips = 0;

private:
    int on_changed(const NotifyMsg& message) {
        ++announcements;
        const auto* changed = dynamic_cast<const WrappedData<CookieVec>*>(message.payload().get());
        if (!changed) return 0;
        clips += changed->data().size();
        std::printf("changed:");
        for (std::size_t i = 0; i < changed->data().size(); ++i) std::printf(" %s", changed->data()[i].text().c_str());
        std::printf("\n");
        return 0;
    }

    keldb& log_;
    Qv::Ptr<Qv::Guard> guard_;
};

enum Field : unsigned { kCookie, kName, kStart, kNotes };

void add_clip(keldb& log, const char* id, const char* name, const char* start) {
    const auto row = static_cast<unsigned>(log.add_records(1));
    log.set_field(row, kCookie, id);
    log.set_field(row, kName, name);
    log.set_field(row, kStart, start);
}

}  // namespace

int main() {
    const DBFieldDesc fields[] = {{"Cookie", DBFieldTypes::text},
                                  {"Name", DBFieldTypes::text},
                                  {"Start time", DBFieldTypes::timecode},
                                  {"Notes", DBFieldTypes::text},
                                  {}};
    keldb log(fields);
    log.add_param("production", "The Last Ferry");
    add_clip(log, "V000101", "Harbour wide", "01:00:00:00");
    add_clip(log, "V000102", "Gangway, crew", "01:00:45:12");
    add_clip(log, "V000103", "Drone, island", "01:00:00;00");

    const ChangeListener listener(log);
    log.beginUpdate();
    for (const unsigned row : {0U, 2U}) {
        log.set_field(row, kNotes, "Ines: \"Use this one\",\nthen the wide");
        log.addToUpdate(Cookie(log.getField(row, kCookie), false));
    }
    std::printf("edited, nothing announced yet: %d\n", listener.announcements);
    log.endUpdate();

    log.set_filename(L"edit_log.keldb");
    if (!log.saveWholeText(WString())) return 1;
    const keldb again(L"edit_log.keldb", std::numeric_limits<int>::max(), true);
    const bool equal = same_records(log, again);
    std::printf("%u clips saved, read back %s\n", again.get_num_records(), equal ? "equal" : "DIFFERENT");
    return equal && listener.announcements == 1 && listener.clips == 2 ? 0 : 1;
}
