#ifndef PACKING_LOG_H
#define PACKING_LOG_H

#include "decisions.h"
#include "logdb.h"

/// \file
/// Decisions as entries of the log database, and back.

/// Adds an entry for each decision.
void log_decisions(const DECISIONS& decisions, LOGDB_DATABASE& database);

/// The decisions that a database holds, in its order. Entries of other kinds are other stages' business and
/// are passed over.
///
/// \throw NETLIST_ERROR  an entry that log_decisions cannot have written
DECISIONS logged_decisions(const LOGDB_DATABASE& database);

/// Copies of the entries that are passed over.
///
/// \throw NETLIST_ERROR  an entry of an unknown kind
std::vector<LOGDB_DATABASE_ENTRY> entries_of_other_stages(const LOGDB_DATABASE& database);

#endif
