#ifndef FOREIGN_FIO_H
#define FOREIGN_FIO_H

#include <string_view>

// Functions in a namespace, where others have a class.
namespace FIO_FILE_SYSTEM {
bool exists(std::string_view path);
bool copy(std::string_view from, std::string_view to, bool overwrite, bool keep_times);
bool remove_if_exists(std::string_view path);
} // namespace FIO_FILE_SYSTEM

#endif
