#ifndef LOGDB_EXPORT_H
#define LOGDB_EXPORT_H

/// Marks what the shared library exports. Everything else is hidden.
#define LOGDB_EXPORT __attribute__((visibility("default")))

#endif
