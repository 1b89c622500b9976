// Messages of one kind, of which there may be thousands: the first ones are told, the others counted at the end.
#ifndef KELDB_TOOLS_LIMITED_LIST_H
#define KELDB_TOOLS_LIMITED_LIST_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "messages.h"

namespace tool {

class LimitedList {
public:
    explicit LimitedList(std::string name) : name_(std::move(name)) {}
    ~LimitedList() {
        if (size_ > kMost) tool::tell("{}: {} of this kind", name_, counted(size_ - kMost, "further message"));
    }
    LimitedList(const LimitedList&) = delete;
    LimitedList& operator=(const LimitedList&) = delete;

    void tell(std::string_view line) {
        if (size_++ < kMost) tool::tell_line(line);
    }
    std::size_t size() const { return size_; }

private:
    static constexpr std::size_t kMost = 20;

    std::string name_;
    std::size_t size_ = 0;
};

}  // namespace tool

#endif
