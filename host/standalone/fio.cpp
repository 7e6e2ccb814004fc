#include "fio.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using C_TEXT = std::unique_ptr<char, decltype(&std::free)>;

/// Closes its file when it goes out of sight.
class OPEN_FILE {
public:
   explicit OPEN_FILE(int descriptor) : m_descriptor(descriptor) {}
   ~OPEN_FILE() { close(); }
   OPEN_FILE(const OPEN_FILE&) = delete;
   OPEN_FILE& operator=(const OPEN_FILE&) = delete;

   bool is_open() const { return m_descriptor >= 0; }
   int descriptor() const { return m_descriptor; }

   /// False when the system found only now that it could not store what was written.
   bool close() {
      const int descriptor = m_descriptor;
      m_descriptor = -1;
      return descriptor < 0 || ::close(descriptor) == 0;
   }

private:
   int m_descriptor;
};

/// A new file in the folder of another one, which it is to become. Removed at the end unless it did.
class TEMPORARY_FILE {
public:
   explicit TEMPORARY_FILE(const MEM_STRING& target)
       : m_path(target, 0, target.rfind('/') + 1), m_file(make(m_path)) {}
   ~TEMPORARY_FILE() {
      if (m_must_remove) {
         ::unlink(m_path.c_str());
      }
   }
   TEMPORARY_FILE(const TEMPORARY_FILE&) = delete;
   TEMPORARY_FILE& operator=(const TEMPORARY_FILE&) = delete;

   OPEN_FILE& file() { return m_file; }

   bool become(const MEM_STRING& target) {
      m_must_remove = ::rename(m_path.c_str(), target.c_str()) != 0;
      return !m_must_remove;
   }

   /// As become, but fails when something is at the target, even if it came there only now.
   bool become_new(const MEM_STRING& target) {
      if (::renameat2(AT_FDCWD, m_path.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
         m_must_remove = false;
         return true;
      }
      // Not every file system knows such a rename. A second name for the file replaces nothing either.
      return ::link(m_path.c_str(), target.c_str()) == 0;
   }

private:
   int make(MEM_STRING& path) {
      // A name of its own, not the target's with something added, which could be longer than names may be.
      path += ".logdb_copy_XXXXXX";
      const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
      m_must_remove = descriptor >= 0;
      return descriptor;
   }

   bool m_must_remove = false;
   MEM_STRING m_path;
   OPEN_FILE m_file;
};

int open_to_read(const char* path) {
   int descriptor = -1;
   do {
      // Not waiting: a pipe that nobody writes to must not hold up the copy.
      descriptor = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
   } while (descriptor < 0 && errno == EINTR);
   return descriptor;
}

bool write_all(int to, const char* bytes, std::size_t count) {
   while (count != 0) {
      const ssize_t written = ::write(to, bytes, count);
      if (written > 0) {
         bytes += written;
         count -= static_cast<std::size_t>(written);
      } else if (written == 0 || errno != EINTR) {
         return false;
      }
   }
   return true;
}

bool copy_contents(int from, int to) {
   // The system may share the blocks between the files, but not between any two files and not for files that it
   // makes up as they are read; the loop below copies what is left, errors included.
   constexpr std::size_t at_once = std::size_t{1} << 30U;
   while (::copy_file_range(from, nullptr, to, nullptr, at_once, 0) > 0) {
   }
   std::array<char, std::size_t{64} * 1024> buffer;
   for (;;) {
      const ssize_t count = ::read(from, buffer.data(), buffer.size());
      if (count == 0) {
         return true;
      }
      if (count > 0 ? !write_all(to, buffer.data(), static_cast<std::size_t>(count)) : errno != EINTR) {
         return false;
      }
   }
}

bool copy_attributes(const struct stat& source, int to, bool keep_times) {
   const std::array<timespec, 2> times = {source.st_atim, source.st_mtim};
   return ::fchmod(to, source.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) == 0 &&
          (!keep_times || ::futimens(to, times.data()) == 0);
}

bool is_c_text(const MEM_STRING& path) {
   return path.find('\0') == MEM_STRING::npos;
}

} // namespace

bool FIO_FILE_SYSTEM::exists(const char* path) {
   struct stat status = {};
   return path != nullptr && ::stat(path, &status) == 0;
}

bool FIO_FILE_SYSTEM::copy(const MEM_STRING& from, const MEM_STRING& to, bool overwrite, bool keep_times) {
   if (!is_c_text(from) || !is_c_text(to) || to.empty()) {
      return false;
   }
   OPEN_FILE source(open_to_read(from.c_str()));
   struct stat source_status = {};
   if (!source.is_open() || ::fstat(source.descriptor(), &source_status) != 0 || !S_ISREG(source_status.st_mode)) {
      return false;
   }
   MEM_STRING target = to;
   struct stat target_status = {};
   if (::stat(to.c_str(), &target_status) == 0) {
      if (!overwrite || !S_ISREG(target_status.st_mode)) {
         return false; // a device or a directory is never replaced
      }
      if (target_status.st_dev == source_status.st_dev && target_status.st_ino == source_status.st_ino) {
         return keep_times || ::utimensat(AT_FDCWD, to.c_str(), nullptr, 0) == 0;
      }
      // What a symbolic link leads to is replaced, as writing to the path would do, and the link stays.
      const C_TEXT real_path(::realpath(to.c_str(), nullptr), &std::free);
      if (real_path == nullptr) {
         return false;
      }
      target = real_path.get();
   }
   TEMPORARY_FILE copy(target);
   return copy.file().is_open() && copy_contents(source.descriptor(), copy.file().descriptor()) &&
          copy_attributes(source_status, copy.file().descriptor(), keep_times) && copy.file().close() &&
          (overwrite ? copy.become(target) : copy.become_new(target));
}

bool FIO_FILE_SYSTEM::remove_if_exists(const MEM_STRING& path) {
   if (path.empty()) {
      return false;
   }
   if (!is_c_text(path)) {
      return true; // no file can have such a name; the system would act on the part in front of the zero byte
   }
   return ::unlink(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG;
}
