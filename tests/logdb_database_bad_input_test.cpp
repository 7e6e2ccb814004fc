#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "logdb.h"
#include "logdb_database_fixture.h"

namespace {

constexpr const char* failed = "report: Failed reading log-db file";
constexpr const char* other_loaded =
    "report: Logdb load_database can not called when a different database is already loaded.";
constexpr std::size_t recorded_size = sizeof logdb_filename_singleton;

class LOGDB_DATABASE_BAD_INPUT : public LOGDB_DATABASE_TEST {
protected:
   void SetUp() override { LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP); }

   std::string plain_file() const {
      return database_path("revision", LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   }

   /// What is said while a file is loaded by name, without the first and the last message.
   EVENTS load_named(const std::string& file) {
      LOGDB_DATABASE::unload_database();
      events();
      LOGDB_DATABASE::load_database(file.c_str(), "");
      EVENTS found = events_at_any_speed();
      EXPECT_GE(found.size(), 2u);
      EXPECT_EQ(found.front(), "Loading logdb database " + file + "...");
      EXPECT_EQ(found.back(), "Done loading logdb database " + file + ". Spent 0 seconds.");
      found.erase(found.begin());
      found.pop_back();
      EXPECT_EQ(load_plainly(file), found) << "both forms read alike";
      return found;
   }

   EVENTS load_bytes(const std::string& bytes) {
      write_file(path("bytes"), bytes);
      return load_named(path("bytes"));
   }

   /// A path of this length to a file of the fixture's folder.
   std::string long_path(const std::string& name, std::size_t length) const {
      std::string long_name = m_directory.string() + "/";
      while (long_name.size() + name.size() + 2 <= length) {
         long_name += "./";
      }
      while (long_name.size() + name.size() < length) {
         long_name += "/";
      }
      return long_name + name;
   }

   static std::string recorded_name() {
      return {logdb_filename_singleton, strnlen(logdb_filename_singleton, recorded_size)};
   }

private:
   /// The same with the file as that of the revision and kind.
   EVENTS load_plainly(const std::string& file) {
      const ENTRIES entries = loaded();
      LOGDB_DATABASE::unload_database();
      std::filesystem::remove_all(plain_file());
      std::filesystem::create_symlink(file, plain_file());
      events();
      LOGDB_DATABASE::load_database();
      EVENTS found = events();
      std::filesystem::remove_all(plain_file());
      EXPECT_EQ(loaded(), entries);
      found.erase(found.begin());
      found.pop_back();
      return found;
   }
};

// ---- What a file may hold

TEST_F(LOGDB_DATABASE_BAD_INPUT, zero_bytes_cut_lines) {
   EXPECT_EQ(
       load_bytes(std::string("v\0001\nIO_RULES,a\0b,c,\nIO_RULES\0,d,\n\0\n\0IO_RULES,e,\nIO_RULES,f,\n", 60)),
       (EVENTS{"Reading log db version v", "Read 5 entries from log db"}));
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}},
                                {IO_RULES, {}},
                                {DSP_BALANCING_IMPLEMENTATION, {}},
                                {DSP_BALANCING_IMPLEMENTATION, {}},
                                {IO_RULES, {"f"}}}));
   EXPECT_EQ(load_bytes(std::string(100, '\0')), EVENTS{"Read 0 entries from log db"});
   EXPECT_EQ(load_bytes("v1\n" + std::string(100, '\0')),
             (EVENTS{"Reading log db version v1", "Failed reading log db entry line", "Read 0 entries from log db",
                     failed}));
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, carriage_returns_are_ordinary_bytes) {
   EXPECT_EQ(load_bytes("v1\r\nIO_RULES,a\rb,\r\n\r\n\r\rIO_RULES,\n"),
             (EVENTS{"Reading log db version v1\r", "Read 3 entries from log db"}));
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a\rb", "\r"}}, {-1, {}}, {-1, {}}}));
   EXPECT_EQ(load_bytes("v1\rIO_RULES,a,\rIO_RULES,b,\r"), EVENTS{"Read 0 entries from log db"})
       << "all of it is a version line that does not end";
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, every_byte_is_an_ordinary_one_but_three) {
   for (int byte = 0; byte < 256; ++byte) {
      if (byte == '\n' || byte == '\0' || byte == ',') {
         continue;
      }
      const std::string field(3, static_cast<char>(byte));
      EXPECT_EQ(load_bytes("v1\nIO_RULES," + field + ",\n" + field + ",\n"),
                (EVENTS{"Reading log db version v1", "Read 2 entries from log db"}))
          << byte;
      EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {field}}, {-1, {}}})) << byte;
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_file_of_one_byte_is_an_empty_database) {
   for (int byte = 0; byte < 256; ++byte) {
      EXPECT_EQ(load_bytes(std::string(1, static_cast<char>(byte))),
                byte == '\n' ? (EVENTS{"Reading log db version ", "Read 0 entries from log db"})
                             : EVENTS{"Read 0 entries from log db"});
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, binary_junk_is_read_up_to_its_first_bad_line) {
   std::mt19937 random(20);
   for (int file = 0; file < 10; ++file) {
      std::string bytes = "v1\n";
      for (int count = 0; count < 100000; ++count) {
         bytes += static_cast<char>(random() & 0xffu);
      }
      const EVENTS found = load_bytes(bytes);
      const long lines = std::count(bytes.begin() + 3, bytes.end(), '\n');
      ASSERT_GT(lines, 100);
      EXPECT_EQ(loaded().size(), static_cast<std::size_t>(lines));
      EXPECT_EQ(found, (EVENTS{"Reading log db version v1", "Failed reading log db entry line",
                               "Read " + std::to_string(lines) + " entries from log db", failed}));
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_file_cut_anywhere_keeps_the_lines_that_are_whole) {
   const std::string whole = "v1\nIO_RULES,a,\nREGISTER_PACKING,b,,\n\nRAM_PACKING,\n";
   const ENTRIES all = {
       {IO_RULES, {"a"}}, {REGISTER_PACKING, {"b", ""}}, {DSP_BALANCING_IMPLEMENTATION, {}}, {RAM_PACKING, {}}};
   for (std::size_t size = 0; size <= whole.size(); ++size) {
      const std::string bytes = whole.substr(0, size);
      const auto line_ends = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
      const std::size_t count = line_ends == 0 ? 0 : line_ends - 1;
      EVENTS expected;
      if (line_ends > 0) {
         expected.emplace_back("Reading log db version v1");
         if (bytes.back() != '\n') {
            expected.emplace_back("Failed reading log db entry line");
         }
      }
      expected.push_back("Read " + std::to_string(count) + " entries from log db");
      if (line_ends > 0 && bytes.back() != '\n') {
         expected.emplace_back(failed);
      }
      EXPECT_EQ(load_bytes(bytes), expected) << size;
      EXPECT_EQ(loaded(), ENTRIES(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count))) << size;
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_line_may_have_32767_bytes) {
   const std::string kind = "IO_RULES,";
   for (const std::size_t length : {32766u, 32767u}) {
      const std::string field(length - kind.size() - 1, 'f');
      EXPECT_EQ(load_bytes("v1\nRAM_PACKING,\n" + kind + field + ",\nRAM_PACKING,\n"),
                (EVENTS{"Reading log db version v1", "Read 3 entries from log db"}));
      EXPECT_EQ(loaded(), (ENTRIES{{RAM_PACKING, {}}, {IO_RULES, {field}}, {RAM_PACKING, {}}}));
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_line_of_32768_bytes_or_more_ends_the_reading) {
   for (const std::size_t length : {32768u, 32769u, 65535u, 65536u, 1000000u}) {
      for (const char* end : {"\nRAM_PACKING,\n", ""}) {
         EXPECT_EQ(load_bytes("v1\nRAM_PACKING,\n" + std::string(length, 'f') + end),
                   (EVENTS{"Reading log db version v1", "Failed reading log db entry line",
                           "Read 1 entries from log db", failed}));
         EXPECT_EQ(loaded(), (ENTRIES{{RAM_PACKING, {}}}));

         EXPECT_EQ(load_bytes(std::string(length, 'v') + end),
                   (EVENTS{"Failed reading log db version info", "Read 0 entries from log db", failed}));
         EXPECT_EQ(loaded(), ENTRIES{});
      }
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_line_that_is_too_long_to_read_back_is_written_without_a_word) {
   LOGDB_DATABASE::load_database();
   const std::string field(32768, 'f');
   add(IO_RULES, {"a"});
   add(IO_RULES, {field});
   m_host.take_events();
   LOGDB_DATABASE::commit_database(path("long").c_str(), "");
   EXPECT_EQ(events().size(), 3u);
   EXPECT_EQ(read_file(path("long")), "v1\nIO_RULES,a,\nIO_RULES," + field + ",\n");
   EXPECT_EQ(load_named(path("long")).back(), failed);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_field_with_a_separator_reads_back_as_several) {
   LOGDB_DATABASE::load_database();
   add(FSYN_LOG_FILE, {"a", "b,c", "d"});
   add(IO_RULES, {"line\nRAM_PACKING,feed"});
   LOGDB_DATABASE::commit_database(path("file").c_str(), "");
   m_host.take_events();
   EXPECT_EQ(load_named(path("file")), (EVENTS{"Reading log db version v1", "Read 3 entries from log db"}));
   EXPECT_EQ(loaded(),
             (ENTRIES{{FSYN_LOG_FILE, {"a", "b", "c", "d"}}, {IO_RULES, {"line"}}, {RAM_PACKING, {"feed"}}}));
}

// ---- What may be in the place of a file

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_directory_cannot_be_read) {
   std::filesystem::create_directory(path("directory"));
   EXPECT_EQ(load_named(path("directory")),
             (EVENTS{"Failed reading log db version info", "Read 0 entries from log db", failed}));
   EXPECT_EQ(loaded(), ENTRIES{});
   EXPECT_EQ(recorded_name(), "");
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_file_that_opens_and_cannot_be_read_is_a_failure) {
   EXPECT_EQ(load_named("/proc/self/mem"),
             (EVENTS{"Failed reading log db version info", "Read 0 entries from log db", failed}));
   EXPECT_EQ(loaded(), ENTRIES{});
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, what_is_there_and_cannot_be_opened_is_a_failure) {
   sockaddr_un address = {};
   address.sun_family = AF_UNIX;
   const std::string name = path("socket");
   ASSERT_LT(name.size(), sizeof address.sun_path);
   std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
   const int file = socket(AF_UNIX, SOCK_STREAM, 0);
   ASSERT_GE(file, 0);
   ASSERT_EQ(bind(file, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << std::strerror(errno);
   EXPECT_EQ(load_named(name),
             (EVENTS{"Failed reading log db version info", "Read 0 entries from log db", failed}));
   EXPECT_EQ(loaded(), ENTRIES{});
   close(file);
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_link_that_leads_nowhere_is_a_missing_file) {
   std::filesystem::create_symlink(path("nowhere"), path("link"));
   std::filesystem::create_symlink(path("loop"), path("loop"));
   for (const char* name : {"link", "loop"}) {
      EXPECT_EQ(load_named(path(name)), EVENTS{}) << name;
      EXPECT_EQ(loaded(), ENTRIES{});
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, devices_that_have_nothing_to_say_are_empty_files) {
   EXPECT_EQ(load_named("/dev/null"), EVENTS{"Read 0 entries from log db"});
   EXPECT_EQ(recorded_name(), "");
   EXPECT_EQ(load_named("/dev/zero"),
             (EVENTS{"Failed reading log db version info", "Read 0 entries from log db", failed}))
       << "and an endless one is a line that is too long";
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_disk_that_becomes_full_leaves_the_database_to_be_written_again) {
   LOGDB_DATABASE::load_database();
   std::string expected = "v1\n";
   for (int number = 0; number < 50000; ++number) {
      const std::string field = std::to_string(number);
      add(IO_RULES, {field});
      expected += "IO_RULES," + field + ",\n";
   }
   events();
   const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
   rlimit old_limit = {};
   ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old_limit), 0);
   for (const rlim_t size : {rlim_t{0}, rlim_t{1}, rlim_t{4096}, rlim_t{300000}}) {
      rlimit limit = old_limit;
      limit.rlim_cur = size;
      ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
      LOGDB_DATABASE::commit_database(path("file").c_str(), "");
      ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old_limit), 0);
      EXPECT_EQ(
          events_at_any_speed(),
          (EVENTS{"Commiting logdb database " + path("file") + "...", "Wrote log database with 50000 entries",
                  "Done comiting logdb database " + path("file") + ". Spent 0 seconds."}));
      EXPECT_EQ(read_file(path("file")), expected.substr(0, size));
   }
   std::signal(SIGXFSZ, old_handler);
   LOGDB_DATABASE::commit_database(path("file").c_str(), "");
   EXPECT_TRUE(read_file(path("file")) == expected);
   EXPECT_EQ(LOGDB_DATABASE::get_database()->get_number_of_entries(), 50000);
}

// ---- Null pointers

TEST_F(LOGDB_DATABASE_BAD_INPUT, null_pointers_are_reported_or_count_as_empty) {
   LOGDB_DATABASE::initialize(nullptr, LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database(nullptr, nullptr);
   EXPECT_NE(LOGDB_DATABASE::get_database(), nullptr);
   LOGDB_DATABASE::load_database(nullptr, nullptr);
   LOGDB_DATABASE::commit_database(nullptr, nullptr);
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::commit_database(nullptr, nullptr);
   MEM_STRING name;
   LOGDB_DATABASE::make_db_filename(nullptr, LOGDB_DB_TYPE_CMP, &name);
   LOGDB_DATABASE::make_db_filename("r", LOGDB_DB_TYPE_CMP, nullptr);
   LOGDB_DATABASE::make_db_extension(LOGDB_DB_TYPE_CMP, nullptr);
   LOGDB_DATABASE::copy_database_file(nullptr, LOGDB_DB_TYPE_CMP, LOGDB_DB_TYPE_MAP);
   LOGDB_DATABASE::delete_database_file(nullptr, LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE own;
   EXPECT_EQ(own.add_entry(nullptr), nullptr);
   EXPECT_EQ(own.replace_entry(0, nullptr), nullptr);
   EXPECT_EQ(logdb_get_logdb_entry_type_enum_by_string(nullptr), -1);
   EXPECT_FALSE(logdb_exists_logdb_entry_datatype_enum_by_string(nullptr));
   EVENTS reports = events();
   std::erase_if(reports, [](const std::string& event) { return !event.starts_with("report: "); });
   EXPECT_EQ(reports,
             (EVENTS{"report: Commiting logdb database when database is not loaded", "report: new_entry != 0",
                     "report: index >= 0 && index < static_cast<int>(m_entry_vector.size())",
                     "report: new_entry != 0"}));
}

// ---- Names of loaded files

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_name_of_1023_bytes_is_recorded_with_its_end) {
   write_file(path("file"), "v1\n");
   const std::string name = long_path("file", recorded_size - 1);
   ASSERT_EQ(name.size(), 1023u);
   LOGDB_DATABASE::load_database(name.c_str(), "");
   EXPECT_EQ(recorded_name(), name);
   EXPECT_EQ(logdb_filename_singleton[1023], '\0');
   events();
   LOGDB_DATABASE::load_database(name.c_str(), "");
   EXPECT_EQ(events(), EVENTS{"Already loaded " + name + ". Requesting to load " + name + "."});
   LOGDB_DATABASE::load_database((name + "x").c_str(), "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded " + name + ". Requesting to load " + name + "x.", other_loaded}));
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_name_of_1024_bytes_is_recorded_without_an_end) {
   write_file(path("file"), "v1\nIO_RULES,a,\n");
   const std::string name = long_path("file", recorded_size);
   ASSERT_EQ(name.size(), 1024u);
   LOGDB_DATABASE::load_database(name.c_str(), "");
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
   EXPECT_EQ(std::string(logdb_filename_singleton, recorded_size), name);
   events();
   LOGDB_DATABASE::load_database(name.c_str(), "");
   EXPECT_EQ(events(), EVENTS{"Already loaded " + name + ". Requesting to load " + name + "."});
   std::string other = name;
   other.back() = 'x';
   LOGDB_DATABASE::load_database(other.c_str(), "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded " + name + ". Requesting to load " + other + ".", other_loaded}));
   const std::string shorter = name.substr(0, 1023);
   LOGDB_DATABASE::load_database(shorter.c_str(), "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded " + name + ". Requesting to load " + shorter + ".", other_loaded}));
   LOGDB_DATABASE::unload_database();
   EXPECT_EQ(recorded_name(), "");
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_longer_name_is_recorded_by_its_first_1024_bytes) {
   write_file(path("file"), "v1\nIO_RULES,a,\n");
   for (const std::size_t length : {1025u, 2000u, 4000u}) {
      const std::string name = long_path("file", length);
      ASSERT_EQ(name.size(), length);
      LOGDB_DATABASE::load_database(name.c_str(), "");
      EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
      EXPECT_EQ(std::string(logdb_filename_singleton, recorded_size), name.substr(0, recorded_size));
      events();
      const std::string other = name.substr(0, length - 1) + "x"; // another file, the same first 1024 bytes
      LOGDB_DATABASE::load_database(other.c_str(), "");
      EXPECT_EQ(events(),
                (EVENTS{"Already loaded " + name.substr(0, recorded_size) + ". Requesting to load " + other + ".",
                        other_loaded}));
      LOGDB_DATABASE::unload_database();
      events();
   }
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_name_of_5000_bytes_is_a_file_that_is_not_there) {
   write_file(path("file"), "v1\nIO_RULES,a,\n");
   const std::string name = long_path("file", 5000);
   EXPECT_EQ(load_named(path("file")).size(), 2u);
   LOGDB_DATABASE::unload_database();
   events();
   LOGDB_DATABASE::load_database(name.c_str(), "");
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + name + "...",
                                            "Done loading logdb database " + name + ". Spent 0 seconds."}));
   EXPECT_EQ(loaded(), ENTRIES{});
   EXPECT_EQ(recorded_name(), "");
   LOGDB_DATABASE::load_database(name.c_str(), "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded . Requesting to load " + name + ".", other_loaded}));
   LOGDB_DATABASE::commit_database(name.c_str(), "");
   EXPECT_EQ(events_at_any_speed(),
             (EVENTS{"Commiting logdb database " + name + "...", "Wrote log database with 0 entries",
                     "Done comiting logdb database " + name + ". Spent 0 seconds."}));
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_program_that_fills_the_recorded_name_itself_is_bounded_too) {
   LOGDB_DATABASE::load_database();
   events();
   std::memset(logdb_filename_singleton, 'n', recorded_size);
   LOGDB_DATABASE::load_database("other", "");
   EXPECT_EQ(events(), (EVENTS{"Already loaded " + std::string(recorded_size, 'n') + ". Requesting to load other.",
                               other_loaded}));
}

TEST_F(LOGDB_DATABASE_BAD_INPUT, a_revision_name_of_any_length_is_taken) {
   const std::string revision(5000, 'r');
   LOGDB_DATABASE::initialize(revision.c_str(), LOGDB_DB_TYPE_CMP);
   const std::string file = database_path(revision, LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_CMP));
   LOGDB_DATABASE::load_database();
   EXPECT_EQ(events_at_any_speed(), (EVENTS{"Loading logdb database " + file + "...",
                                            "Done loading logdb database " + file + ". Spent 0 seconds."}));
   LOGDB_DATABASE::commit_database();
   EXPECT_EQ(events().size(), 3u);
   LOGDB_DATABASE::delete_database_file(revision.c_str(), LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::copy_database_file(revision.c_str(), LOGDB_DB_TYPE_CMP, LOGDB_DB_TYPE_MAP);
   EXPECT_EQ(events().size(), 2u);
}

// ---- A host whose reporter leaves by an exception

class REPORTED : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

class LOGDB_DATABASE_WITH_A_THROWING_REPORTER : public LOGDB_DATABASE_BAD_INPUT {
protected:
   void SetUp() override {
      LOGDB_DATABASE_BAD_INPUT::SetUp();
      m_old_handler = host_set_internal_error_handler(
          [](const char* text, const char*, const char*, int) { throw REPORTED(text); });
   }

   void TearDown() override {
      host_set_internal_error_handler(m_old_handler);
      LOGDB_DATABASE_BAD_INPUT::TearDown();
   }

   static std::string report_of(const std::function<void()>& operation) {
      try {
         operation();
      } catch (const REPORTED& report) {
         return report.what();
      }
      return "nothing";
   }

   static std::size_t open_files() {
      return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                                    std::filesystem::directory_iterator()));
   }

private:
   HOST_INTERNAL_ERROR_HANDLER m_old_handler;
};

TEST_F(LOGDB_DATABASE_WITH_A_THROWING_REPORTER, the_list_stays_as_it_is) {
   LOGDB_DATABASE::load_database();
   add(IO_RULES, {"a field that is too long for a short string"});
   LOGDB_DATABASE* database = LOGDB_DATABASE::get_database();
   const LOGDB_DATABASE_ENTRY entry = entry_of(RAM_PACKING, {"b"});
   const std::string bad_index = "index >= 0 && index < static_cast<int>(m_entry_vector.size())";
   EXPECT_EQ(report_of([&] { database->get_entry(1); }), bad_index);
   EXPECT_EQ(report_of([&] { database->add_entry(nullptr); }), "new_entry != 0");
   EXPECT_EQ(report_of([&] { database->replace_entry(1, &entry); }), bad_index);
   EXPECT_EQ(report_of([&] { database->replace_entry(0, nullptr); }), "new_entry != 0");
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a field that is too long for a short string"}}}));
}

TEST_F(LOGDB_DATABASE_WITH_A_THROWING_REPORTER, a_failed_load_closes_its_file_and_keeps_what_it_read) {
   write_file(path("cut"), "v1\nIO_RULES,a,\nIO_RULES,b");
   const std::size_t before = open_files();
   EXPECT_EQ(report_of([&] { LOGDB_DATABASE::load_database(path("cut").c_str(), ""); }),
             "Failed reading log-db file");
   EXPECT_EQ(open_files(), before);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"a"}}}));
   LOGDB_DATABASE::unload_database();
   write_file(path("whole"), "v1\nIO_RULES,c,\n");
   EXPECT_EQ(report_of([&] { LOGDB_DATABASE::load_database(path("whole").c_str(), nullptr); }),
             "partition_root != 0");
   EXPECT_EQ(open_files(), before);
   EXPECT_EQ(loaded(), (ENTRIES{{IO_RULES, {"c"}}}));
}

TEST_F(LOGDB_DATABASE_WITH_A_THROWING_REPORTER, a_failed_commit_closes_its_file_and_can_be_repeated) {
   LOGDB_DATABASE::load_database();
   add(DSP_BALANCING_IMPLEMENTATION, {"g", "top|a"});
   add(IO_RULES, {"b,c"});
   add(DSP_BALANCING_IMPLEMENTATION, {"g", "d"});
   const ENTRIES entries = loaded();
   const std::size_t before = open_files();
   EXPECT_EQ(report_of([&] { LOGDB_DATABASE::commit_database(path("file").c_str(), "top"); }),
             "log database write failed: string has field separator character");
   EXPECT_EQ(open_files(), before);
   EXPECT_EQ(loaded(), entries);
   const LOGDB_DATABASE_ENTRY entry = entry_of(IO_RULES, {"b"});
   LOGDB_DATABASE::get_database()->replace_entry(1, &entry);
   EXPECT_EQ(report_of([&] { LOGDB_DATABASE::commit_database(path("file").c_str(), "top"); }),
             "Detected node d is not part of partition top.");
   EXPECT_EQ(open_files(), before);
   EXPECT_EQ(report_of([&] { LOGDB_DATABASE::commit_database(path("file").c_str(), ""); }), "nothing");
   EXPECT_EQ(read_file(path("file")),
             "v1\nDSP_BALANCING_IMPLEMENTATION,g,top|a,\nIO_RULES,b,\nDSP_BALANCING_IMPLEMENTATION,g,d,\n");
}

TEST_F(LOGDB_DATABASE_WITH_A_THROWING_REPORTER, checks_that_fail_leave_the_process_as_it_was) {
   EXPECT_EQ(report_of([] { LOGDB_DATABASE::commit_database(); }),
             "Commiting logdb database when database is not loaded");
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_NONE);
   EXPECT_EQ(report_of([] { LOGDB_DATABASE::load_database(); }),
             "LOGDB has not been initialized with the revision name and db_type.");
   EXPECT_EQ(LOGDB_DATABASE::get_database(), nullptr);
   MEM_STRING name = "untouched";
   EXPECT_EQ(report_of([&] { LOGDB_DATABASE::make_db_filename("r", LOGDB_DB_TYPE_NONE, &name); }),
             "unknown logdb_db_type");
   EXPECT_EQ(name, "untouched");
   LOGDB_DATABASE::initialize("revision", LOGDB_DB_TYPE_CMP);
   EXPECT_EQ(report_of([] { LOGDB_DATABASE::load_database(); }), "nothing");
}

} // namespace
