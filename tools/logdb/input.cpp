#include "input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string_view>
#include <utility>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "progress.h"
#include "status.h"

namespace {

constexpr std::size_t input_block = std::size_t{1} << 17U;
constexpr std::size_t longest_signature = 6;

/// A file descriptor, and the bytes of it that were looked at already.
class PLAIN_INPUT : public INPUT {
public:
   explicit PLAIN_INPUT(const std::string& path) : m_name(display_name(path)), m_progress(m_name, 0) {
      if (path != "-") {
         m_file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
         m_is_owned = true;
      }
      struct stat status = {};
      if (m_file < 0 || ::fstat(m_file, &status) != 0) {
         throw TOOL_ERROR(STATUS::INPUT, system_error_text(m_name));
      }
      if (S_ISDIR(status.st_mode)) {
         // A folder that cannot be read is here because its files could not be listed.
         if (path != "-" && ::access(path.c_str(), R_OK | X_OK) != 0) {
            throw TOOL_ERROR(STATUS::INPUT, system_error_text(m_name));
         }
         throw TOOL_ERROR(STATUS::INPUT, m_name + ": is a folder; say --recursive to take all files in it");
      }
      ::posix_fadvise(m_file, 0, 0, POSIX_FADV_SEQUENTIAL);
      m_progress.set_size(S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0);
   }
   ~PLAIN_INPUT() override {
      if (m_is_owned && m_file >= 0) {
         ::close(m_file);
      }
   }
   PLAIN_INPUT(const PLAIN_INPUT&) = delete;
   PLAIN_INPUT& operator=(const PLAIN_INPUT&) = delete;

   std::size_t read(char* to, std::size_t size) override {
      if (m_looked_at != 0) {
         const std::size_t count = std::min(size, m_looked_at);
         std::memcpy(to, m_head.data(), count);
         std::memmove(m_head.data(), m_head.data() + count, m_looked_at - count);
         m_looked_at -= count;
         return count;
      }
      return read_file(to, size);
   }

   /// The first bytes, without taking them.
   std::string_view look() {
      while (m_looked_at < m_head.size()) {
         const std::size_t count = read_file(m_head.data() + m_looked_at, m_head.size() - m_looked_at);
         if (count == 0) {
            break;
         }
         m_looked_at += count;
      }
      return {m_head.data(), m_looked_at};
   }

   const std::string& name() const { return m_name; }

private:
   std::size_t read_file(char* to, std::size_t size) {
      while (true) {
         const ssize_t count = ::read(m_file, to, size);
         if (count >= 0) {
            m_bytes += static_cast<std::uint64_t>(count);
            m_progress.advance(m_bytes);
            return static_cast<std::size_t>(count);
         }
         if (errno != EINTR) {
            throw TOOL_ERROR(STATUS::INPUT, system_error_text(m_name));
         }
      }
   }

   std::string m_name;
   PROGRESS m_progress;
   int m_file = STDIN_FILENO;
   bool m_is_owned = false;
   std::uint64_t m_bytes = 0;
   std::array<char, longest_signature> m_head = {};
   std::size_t m_looked_at = 0;
};

/// What another input holds in compressed form.
class COMPRESSED_INPUT : public INPUT {
public:
   explicit COMPRESSED_INPUT(std::unique_ptr<PLAIN_INPUT> packed)
       : m_packed(std::move(packed)), m_block(input_block), m_archive(archive_read_new()) {
      archive_read_support_filter_all(m_archive);
      archive_read_support_format_raw(m_archive);
      archive_entry* entry = nullptr;
      if (archive_read_open(m_archive, this, nullptr, read_packed, nullptr) != ARCHIVE_OK ||
          archive_read_next_header(m_archive, &entry) != ARCHIVE_OK) {
         const std::string text = trouble();
         archive_read_free(m_archive);
         rethrow_read_error();
         throw CANNOT_UNPACK(text);
      }
   }
   ~COMPRESSED_INPUT() override { archive_read_free(m_archive); }
   COMPRESSED_INPUT(const COMPRESSED_INPUT&) = delete;
   COMPRESSED_INPUT& operator=(const COMPRESSED_INPUT&) = delete;

   std::size_t read(char* to, std::size_t size) override {
      const la_ssize_t count = archive_read_data(m_archive, to, size);
      if (count < 0) {
         rethrow_read_error();
         throw CANNOT_UNPACK(trouble());
      }
      return static_cast<std::size_t>(count);
   }
   bool is_packed() const override { return true; }

private:
   static la_ssize_t read_packed(archive* /*archive*/, void* self, const void** block) {
      auto* input = static_cast<COMPRESSED_INPUT*>(self);
      *block = input->m_block.data();
      try {
         return static_cast<la_ssize_t>(input->m_packed->read(input->m_block.data(), input->m_block.size()));
      } catch (const TOOL_ERROR&) {
         input->m_read_error = std::current_exception();
         archive_set_error(input->m_archive, EIO, "it cannot be read");
         return -1;
      }
   }

   void rethrow_read_error() const {
      if (m_read_error != nullptr) {
         std::rethrow_exception(m_read_error);
      }
   }

   std::string trouble() const {
      const char* text = archive_error_string(m_archive);
      return m_packed->name() + ": cannot be unpacked: " + (text == nullptr ? "it is damaged" : text);
   }

   std::unique_ptr<PLAIN_INPUT> m_packed;
   std::vector<char> m_block;
   archive* m_archive;
   std::exception_ptr m_read_error;
};

bool is_compressed(std::string_view head) {
   using namespace std::string_view_literals;
   constexpr std::array signatures = {"\x1f\x8b"sv, "\x28\xb5\x2f\xfd"sv, "\xfd\x37zXZ\0"sv, "BZh"sv,
                                      "\x04\x22\x4d\x18"sv};
   return std::any_of(signatures.begin(), signatures.end(),
                      [head](std::string_view signature) { return head.starts_with(signature); });
}

/// A part of a file that is read by everybody from its own place.
class COPY_INPUT : public INPUT {
public:
   explicit COPY_INPUT(int file) : m_file(file) {}
   std::size_t read(char* to, std::size_t size) override {
      const ssize_t count = ::pread(m_file, to, size, m_offset);
      if (count < 0) {
         throw TOOL_ERROR(STATUS::INPUT, system_error_text("temporary file"));
      }
      m_offset += count;
      return static_cast<std::size_t>(count);
   }

private:
   int m_file;
   off_t m_offset = 0;
};

void add_folder(const std::filesystem::path& folder, std::vector<std::string>& files) {
   std::vector<std::filesystem::path> found;
   std::error_code error;
   for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
        entry.increment(error)) {
      found.push_back(entry->path());
   }
   if (error) {
      // Whoever opens it is told why.
      files.push_back(folder.string());
   }
   std::sort(found.begin(), found.end());
   for (const std::filesystem::path& path : found) {
      // A link to a folder above would never end.
      if (std::filesystem::is_directory(std::filesystem::symlink_status(path, error))) {
         add_folder(path, files);
      } else if (std::filesystem::is_regular_file(path, error)) {
         files.push_back(path.string());
      }
   }
}

} // namespace

std::unique_ptr<INPUT> open_input(const std::string& path) {
   auto plain = std::make_unique<PLAIN_INPUT>(path);
   if (!is_compressed(plain->look())) {
      return plain;
   }
   return std::make_unique<COMPRESSED_INPUT>(std::move(plain));
}

bool is_plain_file(const std::string& path) {
   struct stat status = {};
   return path != "-" && ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

REREADABLE::REREADABLE(const std::string& path) : m_path(path) {
   if (!is_plain_file(path)) {
      keep(*open_input(path));
   }
}

REREADABLE::~REREADABLE() {
   if (m_copy >= 0) {
      ::close(m_copy);
   }
}

std::unique_ptr<INPUT> REREADABLE::open() const {
   if (m_copy < 0) {
      return open_input(m_path);
   }
   return std::make_unique<COPY_INPUT>(m_copy);
}

void REREADABLE::keep(INPUT& input) {
   std::error_code error;
   std::string name = (std::filesystem::temp_directory_path(error) / "logdb.XXXXXX").string();
   m_copy = ::mkostemp(name.data(), O_CLOEXEC);
   if (m_copy < 0) {
      throw TOOL_ERROR(STATUS::OUTPUT, system_error_text(name));
   }
   // It goes away with the process, however that ends.
   ::unlink(name.c_str());
   std::vector<char> block(input_block);
   for (std::size_t size = input.read(block.data(), block.size()); size != 0;
        size = input.read(block.data(), block.size())) {
      for (std::size_t written = 0; written < size;) {
         const ssize_t count = ::write(m_copy, block.data() + written, size - written);
         if (count < 0 && errno != EINTR) {
            throw TOOL_ERROR(STATUS::OUTPUT, system_error_text("temporary file"));
         }
         written += count < 0 ? 0 : static_cast<std::size_t>(count);
      }
   }
}

std::vector<std::string> expand_paths(const std::vector<std::string>& paths, bool recursive) {
   std::vector<std::string> files;
   for (const std::string& path : paths) {
      std::error_code error;
      if (recursive && path != "-" && std::filesystem::is_directory(path, error)) {
         add_folder(path, files);
      } else {
         files.push_back(path);
      }
   }
   return files;
}

std::string display_name(const std::string& path) {
   return path == "-" ? "(standard input)" : path;
}

bool INPUT_WINDOW::more() {
   make_room();
   const std::size_t count = m_input.read(m_buffer.get() + m_end, m_capacity - m_end);
   m_end += count;
   return count != 0;
}

void INPUT_WINDOW::make_room() {
   if (m_begin == m_end) {
      m_begin = m_end = 0;
   }
   if (m_capacity - m_end >= input_block / 2) {
      return;
   }
   if (m_capacity != 0 && m_begin >= m_capacity / 2) {
      std::memmove(m_buffer.get(), begin(), size());
   } else {
      const std::size_t capacity = std::max(2 * input_block, 2 * m_capacity);
      auto buffer = std::make_unique_for_overwrite<char[]>(capacity);
      if (size() != 0) {
         std::memcpy(buffer.get(), begin(), size());
      }
      m_buffer = std::move(buffer);
      m_capacity = capacity;
   }
   m_end = size();
   m_begin = 0;
}
