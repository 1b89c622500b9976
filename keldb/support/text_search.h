// TextSearch: whether a text satisfies a search criterion.
//
// Method 1, the only one: the criterion's text occurs in the value, ASCII case ignored. The empty criterion constrains
// nothing. Flag kWholeWords: it occurs with no ASCII letter, digit or byte above 127 directly before or after it. Flag
// kTimecode: the separators : ; . , count as equal, so that 10:00:00:05 finds 10:00:00;05.
#ifndef KELDB_SUPPORT_TEXT_SEARCH_H
#define KELDB_SUPPORT_TEXT_SEARCH_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "keldb/support/ascii.h"
#include "keldb/support/export.h"
#include "keldb/support/string.h"

class KELDB_API TextSearch {
public:
    enum eMatchMethod : int { kContains = 1 };
    static constexpr unsigned kWholeWords = 1;
    static constexpr unsigned kTimecode = 2;

    class KELDB_API Criterion {
    public:
        Criterion() = default;
        Criterion(String text, eMatchMethod method) : text_(std::move(text)), method_(method) {}
        const String& text() const noexcept { return text_; }
        eMatchMethod method() const noexcept { return method_; }

    private:
        String text_;
        eMatchMethod method_ = kContains;
    };

    // What one field is searched for: one criterion.
    class KELDB_API Criteria {
    public:
        Criteria() = default;
        explicit Criteria(Criterion criterion) : criterion_(std::move(criterion)) {}
        bool empty() const noexcept { return criterion_.text().empty(); }
        const Criterion& getCriterion(unsigned short /*i*/) const noexcept { return criterion_; }  // 0 in every call

    private:
        Criterion criterion_;
    };

    static bool match(const String& text, const Criteria& criteria, unsigned flags);
};

namespace kel {

// A criterion made ready once for many texts: found_in answers exactly as TextSearch::match does.
class KELDB_API Needle {
public:
    Needle() = default;
    Needle(std::string_view wanted, unsigned flags);
    bool found_in(std::string_view text) const noexcept;
    bool empty() const noexcept { return wanted_.empty(); }

private:
    // A byte of the wanted text that is looked for in eight places at once.
    struct Anchor {
        std::size_t at = 0;  // where it stands in the wanted text
        bool separator = false;
        std::uint64_t byte = 0;       // eight times
        std::uint64_t case_bits = 0;  // what makes a letter of a text a small one: 0x20, eight times; else 0
        std::uint64_t hits(std::uint64_t word) const noexcept;
    };

    Anchor anchor(std::size_t at) const noexcept;
    bool separates(char c) const noexcept;
    bool stands_at(std::string_view text, std::size_t at) const noexcept;

    std::string wanted_;                               // lower case; with kTimecode every separator is ':'
    const unsigned char* fold_ = kel::kFolded.data();  // how the bytes of a text are seen
    unsigned flags_ = 0;
    Anchor first_;
    Anchor last_;
};

}  // namespace kel

#endif
