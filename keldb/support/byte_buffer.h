// A run of bytes that grows at its end. Room it makes is not cleared first, so bytes can be formed in place.
#ifndef KELDB_SUPPORT_BYTE_BUFFER_H
#define KELDB_SUPPORT_BYTE_BUFFER_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace kel {

class ByteBuffer {
public:
    ByteBuffer() noexcept = default;
    ByteBuffer(ByteBuffer&& other) noexcept { swap(other); }
    ByteBuffer& operator=(ByteBuffer&& other) noexcept {
        ByteBuffer(std::move(other)).swap(*this);
        return *this;
    }
    void swap(ByteBuffer& other) noexcept {
        std::swap(bytes_, other.bytes_);
        std::swap(size_, other.size_);
        std::swap(room_, other.room_);
    }

    char* data() noexcept { return bytes_.get(); }
    std::size_t size() const noexcept { return size_; }
    std::string_view view() const noexcept { return {bytes_.get(), size_}; }

    // Where the next bytes go: at least `bytes` of room behind the last one. They count once `take` says so. When
    // memory is out, std::bad_alloc is raised and nothing has changed.
    char* room(std::size_t bytes) {
        if (bytes > room_ - size_) bytes_ = grown(bytes);
        return bytes_.get() + size_;
    }
    void take(std::size_t bytes) noexcept { size_ += bytes; }

    // The text may lie in this very buffer. Strong, as above.
    void append(std::string_view text) {
        std::unique_ptr<char[]> before;  // freed once the text is copied
        if (text.size() > room_ - size_) before = std::exchange(bytes_, grown(text.size()));
        if (!text.empty()) std::memcpy(bytes_.get() + size_, text.data(), text.size());
        size_ += text.size();
    }

    void clear() noexcept { size_ = 0; }  // keeps the room
    void truncate(std::size_t size) noexcept { size_ = std::min(size, size_); }

private:
    // A larger copy, whose room is counted as this buffer's from here on.
    std::unique_ptr<char[]> grown(std::size_t more) {
        if (more > static_cast<std::size_t>(-1) / 4 || size_ > static_cast<std::size_t>(-1) / 4) throw std::bad_alloc();
        const std::size_t room = std::max(size_ + more, 2 * room_);
        std::unique_ptr<char[]> larger = std::make_unique_for_overwrite<char[]>(room);
        if (size_ != 0) std::memcpy(larger.get(), bytes_.get(), size_);
        room_ = room;
        return larger;
    }

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
    std::size_t room_ = 0;
};

}  // namespace kel

#endif
