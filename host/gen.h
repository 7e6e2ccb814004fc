#ifndef HOST_GEN_H
#define HOST_GEN_H

#include "mem_alloc_sys.h"

/// Replaces the contents of a string with formatted text of any length.
///
/// \param out     the string that receives the text; it may not be among the arguments
/// \param format  a printf format; on a formatting failure the string is left empty
void gen_sprintf(MEM_STRING* out, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Names the project database file of a revision. Nothing is looked up on disk.
///
/// \param revision   the revision name
/// \param type_name  the database type, one of the variables of dbm.h
/// \param directory  the directory that holds the file, or null for the project's own database directory.
///                   The library always passes null. An empty one gives a name without a directory, which is
///                   looked for where the process runs
/// \return the path of the file
MEM_STRING gen_generate_pdb_filename(const MEM_STRING& revision, const MEM_STRING& type_name,
                                     const MEM_STRING* directory);

#endif
