#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fio.h"

using ::testing::ElementsAre;
using ::testing::ExitedWithCode;

// A faulty system: these stand in front of the C library's, in this program and in the libraries that it loads.

namespace {

struct FAULTS {
   bool m_active = false;
   int m_calls = 0;
   int m_failing_call = 0;        ///< the number, from 1, of the call that fails
   bool m_old_system = false;     ///< neither copies between files nor knows a rename that replaces nothing
   std::size_t m_most = SIZE_MAX; ///< bytes that one read or write takes
   bool m_interrupted = false;    ///< every other read and write is interrupted
};

FAULTS faults;

bool fails() {
   if (!faults.m_active || ++faults.m_calls != faults.m_failing_call) {
      return false;
   }
   errno = EIO;
   return true;
}

bool fails_on_an_old_system(int error) {
   if (faults.m_active && faults.m_old_system) {
      errno = error;
      return true;
   }
   return fails();
}

bool is_interrupted() {
   if (faults.m_active && faults.m_interrupted && ++faults.m_calls % 2 == 0) {
      errno = EINTR;
      return true;
   }
   return fails();
}

std::size_t granted(std::size_t size) {
   return faults.m_active ? std::min(size, faults.m_most) : size;
}

} // namespace

// The C library's own parameter names are reserved.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
#define IN_FRONT extern "C" __attribute__((visibility("default")))

IN_FRONT ssize_t read(int file, void* bytes, std::size_t size) {
   return is_interrupted() ? -1 : ::syscall(SYS_read, file, bytes, granted(size));
}

IN_FRONT ssize_t write(int file, const void* bytes, std::size_t size) {
   return is_interrupted() ? -1 : ::syscall(SYS_write, file, bytes, granted(size));
}

IN_FRONT int close(int file) {
   const bool failed = fails();
   const auto result = static_cast<int>(::syscall(SYS_close, file)); // a close that fails closes all the same
   errno = failed ? EIO : errno;
   return failed ? -1 : result;
}

IN_FRONT ssize_t copy_file_range(int from, off64_t* from_place, int to, off64_t* to_place, std::size_t size,
                                 unsigned int flags) {
   return fails_on_an_old_system(ENOSYS)
              ? -1
              : ::syscall(SYS_copy_file_range, from, from_place, to, to_place, granted(size), flags);
}

IN_FRONT int fchmod(int file, mode_t mode) noexcept {
   return fails() ? -1 : static_cast<int>(::syscall(SYS_fchmod, file, mode));
}

IN_FRONT int futimens(int file, const timespec times[2]) noexcept {
   return fails() ? -1 : static_cast<int>(::syscall(SYS_utimensat, file, nullptr, times, 0));
}

IN_FRONT int rename(const char* from, const char* to) noexcept {
   return fails() ? -1 : static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

IN_FRONT int renameat2(int from_folder, const char* from, int to_folder, const char* to,
                       unsigned int flags) noexcept {
   return fails_on_an_old_system(EINVAL)
              ? -1
              : static_cast<int>(::syscall(SYS_renameat2, from_folder, from, to_folder, to, flags));
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

namespace {

constexpr uid_t nobody = 65534;

bool limit_resource(int resource, rlim_t most) {
   const rlimit limit = {most, most};
   return ::setrlimit(resource, &limit) == 0;
}

MEM_STRING bytes_of(const std::string& text) {
   return {text.data(), text.size()};
}

/// A folder of its own, real files. umask is such that permissions cannot come out right by chance.
class HOST_FIO : public ::testing::Test {
protected:
   HOST_FIO() : m_old_umask(::umask(077)) {
      testing::FLAGS_gtest_death_test_style = "fast"; // a child that goes on in this very folder
      std::string pattern = (std::filesystem::temp_directory_path() / "host_fio_test_XXXXXX").string();
      if (::mkdtemp(pattern.data()) == nullptr) {
         ADD_FAILURE() << "no folder for the test: " << pattern;
      }
      m_folder = pattern;
   }

   void TearDown() override {
      ::umask(m_old_umask);
      std::error_code ignored;
      std::filesystem::permissions(m_folder, std::filesystem::perms::owner_all, ignored);
      std::filesystem::remove_all(m_folder, ignored);
   }

   std::string path(const std::string& name) const { return (m_folder / name).string(); }

   void write(const std::string& name, const std::string& contents) const {
      std::ofstream file(path(name), std::ios::binary);
      file << contents;
      file.close();
      EXPECT_TRUE(file.good());
   }

   std::string read(const std::string& name) const { return read_path(path(name)); }

   static std::string read_path(const std::string& path) {
      std::ifstream file(path, std::ios::binary);
      EXPECT_TRUE(file.is_open()) << path;
      return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
   }

   bool copy(const std::string& from, const std::string& to, bool overwrite = true,
             bool keep_times = false) const {
      return FIO_FILE_SYSTEM::copy(bytes_of(path(from)), bytes_of(path(to)), overwrite, keep_times);
   }

   bool remove(const std::string& name) const { return FIO_FILE_SYSTEM::remove_if_exists(bytes_of(path(name))); }

   bool exists(const std::string& name) const { return FIO_FILE_SYSTEM::exists(path(name).c_str()); }

   /// The names in the folder, in order: shows that nothing else was left there.
   std::vector<std::string> names() const {
      std::vector<std::string> all;
      for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
         all.push_back(entry.path().filename().string());
      }
      std::sort(all.begin(), all.end());
      return all;
   }

   struct stat status(const std::string& name) const {
      struct stat result = {};
      EXPECT_EQ(::lstat(path(name).c_str(), &result), 0) << name;
      return result;
   }

   /// In a child process: gives up the rights of the superuser, for whom permissions do not count.
   void become_an_ordinary_user() const {
      if (::geteuid() == 0 && (::chown(m_folder.c_str(), nobody, nobody) != 0 || ::setuid(nobody) != 0)) {
         std::_Exit(99);
      }
   }

   std::filesystem::path m_folder;

private:
   mode_t m_old_umask;
};

using HOST_FIO_DEATH_TEST = HOST_FIO;

} // namespace

// ---- exists

TEST_F(HOST_FIO, a_file_a_directory_and_anything_else_exist) {
   write("file", "");
   std::filesystem::create_directory(m_folder / "directory");
   ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
   EXPECT_TRUE(exists("file"));
   EXPECT_TRUE(exists("directory"));
   EXPECT_TRUE(exists("pipe"));
   EXPECT_TRUE(FIO_FILE_SYSTEM::exists("/dev/null"));
}

TEST_F(HOST_FIO, nothing_null_and_the_empty_path_do_not_exist) {
   write("file", "");
   EXPECT_FALSE(exists("other"));
   EXPECT_FALSE(exists("file/below"));
   EXPECT_FALSE(exists("no_directory/file"));
   EXPECT_FALSE(FIO_FILE_SYSTEM::exists(nullptr));
   EXPECT_FALSE(FIO_FILE_SYSTEM::exists(""));
}

TEST_F(HOST_FIO, a_symbolic_link_exists_as_what_it_leads_to) {
   write("file", "");
   std::filesystem::create_symlink("file", m_folder / "link");
   std::filesystem::create_symlink("nothing", m_folder / "loose_link");
   EXPECT_TRUE(exists("link"));
   EXPECT_FALSE(exists("loose_link"));
}

TEST_F(HOST_FIO, a_relative_path_starts_at_the_working_directory) {
   write("file", "contents");
   const std::filesystem::path old_directory = std::filesystem::current_path();
   std::filesystem::current_path(m_folder);
   EXPECT_TRUE(FIO_FILE_SYSTEM::exists("file"));
   EXPECT_TRUE(FIO_FILE_SYSTEM::copy("file", "copy", false, false));
   EXPECT_TRUE(FIO_FILE_SYSTEM::remove_if_exists("file"));
   std::filesystem::current_path(old_directory);
   EXPECT_THAT(names(), ElementsAre("copy"));
   EXPECT_EQ(read("copy"), "contents");
}

// ---- copy: contents and permissions

TEST_F(HOST_FIO, a_copy_has_the_bytes_of_the_source_and_the_source_stays) {
   std::string contents = "v1\nREGISTER_PACKING,";
   contents += std::string("\0\xff\r\n", 4);
   write("from", contents);
   EXPECT_TRUE(copy("from", "to"));
   EXPECT_EQ(read("to"), contents);
   EXPECT_EQ(read("from"), contents);
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO, files_of_all_sizes_are_copied_whole) {
   for (const std::size_t size : {0U, 1U, 4095U, 4096U, 65535U, 65536U, 65537U, 131072U, 3000001U}) {
      std::string contents(size, '\0');
      unsigned int state = 1;
      for (char& byte : contents) {
         state = state * 1664525U + 1013904223U;
         byte = static_cast<char>(state >> 24U);
      }
      write("from", contents);
      EXPECT_TRUE(copy("from", "to")) << size;
      EXPECT_TRUE(read("to") == contents) << size;
   }
}

TEST_F(HOST_FIO, a_file_whose_size_the_system_does_not_know_beforehand_is_copied) {
   ASSERT_EQ(std::filesystem::file_size("/proc/version"), 0U);
   EXPECT_TRUE(FIO_FILE_SYSTEM::copy("/proc/version", bytes_of(path("to")), true, false));
   EXPECT_EQ(read("to"), read_path("/proc/version"));
   EXPECT_FALSE(read("to").empty());
}

TEST_F(HOST_FIO, a_copy_has_the_permissions_of_the_source_whatever_the_umask) {
   for (const mode_t permissions : {0600U, 0644U, 0444U, 0400U, 0777U, 0755U}) {
      write("from", "contents");
      ASSERT_EQ(::chmod(path("from").c_str(), permissions), 0);
      EXPECT_TRUE(copy("from", "to"));
      EXPECT_EQ(status("to").st_mode & 07777U, permissions);
      EXPECT_TRUE(remove("from"));
   }
}

TEST_F(HOST_FIO, what_gives_rights_of_another_user_is_not_copied) {
   write("from", "contents");
   ASSERT_EQ(::chmod(path("from").c_str(), 06755), 0);
   EXPECT_TRUE(copy("from", "to"));
   EXPECT_EQ(status("to").st_mode & 07777U, 0755U);
}

TEST_F(HOST_FIO, names_as_long_as_names_may_be_are_copied) {
   const std::string from(255, 'f');
   const std::string to(255, 't');
   write(from, "contents");
   EXPECT_TRUE(copy(from, to));
   EXPECT_EQ(read(to), "contents");
}

// ---- copy: an existing target

TEST_F(HOST_FIO, with_overwrite_an_existing_target_is_replaced) {
   write("from", "new");
   write("to", "old and longer");
   EXPECT_TRUE(copy("from", "to", true));
   EXPECT_EQ(read("to"), "new");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO, whoever_has_the_old_target_open_keeps_seeing_it_whole) {
   write("from", "new");
   write("to", "old");
   std::ifstream old_target(path("to"));
   EXPECT_TRUE(copy("from", "to", true));
   std::string seen;
   EXPECT_TRUE(std::getline(old_target, seen));
   EXPECT_EQ(seen, "old");
}

TEST_F(HOST_FIO, a_target_that_may_not_be_written_is_replaced_all_the_same) {
   write("from", "new");
   write("to", "old");
   ASSERT_EQ(::chmod(path("to").c_str(), 0400), 0);
   EXPECT_TRUE(copy("from", "to", true));
   EXPECT_EQ(read("to"), "new");
}

TEST_F(HOST_FIO, without_overwrite_an_existing_target_stays_as_it_is) {
   write("from", "new");
   write("to", "old");
   EXPECT_FALSE(copy("from", "to", false));
   EXPECT_EQ(read("to"), "old");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO, without_overwrite_a_link_that_leads_nowhere_is_an_existing_target) {
   write("from", "new");
   std::filesystem::create_symlink("nothing", m_folder / "to");
   EXPECT_FALSE(copy("from", "to", false));
   EXPECT_THAT(names(), ElementsAre("from", "to"));
   EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "to"));
}

TEST_F(HOST_FIO, without_overwrite_a_new_target_is_made) {
   write("from", "new");
   EXPECT_TRUE(copy("from", "to", false));
   EXPECT_EQ(read("to"), "new");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO, of_many_processes_that_copy_without_overwrite_one_succeeds) {
   constexpr int processes = 4;
   constexpr int rounds = 50;
   for (int process = 0; process < processes; ++process) {
      write("from" + std::to_string(process), std::string(20000, static_cast<char>('a' + process)));
   }
   for (int round = 0; round < rounds; ++round) {
      std::array<int, 2> start = {};
      ASSERT_EQ(::pipe(start.data()), 0);
      std::vector<pid_t> children;
      for (int process = 0; process < processes; ++process) {
         const pid_t child = ::fork();
         ASSERT_GE(child, 0);
         if (child == 0) {
            char byte = 0;
            ::close(start[1]);
            const bool all_are_there = ::read(start[0], &byte, 1) == 0;
            const bool copied = copy("from" + std::to_string(process), "to" + std::to_string(round), false);
            ::_exit(!all_are_there ? 2 : copied ? 0 : 1);
         }
         children.push_back(child);
      }
      ::close(start[0]);
      ::close(start[1]); // they are off
      std::vector<int> winners;
      for (int process = 0; process < processes; ++process) {
         int result = 0;
         ASSERT_EQ(::waitpid(children[static_cast<std::size_t>(process)], &result, 0),
                   children[static_cast<std::size_t>(process)]);
         ASSERT_TRUE(WIFEXITED(result) && WEXITSTATUS(result) < 2);
         if (WEXITSTATUS(result) == 0) {
            winners.push_back(process);
         }
      }
      ASSERT_EQ(winners.size(), 1U);
      EXPECT_EQ(read("to" + std::to_string(round)), read("from" + std::to_string(winners[0])));
   }
   EXPECT_EQ(names().size(), static_cast<std::size_t>(processes + rounds));
}

TEST_F(HOST_FIO, whoever_opens_the_target_meanwhile_sees_an_old_file_or_a_new_one) {
   const std::string a(50000, 'a');
   const std::string b(70000, 'b');
   write("a", a);
   write("b", b);
   ASSERT_TRUE(copy("a", "to"));
   // The child copies until both have been seen many times; however busy the machine is, there is something to see.
   int stop[2] = {};
   ASSERT_EQ(::pipe2(stop, O_NONBLOCK), 0);
   const pid_t child = ::fork();
   ASSERT_GE(child, 0);
   if (child == 0) {
      ::close(stop[1]);
      char byte = 0;
      for (int round = 0; ::read(stop[0], &byte, 1) < 0; ++round) {
         if (!copy(round % 2 == 0 ? "b" : "a", "to")) {
            ::_exit(1);
         }
      }
      ::_exit(0);
   }
   ::close(stop[0]);
   int seen_a = 0;
   int seen_b = 0;
   int seen_other = 0;
   while (seen_other == 0 && (seen_a < 50 || seen_b < 50) && ::waitpid(child, nullptr, WNOHANG) == 0) {
      const std::string seen = read("to");
      ++(seen == a ? seen_a : seen == b ? seen_b : seen_other);
   }
   ::close(stop[1]);
   int result = 0;
   ASSERT_EQ(::waitpid(child, &result, 0), child);
   EXPECT_TRUE(WIFEXITED(result) && WEXITSTATUS(result) == 0);
   EXPECT_EQ(seen_other, 0);
   EXPECT_GE(seen_a, 50);
   EXPECT_GE(seen_b, 50);
}

// ---- copy: source and target the same

TEST_F(HOST_FIO, a_file_copied_onto_itself_stays) {
   write("file", "contents");
   EXPECT_TRUE(copy("file", "file", true, false));
   EXPECT_TRUE(copy("file", "file", true, true));
   EXPECT_EQ(read("file"), "contents");
   EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(HOST_FIO, a_file_copied_onto_itself_without_overwrite_fails_and_stays) {
   write("file", "contents");
   EXPECT_FALSE(copy("file", "file", false));
   EXPECT_EQ(read("file"), "contents");
}

TEST_F(HOST_FIO, a_file_copied_onto_another_name_of_itself_keeps_both_names) {
   write("file", "contents");
   std::filesystem::create_hard_link(m_folder / "file", m_folder / "hard");
   std::filesystem::create_symlink("file", m_folder / "soft");
   for (const char* to : {"hard", "soft"}) {
      EXPECT_TRUE(copy("file", to));
      EXPECT_TRUE(copy(to, "file"));
   }
   EXPECT_EQ(status("file").st_nlink, 2U);
   EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "soft"));
   EXPECT_EQ(read("file"), "contents");
   EXPECT_THAT(names(), ElementsAre("file", "hard", "soft"));
}

// ---- copy: symbolic links

TEST_F(HOST_FIO, a_link_as_the_source_counts_as_what_it_leads_to) {
   write("file", "contents");
   std::filesystem::create_symlink("file", m_folder / "link");
   EXPECT_TRUE(copy("link", "to"));
   EXPECT_FALSE(std::filesystem::is_symlink(m_folder / "to"));
   EXPECT_EQ(read("to"), "contents");
}

TEST_F(HOST_FIO, a_link_as_the_target_stays_and_what_it_leads_to_is_replaced) {
   write("from", "new");
   std::filesystem::create_directory(m_folder / "elsewhere");
   write("elsewhere/file", "old");
   std::filesystem::create_symlink("elsewhere/file", m_folder / "to");
   EXPECT_TRUE(copy("from", "to"));
   EXPECT_TRUE(std::filesystem::is_symlink(m_folder / "to"));
   EXPECT_EQ(read("elsewhere/file"), "new");
}

// ---- copy: times

TEST_F(HOST_FIO, with_keep_times_the_copy_has_the_times_of_the_source) {
   write("from", "contents");
   const std::array<timespec, 2> times = {timespec{1000000000, 123456789}, timespec{1100000000, 987654321}};
   ASSERT_EQ(::utimensat(AT_FDCWD, path("from").c_str(), times.data(), 0), 0);
   EXPECT_TRUE(copy("from", "to", true, true));
   const struct stat copied = status("to");
   EXPECT_EQ(copied.st_atim.tv_sec, 1000000000);
   EXPECT_EQ(copied.st_atim.tv_nsec, 123456789);
   EXPECT_EQ(copied.st_mtim.tv_sec, 1100000000);
   EXPECT_EQ(copied.st_mtim.tv_nsec, 987654321);
}

TEST_F(HOST_FIO, without_keep_times_the_copy_has_the_time_of_the_copying) {
   write("from", "contents");
   const std::array<timespec, 2> times = {timespec{1000000000, 0}, timespec{1000000000, 0}};
   for (const char* to : {"to", "from"}) {
      ASSERT_EQ(::utimensat(AT_FDCWD, path("from").c_str(), times.data(), 0), 0);
      const std::time_t before = std::time(nullptr) - 2; // the file system's clock ticks more slowly
      EXPECT_TRUE(copy("from", to, true, false));
      EXPECT_GE(status(to).st_mtim.tv_sec, before);
      EXPECT_LE(status(to).st_mtim.tv_sec, std::time(nullptr));
   }
}

TEST_F(HOST_FIO, with_keep_times_a_file_copied_onto_itself_keeps_its_own) {
   write("file", "contents");
   const std::array<timespec, 2> times = {timespec{1000000000, 5}, timespec{1000000000, 5}};
   ASSERT_EQ(::utimensat(AT_FDCWD, path("file").c_str(), times.data(), 0), 0);
   EXPECT_TRUE(copy("file", "file", true, true));
   EXPECT_EQ(status("file").st_mtim.tv_sec, 1000000000);
}

// ---- copy: failures, after which the target is untouched and nothing is left behind

TEST_F(HOST_FIO, a_source_that_is_not_there_or_no_file_cannot_be_copied) {
   write("to", "old");
   std::filesystem::create_directory(m_folder / "directory");
   ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
   for (const char* from : {"missing", "directory", "pipe", "to/below", ""}) {
      EXPECT_FALSE(copy(from, "to")) << from;
   }
   EXPECT_FALSE(FIO_FILE_SYSTEM::copy("", bytes_of(path("to")), true, false));
   EXPECT_FALSE(FIO_FILE_SYSTEM::copy("/dev/zero", bytes_of(path("to")), true, false));
   EXPECT_EQ(read("to"), "old");
   EXPECT_THAT(names(), ElementsAre("directory", "pipe", "to"));
}

TEST_F(HOST_FIO, a_target_that_is_no_file_is_never_replaced) {
   write("from", "new");
   std::filesystem::create_directory(m_folder / "directory");
   ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
   std::filesystem::create_symlink("pipe", m_folder / "link");
   for (const char* to : {"directory", "directory/", "pipe", "link", "from/below", "missing/to", ""}) {
      EXPECT_FALSE(copy("from", to)) << to;
      EXPECT_FALSE(copy("from", to, false)) << to;
   }
   EXPECT_FALSE(FIO_FILE_SYSTEM::copy(bytes_of(path("from")), "", true, false));
   EXPECT_TRUE(std::filesystem::is_fifo(m_folder / "pipe"));
   EXPECT_THAT(names(), ElementsAre("directory", "from", "link", "pipe"));
   EXPECT_TRUE(std::filesystem::is_empty(m_folder / "directory"));
}

TEST_F(HOST_FIO, paths_with_a_zero_byte_name_no_file) {
   write("from", "new");
   write("to", "old");
   const std::string zero_and_more("\0more", 5);
   EXPECT_FALSE(copy("from" + zero_and_more, "to"));
   EXPECT_FALSE(copy("from", "to" + zero_and_more));
   EXPECT_TRUE(remove("to" + zero_and_more)); // nothing is there
   EXPECT_EQ(read("to"), "old");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO_DEATH_TEST, a_source_that_may_not_be_read_cannot_be_copied) {
   write("from", "new");
   write("to", "old");
   ASSERT_EQ(::chmod(path("from").c_str(), 0), 0);
   EXPECT_EXIT(
       {
          become_an_ordinary_user();
          std::_Exit(copy("from", "to") ? 1 : 0);
       },
       ExitedWithCode(0), "");
   EXPECT_EQ(read("to"), "old");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO_DEATH_TEST, a_folder_that_may_not_be_written_gets_no_copy) {
   write("from", "new");
   write("to", "old");
   ASSERT_EQ(::chmod(path("from").c_str(), 0644), 0);
   EXPECT_EXIT(
       {
          become_an_ordinary_user();
          const bool prepared = ::chmod(m_folder.c_str(), 0555) == 0;
          std::_Exit(prepared && !copy("from", "to") && !copy("from", "new", false) ? 0 : 1);
       },
       ExitedWithCode(0), "");
   EXPECT_EQ(read("to"), "old");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO_DEATH_TEST, a_copy_that_finds_no_room_leaves_the_old_target_and_nothing_else) {
   write("from", std::string(300000, 'n'));
   write("to", "old");
   EXPECT_EXIT(
       {
          std::signal(SIGXFSZ, SIG_IGN);
          const bool prepared = limit_resource(RLIMIT_FSIZE, 100000);
          std::_Exit(prepared && !copy("from", "to", true) && !copy("from", "new", false) ? 0 : 1);
       },
       ExitedWithCode(0), "");
   EXPECT_EQ(read("to"), "old");
   EXPECT_THAT(names(), ElementsAre("from", "to"));
}

TEST_F(HOST_FIO_DEATH_TEST, no_descriptor_is_left_open) {
   write("from", "new");
   EXPECT_EXIT(
       {
          bool good = limit_resource(RLIMIT_NOFILE, 16);
          for (int round = 0; round < 50; ++round) {
             good = copy("from", "to") && !copy("from", "to", false) && !copy("missing", "to") &&
                    !copy(".", "to") && good;
          }
          std::_Exit(good ? 0 : 1);
       },
       ExitedWithCode(0), "");
}

// ---- copy: a faulty system

TEST_F(HOST_FIO, whichever_call_to_the_system_fails_the_copy_is_whole_or_the_target_untouched) {
   const std::string contents(150000, 'n');
   write("from", contents);
   for (const bool old_system : {false, true}) {
      for (const bool overwrite : {false, true}) {
         int failing_call = 0;
         int failures = 0;
         do {
            ++failing_call;
            std::filesystem::remove(m_folder / "to");
            if (overwrite) {
               write("to", "old");
            }
            faults = FAULTS();
            faults.m_active = true;
            faults.m_failing_call = failing_call;
            faults.m_old_system = old_system;
            const bool copied = copy("from", "to", overwrite, true);
            faults.m_active = false;
            if (copied) {
               EXPECT_TRUE(read("to") == contents);
            } else {
               ++failures;
               EXPECT_EQ(exists("to"), overwrite);
               EXPECT_TRUE(!overwrite || read("to") == "old");
            }
            EXPECT_EQ(names().size(), exists("to") ? 2U : 1U) << "something was left behind";
         } while (faults.m_calls >= failing_call);
         EXPECT_GE(failures, old_system ? 8 : 4) << "the failing calls were not those of the copy";
      }
   }
}

TEST_F(HOST_FIO, interrupted_and_partial_reads_and_writes_go_on) {
   std::string contents(100003, '\0');
   for (std::size_t index = 0; index < contents.size(); ++index) {
      contents[index] = static_cast<char>(index % 251);
   }
   write("from", contents);
   faults = FAULTS();
   faults.m_active = true;
   faults.m_old_system = true;
   faults.m_interrupted = true;
   faults.m_most = 777;
   const bool copied = copy("from", "to");
   faults.m_active = false;
   EXPECT_TRUE(copied);
   EXPECT_TRUE(read("to") == contents);
   EXPECT_GT(faults.m_calls, 400);
}

TEST_F(HOST_FIO, where_the_file_system_knows_no_such_rename_an_existing_target_stays_too) {
   write("from", "new");
   write("to", "old");
   faults = FAULTS();
   faults.m_active = true;
   faults.m_old_system = true;
   const bool replaced = copy("from", "to", false);
   const bool made = copy("from", "other", false);
   faults.m_active = false;
   EXPECT_FALSE(replaced);
   EXPECT_TRUE(made);
   EXPECT_EQ(read("to"), "old");
   EXPECT_EQ(read("other"), "new");
   EXPECT_EQ(status("other").st_nlink, 1U);
   EXPECT_THAT(names(), ElementsAre("from", "other", "to"));
}

// ---- remove_if_exists

TEST_F(HOST_FIO, a_file_is_removed_and_a_file_that_is_not_there_is_fine) {
   write("file", "contents");
   EXPECT_TRUE(remove("file"));
   EXPECT_TRUE(names().empty());
   EXPECT_TRUE(remove("file"));
   EXPECT_TRUE(remove("no_directory/file"));
   EXPECT_TRUE(remove(std::string(5000, 'n')));
}

TEST_F(HOST_FIO, a_path_below_a_file_holds_no_file) {
   write("file", "contents");
   EXPECT_TRUE(remove("file/below"));
   EXPECT_THAT(names(), ElementsAre("file"));
}

TEST_F(HOST_FIO, a_file_that_may_not_be_written_is_removed) {
   write("file", "contents");
   ASSERT_EQ(::chmod(path("file").c_str(), 0), 0);
   EXPECT_TRUE(remove("file"));
   EXPECT_TRUE(names().empty());
}

TEST_F(HOST_FIO, a_link_is_removed_itself) {
   write("file", "contents");
   std::filesystem::create_directory(m_folder / "directory");
   std::filesystem::create_symlink("file", m_folder / "link");
   std::filesystem::create_symlink("nothing", m_folder / "loose_link");
   std::filesystem::create_symlink("directory", m_folder / "link_to_directory");
   EXPECT_TRUE(remove("link"));
   EXPECT_TRUE(remove("loose_link"));
   EXPECT_TRUE(remove("link_to_directory"));
   EXPECT_THAT(names(), ElementsAre("directory", "file"));
}

TEST_F(HOST_FIO, a_directory_and_the_empty_path_are_not_removed) {
   std::filesystem::create_directory(m_folder / "directory");
   EXPECT_FALSE(remove("directory"));
   EXPECT_FALSE(remove("directory/"));
   EXPECT_FALSE(FIO_FILE_SYSTEM::remove_if_exists(MEM_STRING()));
   EXPECT_THAT(names(), ElementsAre("directory"));
}

TEST_F(HOST_FIO_DEATH_TEST, a_file_in_a_folder_that_may_not_be_written_is_not_removed) {
   write("file", "contents");
   EXPECT_EXIT(
       {
          become_an_ordinary_user();
          const bool prepared = ::chmod(m_folder.c_str(), 0555) == 0;
          std::_Exit(prepared && !remove("file") ? 0 : 1);
       },
       ExitedWithCode(0), "");
   EXPECT_THAT(names(), ElementsAre("file"));
}
