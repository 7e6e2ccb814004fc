#include "inputs.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

#include "contenders.h"
#include "generator.h"
#include "host_standalone.h"
#include "logdb.h"

namespace {

bool is_number(const std::string& name) {
   return !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
}

std::string database_path(const std::string& revision) {
   MEM_STRING path;
   LOGDB_DATABASE::make_db_filename(revision.c_str(), LOGDB_DB_TYPE_CMP, &path);
   return {path.data(), path.size()};
}

std::string data_directory() {
   const char* directory = std::getenv("LOGDB_BENCH_DATA");
   return directory == nullptr ? "" : directory;
}

/// Puts a given file, unpacked, where the benchmarks read it.
void copy_given(const std::string& name, const std::string& target) {
   const std::string source = data_directory() + "/" + name;
   if (std::filesystem::exists(source)) {
      std::filesystem::copy_file(source, target);
      return;
   }
   FILE* unpacked = ::popen(("gzip -dc '" + source + ".gz'").c_str(), "re");
   if (unpacked == nullptr) {
      throw std::runtime_error("cannot run gzip");
   }
   std::ofstream file(target, std::ios::binary);
   char block[1U << 16U];
   while (const std::size_t length = std::fread(block, 1, sizeof(block), unpacked)) {
      file.write(block, static_cast<std::streamsize>(length));
   }
   if (::pclose(unpacked) != 0 || !file) {
      throw std::runtime_error("cannot unpack " + source + ".gz");
   }
}

constexpr char DIRECTORY_NAME[] = "logdb_bench_"; // followed by the process

/// Removes what a run that was killed left behind: it may be gigabytes.
void remove_leftovers(const std::string& parent) {
   std::error_code ignored;
   for (const auto& entry : std::filesystem::directory_iterator(parent)) {
      const std::string name = entry.path().filename();
      const std::string process = name.substr(std::min(name.size(), std::strlen(DIRECTORY_NAME)));
      if (name.rfind(DIRECTORY_NAME, 0) == 0 && is_number(process) &&
          ::kill(static_cast<pid_t>(std::stol(process)), 0) != 0 && errno == ESRCH) {
         std::filesystem::remove_all(entry.path(), ignored);
      }
   }
}

class MAPPED_FILE {
public:
   explicit MAPPED_FILE(const std::string& path) : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
      if (m_file >= 0) {
         m_size = std::filesystem::file_size(path);
         m_text = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, m_file, 0);
      }
      if (m_file < 0 || m_text == MAP_FAILED) {
         throw std::runtime_error("cannot map " + path);
      }
   }
   ~MAPPED_FILE() {
      ::munmap(m_text, m_size);
      ::close(m_file);
   }
   MAPPED_FILE(const MAPPED_FILE&) = delete;
   MAPPED_FILE& operator=(const MAPPED_FILE&) = delete;

   const char* text() const { return static_cast<const char*>(m_text); }
   std::size_t size() const { return m_size; }

   bool is_cached() const {
      const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
      std::vector<unsigned char> pages((m_size + page - 1) / page);
      return ::mincore(m_text, m_size, pages.data()) != 0 ||
             std::any_of(pages.begin(), pages.end(), [](unsigned char state) { return (state & 1U) != 0; });
   }

private:
   int m_file;
   std::size_t m_size = 0;
   void* m_text = MAP_FAILED;
};

} // namespace

INPUTS::INPUTS() {
   const char* parent = std::getenv("TMPDIR");
   const std::string directory = parent == nullptr ? "/tmp" : parent;
   remove_leftovers(directory);
   m_directory = directory + "/" + DIRECTORY_NAME + std::to_string(::getpid());
   if (!std::filesystem::create_directory(m_directory)) {
      throw std::runtime_error("cannot make " + m_directory);
   }
   host_set_project_directory(m_directory.c_str());
}

INPUTS::~INPUTS() {
   std::error_code ignored;
   std::filesystem::remove_all(m_directory, ignored);
}

const DATABASE_INPUT& INPUTS::database(const std::string& name) {
   const auto found = m_databases.find(name);
   if (found != m_databases.end()) {
      return found->second;
   }
   DATABASE_INPUT input;
   input.m_path = database_path("entries_" + name);
   if (is_number(name)) {
      generate_database_file(input.m_path, std::stoul(name));
   } else {
      copy_given(name + ".logdb", input.m_path);
   }
   input.m_partition_sum = sum_of_rows(input.m_path, BENCH_PARTITION_ROOT, input.m_entries);
   input.m_sum = sum_of_rows(input.m_path, nullptr, input.m_entries);
   return m_databases.emplace(name, input).first->second;
}

const LOG_INPUT& INPUTS::log(const std::string& name) {
   const auto found = m_logs.find(name);
   if (found != m_logs.end()) {
      return found->second;
   }
   LOG_INPUT input;
   input.m_path = m_directory + "/records_" + name + ".fsyn";
   if (is_number(name)) {
      generate_log_file(input.m_path, std::stoul(name));
   } else {
      copy_given(name + ".fsyn", input.m_path);
   }
   input.m_sum = sum_of_lines(input.m_path, input.m_records);
   return m_logs.emplace(name, input).first->second;
}

std::vector<std::string> INPUTS::given(const std::string& suffix) {
   std::vector<std::string> names;
   if (data_directory().empty()) {
      return names;
   }
   for (const auto& file : std::filesystem::directory_iterator(data_directory())) {
      const std::string name = file.path().filename();
      const std::string stem = name.substr(0, name.find('.'));
      if (name == stem + suffix || name == stem + suffix + ".gz") {
         names.push_back(stem);
      }
   }
   std::sort(names.begin(), names.end());
   names.erase(std::unique(names.begin(), names.end()), names.end());
   return names;
}

std::string INPUTS::database_output() const {
   return database_path("output");
}

std::string INPUTS::log_output() const {
   return m_directory + "/output.fsyn";
}

bool drop_from_page_cache(const std::string& path) {
   const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
   if (file < 0) {
      throw std::runtime_error("cannot open " + path);
   }
   ::fsync(file); // pages that are not on disk yet are not dropped
   ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
   ::close(file);
   return !MAPPED_FILE(path).is_cached();
}

std::string file_system_of(const std::string& directory) {
   static const std::map<unsigned long, const char*> names = {
       {0xef53, "ext4"},      {0x01021994, "tmpfs"},   {0x58465342, "xfs"},
       {0x9123683e, "btrfs"}, {0x794c7630, "overlay"},
   };
   struct statfs status = {};
   if (::statfs(directory.c_str(), &status) != 0) {
      return "unknown";
   }
   const auto found = names.find(static_cast<unsigned long>(status.f_type));
   return found == names.end() ? "unknown" : found->second;
}

bool holds(const std::string& path, const std::string& text, int rounds) {
   const MAPPED_FILE file(path);
   if (file.size() != text.size() * static_cast<std::size_t>(rounds)) {
      return false;
   }
   for (std::size_t at = 0; at < file.size(); at += text.size()) {
      if (std::memcmp(file.text() + at, text.data(), text.size()) != 0) {
         return false;
      }
   }
   return true;
}

bool same_bytes(const std::string& path, const std::string& expected) {
   const MAPPED_FILE left(path);
   const MAPPED_FILE right(expected);
   return left.size() == right.size() && std::memcmp(left.text(), right.text(), left.size()) == 0;
}
