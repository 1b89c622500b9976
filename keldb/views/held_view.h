// Keeps a view alive while an operation of its own calls listeners, who may let go of the last handle.
#ifndef KELDB_VIEWS_HELD_VIEW_H
#define KELDB_VIEWS_HELD_VIEW_H

#include "keldb/views/odb_view.h"

namespace kel {

class HeldView {
public:
    explicit HeldView(ODBViewRep* view) : view_(view->refs() > 0 ? view : nullptr) {}  // nobody's view is left alone

private:
    ODBView view_;
};

}  // namespace kel

#endif
