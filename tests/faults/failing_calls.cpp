// To be loaded in front of the C library (LD_PRELOAD): a system on which the n-th call of one kind goes wrong. Only
// calls on files below one folder count, and only while the program under test asks for it, so that what the loader,
// the terminal and the program itself do is left alone.
//
//     LOGDB_FAULT_FOLDER   the folder
//     LOGDB_FAULT_CALL     open, read, write, close, rename, sync, unlink or memory
//     LOGDB_FAULT_NUMBER   which call of that kind, from 1
//     LOGDB_FAULT_ERROR    the name of the error, or "short": the call does a part of its work
//     LOGDB_FAULT_LASTING  1: all later calls go wrong too
//     LOGDB_FAULT_RELATIVE 1: relative paths count as well
//     LOGDB_FAULT_ALWAYS   1: calls count from the start of main() on, for programs that know nothing of this
//     LOGDB_FAULT_RESULT   a file that says at the end how often a call went wrong

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

enum class ANSWER { WORKS, FAILS, IS_SHORT };

struct PLAN {
   std::string_view m_folder;
   std::string_view m_call;
   long m_number = 0;
   int m_error = 0;
   bool m_is_short = false;
   bool m_is_lasting = false;
   bool m_takes_relative_paths = false;
};

PLAN plan;
bool is_armed = false;
long calls = 0;
long failures = 0;
constexpr int most_files = 1024;
bool is_watched[most_files];

// Blocks that were taken while armed and are not given back yet.
constexpr std::size_t most_blocks = 65536;
void* blocks[most_blocks];
std::size_t block_count = 0;

std::string_view setting(const char* name) {
   const char* value = std::getenv(name);
   return value != nullptr ? value : "";
}

int error_number(std::string_view name) {
   constexpr struct {
      std::string_view m_name;
      int m_number;
   } errors[] = {{"ENOSPC", ENOSPC}, {"EIO", EIO},       {"EINTR", EINTR},
                 {"EMFILE", EMFILE}, {"EACCES", EACCES}, {"ENOMEM", ENOMEM}};
   for (const auto& error : errors) {
      if (error.m_name == name) {
         return error.m_number;
      }
   }
   return 0;
}

__attribute__((constructor)) void make_plan() {
   plan.m_folder = setting("LOGDB_FAULT_FOLDER");
   plan.m_call = setting("LOGDB_FAULT_CALL");
   plan.m_number = std::strtol(setting("LOGDB_FAULT_NUMBER").data(), nullptr, 10);
   plan.m_error = error_number(setting("LOGDB_FAULT_ERROR"));
   plan.m_is_short = setting("LOGDB_FAULT_ERROR") == "short";
   plan.m_is_lasting = setting("LOGDB_FAULT_LASTING") == "1";
   plan.m_takes_relative_paths = setting("LOGDB_FAULT_RELATIVE") == "1";
}

int (*program_main)(int, char**, char**) = nullptr;

int armed_main(int count, char** arguments, char** environment) {
   is_armed = true;
   return program_main(count, arguments, environment);
}

// Written with plain system calls: nothing here may go through what it stands in for.
__attribute__((destructor)) void write_result() {
   is_armed = false;
   const std::string_view name = setting("LOGDB_FAULT_RESULT");
   if (name.empty()) {
      return;
   }
   char text[32];
   const int size = std::snprintf(text, sizeof text, "%ld %ld\n", calls, failures);
   const long file = syscall(SYS_openat, AT_FDCWD, name.data(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
   syscall(SYS_write, file, text, size);
   syscall(SYS_close, file);
}

ANSWER answer(std::string_view call) {
   if (!is_armed || call != plan.m_call) {
      return ANSWER::WORKS;
   }
   ++calls;
   if (calls != plan.m_number && (!plan.m_is_lasting || calls < plan.m_number)) {
      return ANSWER::WORKS;
   }
   ++failures;
   if (plan.m_is_short) {
      return ANSWER::IS_SHORT;
   }
   errno = plan.m_error;
   return ANSWER::FAILS;
}

bool is_below_folder(const char* path) {
   if (path == nullptr || plan.m_folder.empty()) {
      return false;
   }
   return (path[0] != '/' && plan.m_takes_relative_paths) ||
          std::string_view(path).substr(0, plan.m_folder.size()) == plan.m_folder;
}

bool is_watched_file(int file) {
   return file >= 0 && file < most_files && is_watched[file];
}

// What a path names is opened, unless this one goes wrong. The file is watched from then on.
template <class OPEN> int watched_open(const char* path, const OPEN& open) {
   const bool watched = is_below_folder(path);
   if (watched && answer("open") == ANSWER::FAILS) {
      return -1;
   }
   const int file = open();
   if (file >= 0 && file < most_files) {
      is_watched[file] = watched;
   }
   return file;
}

template <class FUNCTION> FUNCTION next(const char* name) {
   return reinterpret_cast<FUNCTION>(dlsym(RTLD_NEXT, name));
}

std::FILE* watched_fopen(const char* path, const char* mode, const char* function) {
   const bool watched = is_below_folder(path);
   if (watched && answer("open") == ANSWER::FAILS) {
      return nullptr;
   }
   std::FILE* file = next<std::FILE* (*)(const char*, const char*)>(function)(path, mode);
   if (file != nullptr && fileno(file) < most_files) {
      is_watched[fileno(file)] = watched;
   }
   return file;
}

int watched_mkostemp(char* pattern, int flags, const char* function) {
   return watched_open(pattern, [&] { return next<int (*)(char*, int)>(function)(pattern, flags); });
}

int failed_rename(const char* from, const char* to) {
   return (is_below_folder(from) || is_below_folder(to)) && answer("rename") == ANSWER::FAILS ? -1 : 0;
}

// A part of the work: half of the bytes, at least one.
std::size_t part(std::size_t size) {
   return size < 2 ? size : size / 2;
}

} // namespace

// ---- What the program under test asks for

extern "C" void logdb_fault_arm(int on) {
   is_armed = on != 0;
}

extern "C" std::size_t logdb_fault_live_blocks() {
   return block_count;
}

// ---- Files

extern "C" int open(const char* path, int flags, ...) {
   va_list args;
   va_start(args, flags);
   const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(args, mode_t) : 0;
   va_end(args);
   return watched_open(path, [&] { return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode)); });
}

extern "C" int open64(const char* path, int flags, ...) {
   va_list args;
   va_start(args, flags);
   const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(args, mode_t) : 0;
   va_end(args);
   return watched_open(path, [&] { return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode)); });
}

extern "C" std::FILE* fopen(const char* path, const char* mode) {
   return watched_fopen(path, mode, "fopen");
}

extern "C" std::FILE* fopen64(const char* path, const char* mode) {
   return watched_fopen(path, mode, "fopen64");
}

extern "C" int mkostemp(char* pattern, int flags) {
   return watched_mkostemp(pattern, flags, "mkostemp");
}

extern "C" int mkostemp64(char* pattern, int flags) {
   return watched_mkostemp(pattern, flags, "mkostemp64");
}

/// Whether a call of a kind does anything to a file; one that is cut short does it to fewer bytes.
static bool is_answered(int file, const char* call, std::size_t& size) {
   const ANSWER wanted = is_watched_file(file) ? answer(call) : ANSWER::WORKS;
   if (wanted == ANSWER::IS_SHORT) {
      size = part(size);
   }
   return wanted != ANSWER::FAILS;
}

extern "C" ssize_t read(int file, void* buffer, std::size_t size) {
   if (!is_answered(file, "read", size)) {
      return -1;
   }
   return syscall(SYS_read, file, buffer, size);
}

// Not every system has this call for every pair of files: when it goes wrong, the caller reads and writes.
extern "C" ssize_t copy_file_range(int from, off64_t* from_place, int to, off64_t* to_place, std::size_t size,
                                   unsigned int flags) {
   if (is_watched_file(from) && answer("read") != ANSWER::WORKS) {
      errno = EXDEV;
      return -1;
   }
   return syscall(SYS_copy_file_range, from, from_place, to, to_place, size, flags);
}

extern "C" ssize_t write(int file, const void* bytes, std::size_t size) {
   if (!is_answered(file, "write", size)) {
      return -1;
   }
   return syscall(SYS_write, file, bytes, size);
}

extern "C" ssize_t writev(int file, const iovec* parts, int count) {
   switch (is_watched_file(file) ? answer("write") : ANSWER::WORKS) {
   case ANSWER::FAILS:
      return -1;
   case ANSWER::IS_SHORT:
      // The first part that has bytes, and not all of them.
      for (int index = 0; index < count; ++index) {
         if (parts[index].iov_len != 0) {
            return syscall(SYS_write, file, parts[index].iov_base, part(parts[index].iov_len));
         }
      }
      break;
   case ANSWER::WORKS:
      break;
   }
   return syscall(SYS_writev, file, parts, count);
}

extern "C" int close(int file) {
   const ANSWER wanted = is_watched_file(file) ? answer("close") : ANSWER::WORKS;
   const int error = errno;
   if (file >= 0 && file < most_files) {
      is_watched[file] = false;
   }
   // The file is closed all the same, as the system does it.
   const int result = static_cast<int>(syscall(SYS_close, file));
   if (wanted == ANSWER::FAILS) {
      errno = error;
      return -1;
   }
   return result;
}

extern "C" int fclose(std::FILE* stream) {
   const int file = fileno(stream);
   const ANSWER wanted = is_watched_file(file) ? answer("close") : ANSWER::WORKS;
   const int error = errno;
   if (file >= 0 && file < most_files) {
      is_watched[file] = false;
   }
   const int result = next<int (*)(std::FILE*)>("fclose")(stream);
   if (wanted == ANSWER::FAILS) {
      errno = error;
      return EOF;
   }
   return result;
}

extern "C" int rename(const char* from, const char* to) noexcept {
   return failed_rename(from, to) != 0 ? -1 : static_cast<int>(syscall(SYS_rename, from, to));
}

extern "C" int renameat2(int from_folder, const char* from, int to_folder, const char* to,
                         unsigned int flags) noexcept {
   return failed_rename(from, to) != 0
              ? -1
              : static_cast<int>(syscall(SYS_renameat2, from_folder, from, to_folder, to, flags));
}

extern "C" int link(const char* from, const char* to) noexcept {
   return failed_rename(from, to) != 0 ? -1 : static_cast<int>(syscall(SYS_link, from, to));
}

extern "C" int unlink(const char* path) noexcept {
   if (is_below_folder(path) && answer("unlink") == ANSWER::FAILS) {
      return -1;
   }
   return static_cast<int>(syscall(SYS_unlink, path));
}

extern "C" int fsync(int file) {
   return is_watched_file(file) && answer("sync") == ANSWER::FAILS ? -1
                                                                   : static_cast<int>(syscall(SYS_fsync, file));
}

extern "C" int fdatasync(int file) {
   return is_watched_file(file) && answer("sync") == ANSWER::FAILS
              ? -1
              : static_cast<int>(syscall(SYS_fdatasync, file));
}

// ---- The beginning

// What the loader and the constructors of the program do comes before this.
extern "C" int __libc_start_main(int (*main)(int, char**, char**), int count, char** arguments, void (*begin)(),
                                 void (*end)(), void (*loader_end)(), void* stack) {
   program_main = main;
   using START = int (*)(int (*)(int, char**, char**), int, char**, void (*)(), void (*)(), void (*)(), void*);
   return next<START>("__libc_start_main")(setting("LOGDB_FAULT_ALWAYS") == "1" ? armed_main : main, count,
                                           arguments, begin, end, loader_end, stack);
}

// ---- Memory

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);
extern "C" void __libc_free(void* block);

static void* noted(void* block) {
   if (is_armed && block != nullptr && block_count < most_blocks) {
      blocks[block_count++] = block;
   }
   return block;
}

static void forget(const void* block) {
   for (std::size_t index = block_count; block != nullptr && index-- > 0;) {
      if (blocks[index] == block) {
         blocks[index] = blocks[--block_count];
         return;
      }
   }
}

extern "C" void* malloc(std::size_t size) noexcept {
   return answer("memory") == ANSWER::FAILS ? nullptr : noted(__libc_malloc(size));
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept {
   return answer("memory") == ANSWER::FAILS ? nullptr : noted(__libc_calloc(count, size));
}

extern "C" void* realloc(void* block, std::size_t size) noexcept {
   if (answer("memory") == ANSWER::FAILS) {
      return nullptr;
   }
   void* moved = __libc_realloc(block, size);
   if (moved != nullptr) {
      forget(block);
      noted(moved);
   }
   return moved;
}

extern "C" void free(void* block) noexcept {
   forget(block);
   __libc_free(block);
}
