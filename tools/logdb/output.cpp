#include "output.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include "progress.h"
#include "status.h"
#include "text.h"

namespace {

constexpr std::size_t output_block = std::size_t{1} << 16U;

/// Whether bytes went to where they stay, whatever becomes of the command.
bool a_part_is_out = false;

void write_all(int file, std::string_view bytes, const std::string& name) {
   while (!bytes.empty()) {
      const ssize_t written = ::write(file, bytes.data(), bytes.size());
      if (written < 0 && errno == EINTR) {
         continue;
      }
      if (written < 0 && errno == EPIPE) {
         throw CLOSED_PIPE();
      }
      if (written < 0) {
         throw TOOL_ERROR(STATUS::OUTPUT, system_error_text(name));
      }
      bytes.remove_prefix(static_cast<std::size_t>(written));
   }
}

const char* colour_code(STYLE style) {
   switch (style) {
   case STYLE::KIND:
      return "\x1b[1;36m";
   case STYLE::LABEL:
      return "\x1b[33m";
   case STYLE::NODE:
      return "\x1b[32m";
   case STYLE::FAINT:
      return "\x1b[2m";
   case STYLE::GOOD:
      return "\x1b[32m";
   case STYLE::BAD:
      return "\x1b[1;31m";
   case STYLE::WARNING:
      return "\x1b[1;33m";
   case STYLE::MATCH:
      return "\x1b[1;31m";
   case STYLE::BOLD:
      break;
   }
   return "\x1b[1m";
}

bool environment_allows_colour() {
   const char* no_colour = std::getenv("NO_COLOR");
   const char* terminal = std::getenv("TERM");
   return (no_colour == nullptr || *no_colour == '\0') &&
          (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

/// Hands over what is written in blocks.
class BLOCK_SINK : public SINK {
public:
   void write(std::string_view bytes) override {
      m_buffer += bytes;
      if (m_buffer.size() >= output_block) {
         finish();
      }
   }
   void finish() override {
      hand_over(m_buffer);
      m_buffer.clear();
   }
   void close() override { finish(); }

private:
   virtual void hand_over(const std::string& bytes) = 0;

   std::string m_buffer;
};

/// Lines of a log as a terminal may be given them.
std::string lines_for_terminal(std::string_view bytes) {
   std::string lines;
   while (!bytes.empty()) {
      const std::size_t size = std::min(bytes.find('\n'), bytes.size());
      lines += escaped_for_terminal(bytes.substr(0, size));
      lines += size < bytes.size() ? "\n" : "";
      bytes.remove_prefix(std::min(size + 1, bytes.size()));
   }
   return lines;
}

/// Standard output as a sink. What goes to a terminal is looked at and not kept, so names are shown as in every other
/// output.
class STANDARD_SINK : public BLOCK_SINK {
   void hand_over(const std::string& bytes) override {
      a_part_is_out = a_part_is_out || !bytes.empty();
      if (!bytes.empty() && ::isatty(STDOUT_FILENO) == 1) {
         PROGRESS::silence();
         write_all(STDOUT_FILENO, lines_for_terminal(bytes), "standard output");
      } else {
         write_all(STDOUT_FILENO, bytes, "standard output");
      }
   }
};

/// A pipe or a device: it has its name already and keeps it.
class DIRECT_SINK : public BLOCK_SINK {
public:
   explicit DIRECT_SINK(std::string path)
       : m_path(std::move(path)), m_file(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC)) {
      if (m_file < 0) {
         throw TOOL_ERROR(STATUS::OUTPUT, system_error_text(m_path));
      }
   }
   ~DIRECT_SINK() override { ::close(m_file); }
   DIRECT_SINK(const DIRECT_SINK&) = delete;
   DIRECT_SINK& operator=(const DIRECT_SINK&) = delete;

private:
   void hand_over(const std::string& bytes) override {
      a_part_is_out = a_part_is_out || !bytes.empty();
      write_all(m_file, bytes, m_path);
   }

   std::string m_path;
   int m_file;
};

/// The names of temporary files that are there now. A signal that ends the process takes them away.
class TEMPORARY_FILE {
public:
   explicit TEMPORARY_FILE(const std::filesystem::path& path) {
      // The longest name that a file may have leaves no room for an ending.
      constexpr std::size_t longest_beginning = 200;
      const std::string beginning = path.filename().string().substr(0, longest_beginning);
      m_path = (path.parent_path() / (beginning + ".XXXXXX")).string();
      watch_signals();
      const SIGNALS_HELD held;
      m_file = ::mkostemp(m_path.data(), O_CLOEXEC);
      if (m_file >= 0) {
         m_next = m_first;
         m_first = this;
      }
   }
   ~TEMPORARY_FILE() {
      if (m_file >= 0) {
         ::close(m_file);
      }
      const SIGNALS_HELD held;
      if (forget()) {
         ::unlink(m_path.c_str());
      }
   }
   TEMPORARY_FILE(const TEMPORARY_FILE&) = delete;
   TEMPORARY_FILE& operator=(const TEMPORARY_FILE&) = delete;

   int file() const { return m_file; }
   bool close() { return ::close(std::exchange(m_file, -1)) == 0; }

   bool rename_to(const std::string& path) {
      const SIGNALS_HELD held;
      return ::rename(m_path.c_str(), path.c_str()) == 0 && forget();
   }

private:
   static constexpr std::array ending_signals = {SIGHUP, SIGINT, SIGTERM};

   class SIGNALS_HELD {
   public:
      SIGNALS_HELD() {
         sigset_t signals;
         ::sigemptyset(&signals);
         for (const int signal : ending_signals) {
            ::sigaddset(&signals, signal);
         }
         ::sigprocmask(SIG_BLOCK, &signals, &m_before);
      }
      ~SIGNALS_HELD() { ::sigprocmask(SIG_SETMASK, &m_before, nullptr); }
      SIGNALS_HELD(const SIGNALS_HELD&) = delete;
      SIGNALS_HELD& operator=(const SIGNALS_HELD&) = delete;

   private:
      sigset_t m_before = {};
   };

   static void watch_signals() {
      static const bool is_watched = [] {
         for (const int signal : ending_signals) {
            struct sigaction before = {};
            // What a parent made us ignore stays ignored.
            if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL) {
               struct sigaction action = {};
               action.sa_handler = remove_all;
               action.sa_flags = static_cast<int>(SA_RESETHAND);
               ::sigaction(signal, &action, nullptr);
            }
         }
         return true;
      }();
      static_cast<void>(is_watched);
   }

   static void remove_all(int signal) {
      for (const TEMPORARY_FILE* file = m_first; file != nullptr; file = file->m_next) {
         ::unlink(file->m_path.c_str());
      }
      ::raise(signal);
   }

   bool forget() {
      TEMPORARY_FILE** place = &m_first;
      while (*place != nullptr && *place != this) {
         place = &(*place)->m_next;
      }
      const bool is_known = *place == this;
      if (is_known) {
         *place = m_next;
      }
      return is_known;
   }

   std::string m_path;
   int m_file = -1;
   TEMPORARY_FILE* m_next = nullptr;
   static TEMPORARY_FILE* m_first;
};

TEMPORARY_FILE* TEMPORARY_FILE::m_first = nullptr;

/// A file under a temporary name beside its place.
class FILE_SINK : public SINK {
public:
   explicit FILE_SINK(std::string path)
       : m_path(std::move(path)), m_folder(std::filesystem::path(m_path).parent_path().string()),
         m_temporary(m_path) {
      check(m_temporary.file() >= 0);
   }

   void write(std::string_view bytes) override {
      m_buffer += bytes;
      if (m_buffer.size() >= output_block) {
         flush();
      }
   }

   void finish() override {
      if (m_temporary.file() >= 0) {
         flush();
         take_over_mode();
         check(::fsync(m_temporary.file()) == 0);
         check(m_temporary.close());
      }
   }

   void close() override {
      finish();
      check(m_temporary.rename_to(m_path));
      sync_folder();
   }

private:
   void flush() {
      write_all(m_temporary.file(), m_buffer, m_path);
      m_buffer.clear();
   }

   void check(bool succeeded) const {
      if (!succeeded) {
         throw TOOL_ERROR(STATUS::OUTPUT, system_error_text(m_path));
      }
   }

   // A file that was there keeps its permissions, and its owner and group where the process may give files away; a new
   // one gets what the process gives to all its files. Nobody gains a right to run as another, nor a new group what the
   // old one had.
   void take_over_mode() const {
      struct stat status = {};
      mode_t mode = 0;
      if (::stat(m_path.c_str(), &status) == 0) {
         mode = status.st_mode & 0777U;
         if (::fchown(m_temporary.file(), status.st_uid, status.st_gid) != 0 &&
             ::fchown(m_temporary.file(), static_cast<uid_t>(-1), status.st_gid) != 0) {
            mode &= 0707U | (mode & 07U) << 3U;
         }
      } else {
         const mode_t mask = ::umask(0);
         ::umask(mask);
         mode = 0666U & ~mask;
      }
      check(::fchmod(m_temporary.file(), mode) == 0);
   }

   // The new name is on the disk only when the folder is. There is no way back any more, so nothing here may fail.
   void sync_folder() const {
      const int file = ::open(m_folder.empty() ? "." : m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      if (file >= 0) {
         ::fsync(file);
         ::close(file);
      }
   }

   std::string m_path;
   std::string m_folder;
   std::string m_buffer;
   TEMPORARY_FILE m_temporary;
};

class GZIP_SINK : public SINK {
public:
   explicit GZIP_SINK(std::unique_ptr<SINK> next) : m_next(std::move(next)) {
      // 16 asks for the gzip frame, whose time stays 0: the same input gives the same bytes.
      constexpr int window_bits = 15 + 16;
      if (deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, window_bits, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
         throw TOOL_ERROR(STATUS::INTERNAL, "the compressor does not start");
      }
   }
   ~GZIP_SINK() override { deflateEnd(&m_stream); }
   GZIP_SINK(const GZIP_SINK&) = delete;
   GZIP_SINK& operator=(const GZIP_SINK&) = delete;

   void write(std::string_view bytes) override {
      m_pending += bytes;
      if (m_pending.size() >= output_block) {
         compress(Z_NO_FLUSH);
      }
   }
   void finish() override {
      if (!std::exchange(m_is_finished, true)) {
         compress(Z_FINISH);
         m_next->finish();
      }
   }
   void close() override {
      finish();
      m_next->close();
   }

private:
   void compress(int flush) {
      m_stream.next_in = reinterpret_cast<Bytef*>(m_pending.data());
      m_stream.avail_in = static_cast<uInt>(m_pending.size());
      do {
         m_stream.next_out = reinterpret_cast<Bytef*>(m_block.data());
         m_stream.avail_out = static_cast<uInt>(m_block.size());
         deflate(&m_stream, flush);
         m_next->write({m_block.data(), m_block.size() - m_stream.avail_out});
      } while (m_stream.avail_out == 0);
      m_pending.clear();
   }

   std::unique_ptr<SINK> m_next;
   z_stream m_stream = {};
   bool m_is_finished = false;
   std::string m_pending;
   std::string m_block = std::string(output_block, '\0');
};

class ZSTD_SINK : public SINK {
public:
   explicit ZSTD_SINK(std::unique_ptr<SINK> next) : m_next(std::move(next)), m_context(ZSTD_createCCtx()) {
      if (m_context == nullptr) {
         throw TOOL_ERROR(STATUS::INTERNAL, "the compressor does not start");
      }
   }
   ~ZSTD_SINK() override { ZSTD_freeCCtx(m_context); }
   ZSTD_SINK(const ZSTD_SINK&) = delete;
   ZSTD_SINK& operator=(const ZSTD_SINK&) = delete;

   void write(std::string_view bytes) override { compress(bytes, ZSTD_e_continue); }
   void finish() override {
      if (!std::exchange(m_is_finished, true)) {
         compress({}, ZSTD_e_end);
         m_next->finish();
      }
   }
   void close() override {
      finish();
      m_next->close();
   }

private:
   void compress(std::string_view bytes, ZSTD_EndDirective directive) {
      ZSTD_inBuffer in = {bytes.data(), bytes.size(), 0};
      bool finished = false;
      while (!finished) {
         ZSTD_outBuffer out = {m_block.data(), m_block.size(), 0};
         const std::size_t left = ZSTD_compressStream2(m_context, &out, &in, directive);
         if (ZSTD_isError(left) != 0U) {
            throw TOOL_ERROR(STATUS::INTERNAL, "the compressor fails");
         }
         m_next->write({m_block.data(), out.pos});
         finished = directive == ZSTD_e_end ? left == 0 : in.pos == in.size;
      }
   }

   std::unique_ptr<SINK> m_next;
   bool m_is_finished = false;
   ZSTD_CCtx* m_context;
   std::string m_block = std::string(output_block, '\0');
};

} // namespace

std::string system_error_text(const std::string& name) {
   return name + ": " + std::strerror(errno);
}

bool is_same_file(const std::string& output, const std::string& input) {
   struct stat output_status = {};
   struct stat input_status = {};
   const int found = input == "-" ? ::fstat(STDIN_FILENO, &input_status) : ::stat(input.c_str(), &input_status);
   // A terminal, and whatever else standard input may be, is not replaced.
   return found == 0 && output != "-" && ::stat(output.c_str(), &output_status) == 0 &&
          (input != "-" || S_ISREG(input_status.st_mode)) && output_status.st_dev == input_status.st_dev &&
          output_status.st_ino == input_status.st_ino;
}

OUTPUT::OUTPUT(COLOUR_CHOICE choice)
    : m_is_terminal(::isatty(STDOUT_FILENO) == 1),
      m_has_colour(choice == COLOUR_CHOICE::ALWAYS ||
                   (choice == COLOUR_CHOICE::AUTO && m_is_terminal && environment_allows_colour())) {
   m_limit = m_is_terminal ? 1 << 12U : output_block;
   winsize size = {};
   if (m_is_terminal && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 20) {
      m_width = size.ws_col;
   }
}

void OUTPUT::data(std::string_view text) {
   if (m_is_terminal) {
      *this << escaped_for_terminal(text);
   } else {
      *this << text;
   }
}

void OUTPUT::styled(STYLE style, std::string_view text) {
   if (m_has_colour) {
      *this << colour_code(style);
   }
   data(text);
   if (m_has_colour) {
      *this << "\x1b[0m";
   }
}

std::string OUTPUT::painted(STYLE style, std::string_view text) const {
   return m_has_colour ? colour_code(style) + std::string(text) + "\x1b[0m" : std::string(text);
}

void OUTPUT::flush() {
   if (m_is_terminal && !m_buffer.empty()) {
      PROGRESS::silence();
   }
   // What a write fails on must not be tried again at the end.
   const std::string bytes = std::exchange(m_buffer, {});
   write_all(STDOUT_FILENO, bytes, "standard output");
}

namespace {

/// A link stays a link; what it points to is replaced, or made where it is not there.
std::string behind_links(const std::string& path) {
   constexpr int most_links = 40; // as many as the system follows
   std::filesystem::path target = path;
   std::error_code error;
   for (int links = 0; links < most_links && std::filesystem::is_symlink(target, error); ++links) {
      const std::filesystem::path next = std::filesystem::read_symlink(target, error);
      target = next.is_absolute() ? next : target.parent_path() / next;
   }
   return target.string();
}

std::unique_ptr<SINK> open_plain_sink(const std::string& path) {
   if (path == "/dev/stdout") {
      return std::make_unique<STANDARD_SINK>();
   }
   struct stat status = {};
   const bool is_there = ::stat(path.c_str(), &status) == 0;
   // Where the system itself does not follow a link, such as one that somebody else left in a folder for everybody, we
   // do not either.
   if (!is_there && errno != ENOENT) {
      throw TOOL_ERROR(STATUS::OUTPUT, system_error_text(path));
   }
   if (is_there && S_ISDIR(status.st_mode)) {
      throw TOOL_ERROR(STATUS::OUTPUT, path + ": is a folder");
   }
   // A descriptor of somebody else has no name of its own, whatever is behind it.
   const bool is_descriptor = path.starts_with("/dev/fd/") || path.starts_with("/proc/self/fd/");
   if (is_there && (is_descriptor || !S_ISREG(status.st_mode))) {
      return std::make_unique<DIRECT_SINK>(path);
   }
   return std::make_unique<FILE_SINK>(behind_links(path));
}

} // namespace

const char* output_is_lost() {
   return a_part_is_out ? "What was written is not whole" : "Nothing was written";
}

std::unique_ptr<SINK> open_sink(const std::string& path, const std::vector<std::string>& inputs, bool in_place) {
   if (path == "-") {
      return std::make_unique<STANDARD_SINK>();
   }
   for (const std::string& input : inputs) {
      if (!in_place && is_same_file(path, input)) {
         throw TOOL_ERROR(STATUS::USAGE, path + ": is an input; say --in-place to replace it");
      }
   }
   for (const char* ending : {".xz", ".bz2", ".lz4"}) {
      if (path.ends_with(ending)) {
         throw TOOL_ERROR(STATUS::USAGE, path + ": what is written is compressed as .gz or .zst only");
      }
   }
   std::unique_ptr<SINK> sink = open_plain_sink(path);
   if (path.ends_with(".gz")) {
      return std::make_unique<GZIP_SINK>(std::move(sink));
   }
   if (path.ends_with(".zst")) {
      return std::make_unique<ZSTD_SINK>(std::move(sink));
   }
   return sink;
}
