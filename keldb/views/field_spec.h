// The field spec of a view: a text of field names, separated by commas or tabs, and the list of those that
// were found. It describes the view (ODBViewRep::asString) and is passed on to views made from it; it does not
// restrict, reorder or rename the fields seen through the view.
#ifndef KELDB_VIEWS_FIELD_SPEC_H
#define KELDB_VIEWS_FIELD_SPEC_H

#include <memory>
#include <string>
#include <vector>

#include "keldb/support/export.h"
#include "keldb/support/grow_string.h"

class ODBBase;

// An element of the printed list.
class KELDB_API SExprElt {
public:
    virtual ~SExprElt();
    virtual void print(GrowString& out) const = 0;
};

// A field: prints the name that `base` gives it, "voidref" without a base and for one without fields.
class KELDB_API SExprRef : public SExprElt {
public:
    SExprRef(unsigned field, const ODBBase* base) : field_(field), base_(base) {}
    void print(GrowString& out) const override;
    unsigned field() const noexcept { return field_; }

private:
    unsigned field_;
    const ODBBase* base_;  // not owned: the view that holds this, which asks what it stands on
};

// A list of elements: prints "(a b c)". Destroying it destroys them, without recursion.
class KELDB_API SExpr : public SExprElt {
public:
    void append(std::unique_ptr<SExprElt> element) { elements_.push_back(std::move(element)); }
    bool empty() const noexcept { return elements_.empty(); }
    std::size_t size() const noexcept { return elements_.size(); }
    void print(GrowString& out) const override;

private:
    std::vector<std::unique_ptr<SExprElt>> elements_;
};

namespace kel {

// Invariants: the text is exactly as given; the list holds only names that were found in the base, in the text's order.
class FieldSpec {
public:
    // Parses the text against the fields of `owner`, the view that holds this. Names are compared byte for byte; one
    // that is not found is skipped with a warning in the log. Null clears both text and list. Strong.
    void set(const char* text, const ODBBase& owner);
    const char* text() const noexcept { return has_text_ ? text_.c_str() : nullptr; }
    const SExpr& fields() const noexcept { return fields_; }

private:
    void take_all_fields(const ODBBase& owner);

    std::string text_;
    bool has_text_ = false;
    SExpr fields_;
};

// All field names of the base, separated by commas.
std::string identity_field_spec(const ODBBase* base);

}  // namespace kel

#endif
