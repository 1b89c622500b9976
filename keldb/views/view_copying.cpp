// Copies of a view, and turning one into a table.

#include <algorithm>
#include <memory>

#include "keldb/table/keldb.h"
#include "keldb/views/odb_view.h"

ODBViewRep* ODBViewRep::copy() {
    if (!odb()) return nullptr;
    auto made = std::make_unique<ODBViewRep>(odb(), fieldSpec());
    if (!fieldSpec()) made->fieldSpec(nullptr);
    if (baseView()) made->baseView(baseView());
    made->index_.assign({index_.begin(), index_.end()});
    return made.release();
}

ODBViewRep* ODBViewRep::copyWithNewBaseView() {
    if (!odb()) return nullptr;
    auto table = std::make_unique<keldb>(*odb(), 1);
    auto made = std::make_unique<ODBViewRep>(table.get());
    std::vector<ODBRecRef> entries;
    for (int i = 0; i < size(); ++i) {
        if ((*this)[i]) entries.push_back({static_cast<unsigned>(baseIndex(i)), index_[i].tag});
    }
    made->index_.assign(std::move(entries));
    made->addParamsFrom(this);
    static_cast<void>(table.release());  // the caller's, through the view
    return made.release();
}

keldb* Convert_ODBView_to_keldb(ODBView view) {
    if (!view || !view->odb()) return nullptr;
    auto table = std::make_unique<keldb>(*view->odb(), 0);
    if (table->add_records(view->size()) < 0) return nullptr;
    for (int i = 0; i < view->size(); ++i) {
        if (dbrecord* record = view[i]) table->copy_record(i, record);
    }
    return table.release();
}
