#include "keldb/support/notify.h"

#include <algorithm>
#include <mutex>

// Made on first use and never destroyed: announcers that live in static objects may still ask at the very end.
NotifyMsgTypeDictionary& NotifyMsgTypeDictionary::instance() {
    static NotifyMsgTypeDictionary* const dictionary = new NotifyMsgTypeDictionary;
    return *dictionary;
}

int NotifyMsgTypeDictionary::intern(const String& name) {
    static constinit std::mutex lock;
    const std::lock_guard guard(lock);
    auto found = std::find(names_.begin(), names_.end(), name);
    if (found == names_.end()) {
        names_.push_back(name);
        found = names_.end() - 1;
    }
    return static_cast<int>(found - names_.begin()) + 1;
}

NotifyMsgTokenIterator::NotifyMsgTokenIterator(const NotifyMsg& message) : rest_(message.text()) { ++*this; }

NotifyMsgTokenIterator& NotifyMsgTokenIterator::operator++() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
    const std::size_t length = std::min(rest_.find(' '), rest_.size());
    token_ = String(rest_.substr(0, length));
    rest_.remove_prefix(length);
    return *this;
}

// Counts a call in progress; the last one to end, also by an exception, takes away what was deregistered meanwhile.
struct NotifierBase::Delivery {
    explicit Delivery(NotifierBase& notifier) noexcept : notifier_(notifier) { ++notifier_.deliveries_; }
    ~Delivery() {
        if (--notifier_.deliveries_ == 0) {
            std::erase_if(notifier_.registrations_, [](const Registration& r) { return !r.guard; });
        }
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    NotifierBase& notifier_;
};

NotifierBase::NotifierBase() noexcept = default;

NotifierBase::~NotifierBase() {
    const std::vector<Registration> ending = std::move(registrations_);
    registrations_.clear();
    for (const Registration& r : ending) {
        if (r.guard) {
            r.guard->registered_ = false;
        }
    }
}

// During a delivery the entry stays in its place, empty. The callback is let go at the very end, when the list is in
// order again: its destructor may do anything.
void NotifierBase::deregisterNotification(const Qv::Ptr<Qv::Guard>& guard) noexcept {
    const auto found = std::find_if(registrations_.begin(), registrations_.end(),
                                    [&](const Registration& r) { return guard && r.guard == guard; });
    if (found == registrations_.end()) {
        return;
    }
    const Registration ended = std::move(*found);
    ended.guard->registered_ = false;
    if (deliveries_ == 0) {
        registrations_.erase(found);
    }
}

bool NotifierBase::hasListeners(int type) const noexcept {
    return std::any_of(registrations_.begin(), registrations_.end(),
                       [&](const Registration& r) { return r.guard && r.type == type; });
}

Qv::Ptr<Qv::Guard> NotifierBase::add(const Qv::Ptr<NotifyCallback>& callback, int type) {
    if (!callback) {
        return nullptr;
    }
    Qv::Ptr<Qv::Guard> guard(new Qv::Guard);
    registrations_.push_back({type, callback, guard});
    return guard;
}

std::vector<Qv::Ptr<NotifyCallback>> NotifierBase::callbacks(int type) const {
    std::vector<Qv::Ptr<NotifyCallback>> found;
    for (const Registration& r : registrations_) {
        if (r.guard && r.type == type) found.push_back(r.callback);
    }
    return found;
}

void NotifierBase::tell_each(int type, Teller& teller) {
    const Delivery running(*this);
    const std::size_t count = registrations_.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (registrations_[i].guard && registrations_[i].type == type) {
            const Qv::Ptr<NotifyCallback> called = registrations_[i].callback;
            teller.tell(*called);
        }
    }
}

void NotifierBase::deliver(const NotifyMsg& message, int type) {
    struct : Teller {
        const NotifyMsg* message = nullptr;
        void tell(NotifyCallback& callback) override { callback.call(*message); }
    } teller;
    teller.message = &message;
    tell_each(type, teller);
}
