// Notifications: who announces changes, who listens, and what a message carries.
//
// Delivery. GenericNotifier::call delivers at once, on the caller's thread, in the order of registration, and returns
// when every listener has heard the message; a call made by a listener is delivered, whole, before the outer one goes
// on (depth first). A listener may read and edit anything but destroy the announcer, and may register and deregister
// any guard, its own included: one that was deregistered hears nothing more, one that was added hears the next message.
// Copying or assigning an announcer never copies its listeners. A callback lives as long as its guard is registered,
// and through a call that it is in the middle of.
//
// Messages are known by integer type ids; NotifyMsgTypeDictionary gives one id per name.
#ifndef KELDB_SUPPORT_NOTIFY_H
#define KELDB_SUPPORT_NOTIFY_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/refcount.h"
#include "keldb/support/string.h"

class NotifierBase;
class NotifyMsg;

class KELDB_API NotifyMsgTypeDictionary {
public:
    static NotifyMsgTypeDictionary& instance();
    int intern(const String& name);  // the id of the name, above 0; the same for every call with that name

private:
    std::vector<String> names_;  // id - 1 is the index
};

// A text and a payload, either of which may be absent.
class KELDB_API NotifyMsg {
public:
    NotifyMsg(String text, Qv::Ptr<iObject> payload) : text_(std::move(text)), payload_(std::move(payload)) {}
    explicit NotifyMsg(Qv::Ptr<iObject> payload) : payload_(std::move(payload)) {}
    const String& text() const noexcept { return text_; }
    const Qv::Ptr<iObject>& payload() const noexcept { return payload_; }

private:
    String text_;
    Qv::Ptr<iObject> payload_;
};

// Walks the blank-separated tokens of a message's text, which must outlive it.
class KELDB_API NotifyMsgTokenIterator {
public:
    explicit NotifyMsgTokenIterator(const NotifyMsg& message);
    const char* operator*() const noexcept { return token_.empty() ? nullptr : token_.c_str(); }  // null after the last
    NotifyMsgTokenIterator& operator++();

private:
    std::string_view rest_;
    String token_;
};

// The payload of "recordsChanged": a counted object that holds a copy of some data.
template <class T>
class WrappedData : public iObject {
public:
    explicit WrappedData(const T& data) : data_(data) {}
    const T& data() const noexcept { return data_; }

private:
    T data_;
};

template <class Result, class Message>
class iCallbackBase : public iObject {
public:
    virtual Result call(const Message& message) = 0;
};

// A callback bound to a member function of an object that outlives its registration.
template <class Object, class Message, class Result>
class MethodCallback : public iCallbackBase<Result, Message> {
public:
    using Method = Result (Object::*)(const Message&);
    MethodCallback(Object* object, Method method) : object_(object), method_(method) {}
    Result call(const Message& message) override { return (object_->*method_)(message); }

private:
    Object* object_;
    Method method_;
};

namespace Qv {
// A listener's hold on its registration.
class KELDB_API Guard : public iObject {
public:
    bool registered() const noexcept { return registered_; }

private:
    friend class ::NotifierBase;
    bool registered_ = true;
};
}  // namespace Qv

using NotifyCallback = iCallbackBase<int, NotifyMsg>;

// The registrations of one announcer.
class KELDB_API NotifierBase {
public:
    NotifierBase() noexcept;
    NotifierBase(const NotifierBase&) noexcept : NotifierBase() {}
    NotifierBase& operator=(const NotifierBase&) noexcept { return *this; }
    virtual ~NotifierBase();

    // Ends the registration; a null guard, or one that is not registered here, changes nothing.
    void deregisterNotification(const Qv::Ptr<Qv::Guard>& guard) noexcept;
    bool hasListeners(int type) const noexcept;

    // The callbacks registered for a type, in the order of registration.
    std::vector<Qv::Ptr<NotifyCallback>> callbacks(int type) const;

    // For announcers that tell some listeners in a way of their own: `tell` is called with each callback, under the
    // rules of a delivery.
    class Teller {
    public:
        virtual void tell(NotifyCallback& callback) = 0;

    protected:
        ~Teller() = default;
    };
    void tell_each(int type, Teller& teller);

protected:
    Qv::Ptr<Qv::Guard> add(const Qv::Ptr<NotifyCallback>& callback, int type);
    void deliver(const NotifyMsg& message, int type);

private:
    struct Registration {
        int type;
        Qv::Ptr<NotifyCallback> callback;
        Qv::Ptr<Qv::Guard> guard;  // null once deregistered during a delivery; swept when the last delivery ends
    };
    struct Delivery;  // one call in progress

    std::vector<Registration> registrations_;
    int deliveries_ = 0;  // calls in progress
};

template <class Message>
class GenericNotifier : public NotifierBase {
public:
    // Delivers the message to every callback registered for the type.
    void call(const Message& message, int type) { deliver(message, type); }
    // Registers the callback; it listens until its guard is deregistered or the announcer is destroyed. A null callback
    // registers nothing and gives a null guard.
    Qv::Ptr<Qv::Guard> registerNotification(const Qv::Ptr<iCallbackBase<int, Message>>& callback, int type) {
        return add(callback, type);
    }
};

// The base of every class that announces changes.
class KELDB_API Notifier : public GenericNotifier<NotifyMsg> {};

#endif
