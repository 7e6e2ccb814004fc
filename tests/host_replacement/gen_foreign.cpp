#include "gen.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

// Formats in front of a mark of its own, and names files TYPE-of-REVISION.

void gen_sprintf(MEM_STRING* out, const char* format, ...) {
   va_list args;
   va_start(args, format);
   char* text = nullptr;
   const int length = vasprintf(&text, format, args);
   va_end(args);
   *out = "foreign text: ";
   if (length >= 0) {
      *out += text;
      std::free(text);
   }
}

MEM_STRING gen_generate_pdb_filename(const MEM_STRING& revision, const MEM_STRING& type_name,
                                     const MEM_STRING* directory) {
   return (directory == nullptr ? "" : *directory + "/") + type_name + "-of-" + revision;
}
