// The mark of everything that libkeldb.so shows to its hosts; all else stays hidden inside it.
#ifndef KELDB_SUPPORT_EXPORT_H
#define KELDB_SUPPORT_EXPORT_H

#define KELDB_API __attribute__((visibility("default")))

#endif
