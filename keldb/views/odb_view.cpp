// Views and handles: construction, what a view stands on, its entries.

#include "keldb/views/odb_view.h"

#include <algorithm>
#include <string>

#include "keldb/table/keldb.h"

namespace {

// The names, each followed by a comma; all fields of the table for a null list.
std::string joined(const char** names, const keldb* table) {
    if (!names) return kel::identity_field_spec(table);
    std::string text;
    for (; *names; ++names) text.append(*names).append(",");
    return text;
}

void intern_revision(AssocList& params) {
    if (!params.find(kel::kRevisionName)) params.set(kel::kRevisionName, kel::kRevisionText);
}

AssocList params_of(const keldb& table) {
    AssocList params;
    for (int i = 0; static_cast<unsigned>(i) < table.get_num_params(); ++i)
        params.set(table.get_nth_param_name(i), table.get_nth_param_val(i));
    return params;
}

}  // namespace

ODBViewRep::ODBViewRep(keldb* table) : ODBViewRep(table, static_cast<const char*>(nullptr)) {}

ODBViewRep::ODBViewRep(keldb* table, const char* fieldSpec) {
    init();
    odb(table);
    this->fieldSpec(fieldSpec ? fieldSpec : kel::identity_field_spec(table).c_str());
}

ODBViewRep::ODBViewRep(keldb* table, const char** names) : ODBViewRep(table, joined(names, table).c_str()) {}

ODBViewRep::~ODBViewRep() = default;

void ODBViewRep::init() {
    odb(nullptr);
    params_.clear();
    fieldSpec(nullptr);
    internRevision();
}

// --- What it stands on ---

void ODBViewRep::odb(keldb* table) {
    if (table == odb() && (table || !link_.attached())) return;
    AssocList params(false);
    WString name = file_name_;
    if (table) {
        name = table->get_filename();
        params = params_of(*table);
        intern_revision(params);
    } else if (!baseView()) {
        params = params_;
    }
    link_.attach(table);  // the last step that can fail
    index_.clear();
    params_ = std::move(params);
    file_name_ = std::move(name);
}

void ODBViewRep::baseView(ODBViewRep* view) {
    if (view == baseView() || view == this) return;
    AssocList params(false);
    if (view) params = view->params_;
    link_.stand_on(view);
    index_.clear();
    params_ = std::move(params);
}

void ODBViewRep::internRevision() { intern_revision(params_); }

void ODBViewRep::addParamsFrom(ODBViewRep* other) {
    if (other) params_.add(other->params_);
}

void ODBViewRep::addParamsFrom(const keldb* table) {
    if (table) params_.add(params_of(*table));
}

void ODBViewRep::fieldSpec(const char* text) { spec_.set(text, *this); }

void ODBViewRep::identityFieldSpec(GrowString& out) const { out.append(kel::identity_field_spec(db()).c_str()); }

int ODBViewRep::dbFieldIndex(const char* name) const {
    const unsigned count = db() && name ? db()->get_num_fields() : 0;
    for (unsigned i = 0; i < count; ++i) {
        if (std::string_view(db()->get_fieldname(i)) == name) return static_cast<int>(i);
    }
    return -1;
}

void ODBViewRep::asString(GrowString& out) const {
    out.append("fieldSpec: ");
    out.append(fieldSpec());
    out.append('\n');
    if (spec_.fields().empty()) return;
    out.append("fields: ");
    spec_.fields().print(out);
    out.append('\n');
}

const ODBViewRep* ODBViewRep::root() const noexcept {
    const ODBViewRep* view = this;
    while (view->baseView()) view = view->baseView();
    return view;
}

bool ODBViewRep::pin() noexcept {
    if (refs_ == 0) return false;
    incRef();
    return true;
}

void ODBViewRep::unpin() noexcept {
    if (decRef() == 0) delete this;
}

// --- Entries ---

ODBRecRef* ODBViewRep::recRef(int position) const {
    return index_.holds(position) ? const_cast<ODBRecRef*>(&index_[position]) : nullptr;
}

const ODBRecRef* ODBViewRep::entry(unsigned row) const noexcept {
    return row < entry_count() ? index_.begin() + row : nullptr;
}

ODBRecRef* ODBViewRep::entry(unsigned row) noexcept { return row < entry_count() ? index_.begin() + row : nullptr; }

dbrecord* ODBViewRep::operator[](int position) const {
    const ODBBase* base = db();
    return base && index_.holds(position) ? base->get_record(index_[position].row) : nullptr;
}

int ODBViewRep::find(const dbrecord* record) const {
    for (int i = 0; record && i < size(); ++i) {
        if ((*this)[i] == record) return i;
    }
    return -1;
}

int ODBViewRep::findViewIndexForBaseRow(unsigned long long baseRow) const {
    const auto found = std::find_if(index_.begin(), index_.end(), [=](const ODBRecRef& e) { return e.row == baseRow; });
    return found == index_.end() ? -1 : static_cast<int>(found - index_.begin());
}

void ODBViewRep::buildIndex() {
    const unsigned rows = db() ? db()->get_num_records() : 0;
    std::vector<ODBRecRef> entries(rows);
    for (unsigned row = 0; row < rows; ++row) entries[row].row = row;
    index_.assign(std::move(entries));
}

bool ODBViewRep::ok() const { return index_.ok() && (!baseView() || baseView()->refs() > 0) && (db() || size() == 0); }

// --- Handles ---

ODBView::ODBView(ODBViewRep* view) noexcept : view_(view) {
    if (view_) view_->incRef();
}

ODBView::ODBView(const ODBView& other) noexcept : ODBView(other.view_) {}
ODBView::ODBView(const ODBView& other, bool) : ODBView(other->newTagSubview()) {}
ODBView::ODBView(keldb* table) : ODBView(new ODBViewRep(table)) {}
ODBView::ODBView(keldb* table, const char* fieldSpec) : ODBView(new ODBViewRep(table, fieldSpec)) {}
ODBView::ODBView(keldb* table, const char** names) : ODBView(new ODBViewRep(table, names)) {}

ODBView::~ODBView() {
    if (view_ && view_->decRef() == 0) delete view_;
}

ODBView& ODBView::operator=(const ODBView& other) noexcept {
    ODBView held(other);
    std::swap(view_, held.view_);
    return *this;
}

ODBView ODBView::copy() const { return ODBView(view_ ? view_->copy() : nullptr); }

ODBView ODBView::copyWithNewBaseView() const { return ODBView(view_ ? view_->copyWithNewBaseView() : nullptr); }
