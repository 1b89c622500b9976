// What an announcer says, as one line of text; whatever nobody took by the end is a failure.
//
//     -2,3    "recordsDeleted" with the text "2 3 "        !     "recordsChanged" without payload
//     ?x      another text                                 !a,b  the same with the identifiers a and b
#ifndef KELDB_TESTS_TESTING_ANNOUNCEMENTS_H
#define KELDB_TESTS_TESTING_ANNOUNCEMENTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "keldb/support/cookie.h"
#include "keldb/support/notify.h"
#include "keldb/table/deletion.h"

namespace testing_kit {

class Announcements {
public:
    explicit Announcements(Notifier& announcer) : announcer_(announcer) {
        listen(&Announcements::deleted, kel::records_deleted_type(), guards_[0]);
        listen(&Announcements::changed, kel::records_changed_type(), guards_[1]);
    }
    ~Announcements() {
        for (const auto& guard : guards_) announcer_.deregisterNotification(guard);
        EXPECT_EQ(heard_, "") << "announced, and not expected";
    }
    Announcements(const Announcements&) = delete;
    Announcements& operator=(const Announcements&) = delete;

    std::string take() { return std::exchange(heard_, {}); }

private:
    using Method = int (Announcements::*)(const NotifyMsg&);
    void listen(Method method, int type, Qv::Ptr<Qv::Guard>& guard) {
        const Qv::Ptr<NotifyCallback> callback(new MethodCallback<Announcements, NotifyMsg, int>(this, method));
        guard = announcer_.registerNotification(callback, type);
    }
    int add(const std::string& text) {
        heard_ += (heard_.empty() ? "" : " ") + text;
        return 0;
    }
    int deleted(const NotifyMsg& message) {
        std::string text(message.text().view());
        const bool usual =
            text.ends_with(' ') && text.find_first_not_of("0123456789 ") == std::string::npos && !message.payload();
        if (!usual) return add("?" + text);
        text.pop_back();
        std::replace(text.begin(), text.end(), ' ', ',');
        return add("-" + text);
    }
    int changed(const NotifyMsg& message) {
        std::string text = "!" + std::string(message.text().view());
        const auto* const ids = dynamic_cast<const WrappedData<CookieVec>*>(message.payload().get());
        for (std::size_t i = 0; ids && i < ids->data().size(); ++i) {
            text += (i == 0 ? "" : ",") + std::string(ids->data()[i].text().view());
        }
        return add(text);
    }

    Notifier& announcer_;
    Qv::Ptr<Qv::Guard> guards_[2];
    std::string heard_;
};

}  // namespace testing_kit

#endif
