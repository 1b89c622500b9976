// String: the 8-bit text value of the suite, 16 bytes small.
//
// Texts of up to 15 bytes lie inside the object; longer ones are shared between copies and counted. A String knows its
// length, so zero bytes inside it are kept; a zero byte always follows the last one, so c_str() serves C interfaces
// (which see the text up to the first zero byte). An empty value reads as "". Comparisons are by unsigned byte values.
//
// The count of a shared text is changed atomically only once the process has a second thread. One String object is used
// from one thread at a time. Allocation failure raises Qv::Exception::BadAlloc.
#ifndef KELDB_SUPPORT_STRING_H
#define KELDB_SUPPORT_STRING_H

#include <cstddef>
#include <cstring>
#include <string_view>

#include "keldb/support/export.h"
#include "keldb/support/small_copy.h"

class KELDB_API String {
public:
    static constexpr std::size_t kInline = 15;  // bytes of text that need no allocation

    String() noexcept { set_inline_size(0); }
    String(const char* text) : String(text ? std::string_view(text) : std::string_view()) {}  // null reads as ""
    String(const char* text, std::size_t length) : String(std::string_view(text, length)) {}
    explicit String(std::string_view text) {
        if (text.size() <= kInline) {
            kel::copy_up_to_16(bytes_, text.data(), text.size());
            set_inline_size(text.size());
        } else {
            make_shared(text);
        }
    }
    String(const String& other) noexcept {
        std::memcpy(bytes_, other.bytes_, sizeof bytes_);
        if (is_shared()) hold();
    }
    String(String&& other) noexcept {
        std::memcpy(bytes_, other.bytes_, sizeof bytes_);
        other.set_inline_size(0);
    }
    ~String() {
        if (is_shared()) let_go();
    }
    String& operator=(const String& other) noexcept {
        String copy(other);
        swap(copy);
        return *this;
    }
    String& operator=(String&& other) noexcept {
        swap(other);
        return *this;
    }
    void swap(String& other) noexcept {
        char held[sizeof bytes_];
        std::memcpy(held, bytes_, sizeof bytes_);
        std::memcpy(bytes_, other.bytes_, sizeof bytes_);
        std::memcpy(other.bytes_, held, sizeof bytes_);
    }

    // The text as a String, quicker: `readable` bytes from its start may be read, its own at least. A short one is then
    // taken by a move of fixed size, without a branch on its length.
    static String copied(std::string_view text, std::size_t readable) {
        if (text.size() > kInline || readable < sizeof bytes_) return String(text);
        String copy;
        std::memcpy(copy.bytes_, text.data(), sizeof bytes_);
        copy.set_inline_size(text.size());
        return copy;
    }
    // Takes the text, which may lie in this String, into the memory that it has, where it fits there.
    void assign(std::string_view text);

    const char* c_str() const noexcept { return is_shared() ? shared()->text : bytes_; }
    std::size_t size() const noexcept {
        return is_shared() ? shared()->size : kInline - static_cast<unsigned char>(bytes_[kInline]);
    }
    bool empty() const noexcept { return size() == 0; }
    std::string_view view() const noexcept { return {c_str(), size()}; }
    operator std::string_view() const noexcept { return view(); }
    char operator[](std::size_t i) const noexcept { return c_str()[i]; }  // i up to size(), where it reads 0

    String& operator+=(std::string_view text);
    String& operator+=(const String& text) { return *this += text.view(); }
    String& operator+=(const char* text) {
        return text ? *this += std::string_view(text) : *this;
    }  // null adds nothing
    String& operator+=(char c) { return *this += std::string_view(&c, 1); }
    String& operator+=(int number);       // decimal text
    String& operator+=(unsigned number);  // decimal text

    friend bool operator==(const String& a, const String& b) noexcept { return a.view() == b.view(); }
    friend bool operator==(const String& a, const char* b) noexcept {  // null compares as ""
        return a.view() == (b ? std::string_view(b) : std::string_view());
    }
    friend bool operator==(const String& a, std::string_view b) noexcept { return a.view() == b; }
    friend auto operator<=>(const String& a, const String& b) noexcept { return a.view() <=> b.view(); }

private:
    struct Shared {
        int holders;
        unsigned spare;  // bytes of room behind the final zero byte, left by growth
        std::size_t size;
        char text[1];  // size + 1 bytes
    };
    static constexpr unsigned char kSharedMark = 0x80;

    bool is_shared() const noexcept { return static_cast<unsigned char>(bytes_[kInline]) == kSharedMark; }
    Shared* shared() const noexcept {
        Shared* held;
        std::memcpy(&held, bytes_, sizeof held);
        return held;
    }
    // The last byte holds the room left, so that it doubles as the final zero byte of a text of 15.
    void set_inline_size(std::size_t size) noexcept {
        bytes_[size] = 0;
        bytes_[kInline] = static_cast<char>(kInline - size);
    }
    void make_shared(std::string_view text);
    void point_to(Shared* text) noexcept;
    void append_in_place(std::string_view text) noexcept;
    void append_in_new_block(std::string_view text);
    bool holds_alone() const noexcept;
    void hold() noexcept;
    void let_go() noexcept;
    static Shared* allocate(std::size_t size, std::size_t spare);

    alignas(8) char bytes_[kInline + 1];
};
static_assert(sizeof(String) == 16);

KELDB_API String operator+(const String& a, std::string_view b);

#endif
