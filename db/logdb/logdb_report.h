#ifndef LOGDB_REPORT_H
#define LOGDB_REPORT_H

#include "msg.h"

/// Reports to the host and goes on. The source that includes this names itself in LOGDB_SOURCE_FILE.
#define LOGDB_REPORT(text) MSG_INTERNAL_ERROR::report((text), "LOGDB", LOGDB_SOURCE_FILE, __LINE__)

/// Whether a condition holds that should. If it does not, its source text is reported, so it is spelled here
/// exactly as people know it from reports.
#define LOGDB_HOLDS(condition) ((condition) || (LOGDB_REPORT(#condition), false))

#endif
