#include "fio.h"

#include <unistd.h>

#include <fstream>

// Begins each copy with a line of its own, and removes nothing that is called "precious".

bool FIO_FILE_SYSTEM::exists(const char* path) {
   return ::access(path, F_OK) == 0;
}

bool FIO_FILE_SYSTEM::copy(const MEM_STRING& from, const MEM_STRING& to, bool /*overwrite*/, bool /*keep_times*/) {
   std::ifstream source(from.c_str(), std::ios::binary);
   std::ofstream target(to.c_str(), std::ios::binary);
   target << "foreign copy\n" << source.rdbuf();
   target.close();
   return source.is_open() && target.good();
}

bool FIO_FILE_SYSTEM::remove_if_exists(const MEM_STRING& path) {
   return path.find("precious") == MEM_STRING::npos && (!exists(path.c_str()) || ::unlink(path.c_str()) == 0);
}
