// Objects that count their holders, the pointer that holds them, and the root of the suite's interfaces.
//
// Qv::Ptr<T> holds one count on an object derived from Qv::InternalRefCount; the object is destroyed with its last
// holder. So only what was made with new may be given to a Ptr. An object on the stack or held by value has no holders;
// a Ptr to it would delete it.
#ifndef KELDB_SUPPORT_REFCOUNT_H
#define KELDB_SUPPORT_REFCOUNT_H

#include <utility>

#include "keldb/support/export.h"
#include "keldb/support/platform.h"

namespace Qv {

// A copy starts with no holders of its own; assignment leaves both counts alone.
class KELDB_API InternalRefCount {
public:
    InternalRefCount() noexcept = default;
    InternalRefCount(const InternalRefCount&) noexcept {}
    InternalRefCount& operator=(const InternalRefCount&) noexcept { return *this; }
    virtual ~InternalRefCount();

    void hold() const noexcept { PlatformService::addHolder(holders_); }
    void release() const noexcept {
        if (PlatformService::releaseHolder(holders_)) delete this;
    }
    int holders() const noexcept { return holders_; }

private:
    mutable int holders_ = 0;
};

template <class T>
class Ptr {
public:
    Ptr() noexcept = default;
    Ptr(std::nullptr_t) noexcept {}
    explicit Ptr(T* object) noexcept : object_(object) {
        if (object_) object_->hold();
    }
    Ptr(const Ptr& other) noexcept : Ptr(other.object_) {}
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    Ptr(const Ptr<U>& other) noexcept : Ptr(other.get()) {}
    ~Ptr() {
        if (object_) object_->release();
    }
    Ptr& operator=(Ptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    T* get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    friend bool operator==(const Ptr&, const Ptr&) = default;

private:
    T* object_ = nullptr;
};

}  // namespace Qv

class KELDB_API iVirtual {
public:
    iVirtual() = default;
    iVirtual(const iVirtual&) = default;
    iVirtual& operator=(const iVirtual&) = default;
    virtual ~iVirtual();
};

// The root of every interface of the suite.
class KELDB_API iObject : public virtual Qv::InternalRefCount, public virtual iVirtual {
public:
    iObject() = default;
    iObject(const iObject&) = default;
    iObject& operator=(const iObject&) = default;
    ~iObject() override;
};

#endif
