// UpdateBracket: the identifiers that editors queue between beginUpdate and endUpdate.
//
// Invariant: identifiers leave only when the outermost bracket closes, all at once, or are dropped when the next
// outermost one opens.
#ifndef KELDB_TABLE_UPDATE_BRACKET_H
#define KELDB_TABLE_UPDATE_BRACKET_H

#include "keldb/support/cookie.h"

namespace kel {

class UpdateBracket {
public:
    void begin() noexcept {
        if (depth_ == 0) pending_.clear();
        ++depth_;
    }
    void add(const Cookie& id) { pending_.add(id); }
    bool about_to_send() const noexcept { return depth_ == 1 && !pending_.empty(); }
    const CookieVec& pending() const noexcept { return pending_; }
    // True when this closed the outermost bracket and identifiers are pending; an unmatched call does nothing.
    bool end() noexcept { return depth_ != 0 && --depth_ == 0 && !pending_.empty(); }
    CookieVec take() noexcept {
        CookieVec taken;
        taken.swap(pending_);
        return taken;
    }
    void reset_depth() noexcept { depth_ = 0; }
    unsigned depth() const noexcept { return depth_; }

private:
    CookieVec pending_;
    unsigned depth_ = 0;
};

}  // namespace kel

#endif
