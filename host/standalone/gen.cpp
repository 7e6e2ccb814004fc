#include "gen.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "host_standalone.h"

namespace {

/// What LOGDB_PROJECT_DIRECTORY said when this was first called, else the working directory. Here and below:
/// no tracked strings, which would show in the statistics of the library's memory, and never destroyed, because
/// destructors of static objects may still make names.
const std::string& default_directory() {
   static const auto* const directory = [] {
      const char* variable = std::getenv("LOGDB_PROJECT_DIRECTORY");
      return new std::string(variable == nullptr || *variable == '\0' ? "." : variable);
   }();
   return *directory;
}

std::string& project_directory() {
   static auto* const directory = new std::string(default_directory());
   return *directory;
}

} // namespace

void gen_sprintf(MEM_STRING* out, const char* format, ...) {
   std::array<char, 512> buffer;
   va_list args;
   va_start(args, format);
   const int length = std::vsnprintf(buffer.data(), buffer.size(), format, args);
   va_end(args);
   if (length < 0) {
      out->clear();
      return;
   }
   const auto size = static_cast<std::size_t>(length);
   if (size < buffer.size()) {
      out->assign(buffer.data(), size);
      return;
   }
   out->resize(size);
   va_start(args, format);
   const int second_length = std::vsnprintf(out->data(), size + 1, format, args);
   va_end(args);
   if (second_length != length) {
      out->clear();
   }
}

MEM_STRING gen_generate_pdb_filename(const MEM_STRING& revision, const MEM_STRING& type_name,
                                     const MEM_STRING* directory) {
   const std::string_view folder = directory != nullptr ? std::string_view(*directory) : project_directory();
   MEM_STRING name;
   name.reserve(folder.size() + revision.size() + type_name.size() + 2);
   name = folder;
   if (!folder.empty() && folder.back() != '/') {
      name += '/';
   }
   name += revision;
   name += '.';
   name += type_name;
   return name;
}

void host_set_project_directory(const char* directory) {
   project_directory() = directory == nullptr || *directory == '\0' ? default_directory() : std::string(directory);
}
