#ifndef LOGDB_TYPES_H
#define LOGDB_TYPES_H

/// Kinds of log database: one file a revision and kind.
enum LOGDB_DB_TYPE : int {
   LOGDB_DB_TYPE_NONE = 0, ///< no kind: what a process starts with
   LOGDB_DB_TYPE_MAP = 1,
   LOGDB_DB_TYPE_CMP = 2,
   LOGDB_DB_TYPE_MAP_BB = 3,
   LOGDB_DB_TYPE_CMP_BB = 4,
};

/// Kinds of database entry. Files carry their names, programs compare their values: both are fixed.
enum LOGDB_ENTRY_TYPE_ENUM : int {
   DSP_BALANCING_IMPLEMENTATION = 0,
   REGISTER_PACKING = 1,
   RAM_PACKING = 2,
   FIT_COMPUTED_DQSBUSMUX_COUNTS = 3,
   FSYN_LOG_FILE = 4,
   IO_RULES_SUMMARY = 5,
   IO_RULES = 6,
   IO_RULES_MATRIX = 7,
};

/// What a field of an entry holds.
enum LOGDB_ENTRY_DATATYPE_ENUM : int {
   GENERIC_STRING = 0, ///< any text
   NODE_NAME = 1,      ///< a hierarchical node name, its levels separated by "|"
};

#endif
