#include "keldb/table/odb_base.h"

ODBBase::~ODBBase() = default;
