// What an announcer says, as one line of text; whatever nobody took by the end is a failure.
//
//     -2,3    "recordsDeleted" with the text "2 3 "        !     "recordsChanged" without payload
//     ?x      another text                                 !a,b  the same with the identifiers a and b
#ifndef KELDB_TESTS_TESTING_ANNOUNCEMENTS_H
#define KELDB_TESTS_TESTING_ANNOUNCEMENTS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "keldb/support/cookie.h"
#include "keldb/support/notify.h"
#include "keldb/table/deletion.h"

namespace testing_kit {

struct Callback : NotifyCallback {
    explicit Callback(std::function<void(const NotifyMsg&)> f) : act(std::move(f)) {}
    int call(const NotifyMsg& message) override { return act(message), 0; }
    std::function<void(const NotifyMsg&)> act;
};

inline Qv::Ptr<Qv::Guard> listen(Notifier& announcer, int type, std::function<void(const NotifyMsg&)> act) {
    return announcer.registerNotification(Qv::Ptr<NotifyCallback>(new Callback(std::move(act))), type);
}

class Announcements {
public:
    explicit Announcements(Notifier& announcer) : announcer_(announcer) {
        guards_[0] = listen(announcer, kel::records_deleted_type(), [this](const auto& message) {
            std::string text(message.text().view());
            const bool usual = text.ends_with(' ') && !message.payload();
            if (usual) text.pop_back(), std::replace(text.begin(), text.end(), ' ', ',');
            heard_ += (heard_.empty() ? "" : " ") + ((usual ? "-" : "?") + text);
        });
        guards_[1] = listen(announcer, kel::records_changed_type(), [this](const auto& message) {
            heard_ += (heard_.empty() ? "!" : " !") + std::string(message.text().view());
            const auto* const ids = dynamic_cast<const WrappedData<CookieVec>*>(message.payload().get());
            for (std::size_t i = 0; ids && i < ids->data().size(); ++i)
                heard_ += (i == 0 ? "" : ",") + std::string(ids->data()[i].text().view());
        });
    }
    ~Announcements() {
        for (const auto& guard : guards_) announcer_.deregisterNotification(guard);
        EXPECT_EQ(heard_, "") << "announced, and not expected";
    }
    Announcements(const Announcements&) = delete;
    Announcements& operator=(const Announcements&) = delete;

    std::string take() { return std::exchange(heard_, {}); }

private:
    Notifier& announcer_;
    Qv::Ptr<Qv::Guard> guards_[2];
    std::string heard_;
};

}  // namespace testing_kit

#endif
