#ifndef HOST_FIO_H
#define HOST_FIO_H

#include "mem_alloc_sys.h"

/// The toolset's file system layer. Paths are byte strings; a relative path starts at the working directory.
class FIO_FILE_SYSTEM {
public:
   /// Tells whether something exists at a path: a file, a directory or anything else. A symbolic link counts
   /// as what it leads to. False for null and for the empty path.
   static bool exists(const char* path);

   /// Copies a file, contents and permissions.
   ///
   /// The target appears whole or not at all: whoever opens it sees the old file or the new one, never a
   /// half. The source and the target may be the same file.
   ///
   /// \param from        the file to copy
   /// \param to          the path of the copy; its directory must exist
   /// \param overwrite   whether an existing target is replaced; if false, an existing target makes the copy
   ///                    fail and stays as it is. What a symbolic link leads to is replaced, and the link stays; a
   ///                    link that leads nowhere is replaced itself
   /// \param keep_times  whether the copy gets the access and modification times of the source; if false,
   ///                    it gets the time of the copying
   /// \return true when the copy is in place; false when it is not, and the target is then untouched
   static bool copy(const MEM_STRING& from, const MEM_STRING& to, bool overwrite, bool keep_times);

   /// Removes a file if it is there. A symbolic link is removed itself, not what it leads to.
   ///
   /// \return true when no file is at the path afterwards, whether or not there was one; false when one is
   ///         there and cannot be removed (a directory always counts so), and for the empty path
   static bool remove_if_exists(const MEM_STRING& path);
};

#endif
