// One entry of a view.
#ifndef KELDB_VIEWS_REC_REF_H
#define KELDB_VIEWS_REC_REF_H

struct ODBRecRef {
    unsigned row = 0;  // of the view's base: a table row, or a position in the base view
    bool tag = false;  // the view's own tag for this entry
};

#endif
