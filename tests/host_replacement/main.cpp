// Each service of the host can be replaced alone: this program is linked with the library, the standalone host
// but for one source, and a foreign source in its place, once for each. It uses the library, looks at what each
// of the services did, and insists that the named one is foreign and the others are not.
//
// It may call nothing but the library: what the control panel of the standalone host declares for a service is
// not there when that service is foreign.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "logdb.h"
#include "logdb_database.h"
#include "logdb_fsyn_log_file.h"
#include "xtl_hash.h"

namespace {

int failures = 0;

void expect(bool condition, const char* what) {
   if (!condition) {
      std::fprintf(stderr, "not so: %s\n", what);
      ++failures;
   }
}

std::string read_file(const std::string& path) {
   std::ifstream file(path, std::ios::binary);
   return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool contains(const std::string& text, const char* part) {
   return text.find(part) != std::string::npos;
}

/// What an action prints, in a process of its own that ends like any other; and the text of the exception by which
/// it was left.
template <class ACTION> std::string output_of(ACTION action) {
   std::fflush(nullptr);
   const pid_t child = ::fork();
   if (child == 0) {
      if (std::freopen("output.txt", "w", stdout) == nullptr || ::dup2(::fileno(stdout), STDERR_FILENO) < 0) {
         std::_Exit(1);
      }
      try {
         action();
      } catch (const std::exception& exception) {
         std::puts(exception.what());
      }
      std::exit(0);
   }
   int status = 0;
   expect(::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
          "the process ended as it should");
   return read_file("output.txt");
}

LOGDB_DATABASE_ENTRY entry_with(MEM_VECTOR<MEM_STRING> fields) {
   LOGDB_DATABASE_ENTRY entry;
   entry.m_entry_type = REGISTER_PACKING;
   entry.m_data_vector = std::move(fields);
   return entry;
}

/// The whole way of an entry, which goes well with any host.
void use_the_library() {
   const LOGDB_DATABASE_ENTRY entry = entry_with(
       {"PACKED", "", "a reason that is longer than a string without storage", "top|u1|q", "top|u1|d~0"});
   LOGDB_DATABASE::initialize("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database();
   expect(LOGDB_DATABASE::get_database()->get_number_of_entries() == 0, "a new database is empty");
   LOGDB_DATABASE::get_database()->add_entry(&entry);
   LOGDB_DATABASE::commit_database();
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::load_database();
   expect(LOGDB_DATABASE::get_database()->get_number_of_entries() == 1, "the entry was read back");
   const LOGDB_DATABASE_ENTRY* read_back = LOGDB_DATABASE::get_database()->get_entry(0);
   expect(read_back != nullptr && read_back->m_entry_type == REGISTER_PACKING, "its kind is the same");
   expect(read_back != nullptr && read_back->m_data_vector == entry.m_data_vector, "its fields are the same");
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_CMP);
   LOGDB_DATABASE::load_database();
   expect(LOGDB_DATABASE::get_database()->get_number_of_entries() == 0, "the file was deleted");
   LOGDB_DATABASE::unload_database();
}

/// Whether what was seen is the foreign service's, or the standalone one's; anything else is a failure.
bool is_foreign(bool foreign, bool standalone, const char* service) {
   if (foreign == standalone) {
      std::fprintf(stderr, "%s: %s\n", service, foreign ? "both services were seen" : "neither service was seen");
      ++failures;
   }
   return foreign;
}

bool is_msg_foreign() {
   const std::string report = output_of([] { LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_NONE); });
   const std::string message = output_of([] { logdb_msg_debug("%s %d", "message", 1); });
   return is_foreign(contains(report, "foreign report: unknown logdb_db_type\n") &&
                         contains(message, "foreign message: message 1\n"),
                     contains(report, "internal error [LOGDB] logdb_database:") &&
                         contains(message, "[LOGDB] message 1\n"),
                     "msg");
}

/// The debug messages of a database that is read.
std::string messages_of_reading() {
   return output_of([] {
      std::istringstream file("v1\nRAM_PACKING,a,\n");
      LOGDB_DATABASE_IMPL().read_database(&file);
   });
}

bool is_cfg_foreign() {
   const std::string messages = messages_of_reading();
   expect(contains(messages, "Read 1 entries from log db"), "messages are seen");
   return is_foreign(contains(messages, "Read DB Entry: TYPE=RAM_PACKING: a, "),
                     !contains(messages, "Read DB Entry"), "cfg");
}

bool is_gen_foreign() {
   MEM_STRING name;
   LOGDB_DATABASE::make_db_filename("top", LOGDB_DB_TYPE_MAP, &name);
   const std::string report = output_of([] {
      std::ostringstream file;
      MEM_STRING scratch;
      const LOGDB_DATABASE_ENTRY entry = entry_with({"", "", "", "outside", ""});
      LOGDB_DATABASE_IMPL().write_entry_without_partition_hpath(&file, &entry, "top|u1", &scratch);
   });
   return is_foreign(contains(report, "foreign text: Detected node outside is not part of partition top|u1.") &&
                         contains(name.c_str(), "map-of-top.logdb"),
                     contains(report, ": Detected node outside is not part of partition top|u1.") &&
                         !contains(report, "foreign text") && contains(name.c_str(), "./top."),
                     "gen");
}

bool is_fio_foreign() {
   MEM_STRING from;
   MEM_STRING to;
   LOGDB_DATABASE::make_db_filename("top", LOGDB_DB_TYPE_MAP, &from);
   LOGDB_DATABASE::make_db_filename("top", LOGDB_DB_TYPE_CMP, &to);
   std::ofstream(from.c_str()) << "v1\n";
   LOGDB_DATABASE::copy_database_file("top", LOGDB_DB_TYPE_MAP, LOGDB_DB_TYPE_CMP);
   const std::string copy = read_file(to.c_str());
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_MAP);
   LOGDB_DATABASE::delete_database_file("top", LOGDB_DB_TYPE_CMP);
   LOGDB_FSYN_LOG_FILE log;
   log.set_file_name("precious.fsyn");
   const bool deleted = log.delete_file();
   return is_foreign(copy == "foreign copy\nv1\n" && !deleted, copy == "v1\n" && deleted, "fio");
}

bool is_dbm_foreign() {
   const std::string type = LOGDB_DATABASE::logdb_type_to_dbm_type(LOGDB_DB_TYPE_MAP_BB);
   return is_foreign(type == "foreign_map_bb", type == "map_bb", "dbm");
}

bool is_xtl_tokenizer_foreign() {
   std::istringstream file("v1\nIO_RULES,a,\nRAM_PACKING,?,,b,\n");
   LOGDB_DATABASE_IMPL database;
   database.read_database(&file);
   const LOGDB_DATABASE_ENTRY& entry = *database.get_entry(1);
   return is_foreign(entry.m_data_vector == MEM_VECTOR<MEM_STRING>{"foreign piece", "", "b"},
                     entry.m_data_vector == MEM_VECTOR<MEM_STRING>{"?", "", "b"}, "xtl_tokenizer");
}

bool is_xtl_hash_ops_foreign() {
   const bool finds_plain = logdb_get_logdb_entry_type_enum_by_string("ram_packing") == RAM_PACKING;
   const bool finds_foreign = logdb_get_logdb_entry_type_enum_by_string("foreign:RAM_PACKING") == RAM_PACKING;
   XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS> hash;
   hash.resize(52);
   const bool has_grown_far = hash.m_bucket_count == 2 * 65 + 7919;
   return is_foreign(finds_foreign && finds_plain && has_grown_far,
                     !finds_foreign && finds_plain && hash.m_bucket_count < 200, "xtl_hash_ops");
}

bool is_mem_foreign() {
   const std::string output = output_of([] { const MEM_STRING with_storage(100, 'x'); });
   return is_foreign(output == "foreign memory of LOGDB: blocks served, 0 still there\n", output.empty(), "mem");
}

struct SERVICE {
   const char* m_name;
   bool (*m_is_foreign)();
};

constexpr std::array<SERVICE, 8> services = {{
    {"msg", is_msg_foreign},
    {"cfg", is_cfg_foreign},
    {"gen", is_gen_foreign},
    {"fio", is_fio_foreign},
    {"dbm", is_dbm_foreign},
    {"xtl_tokenizer", is_xtl_tokenizer_foreign},
    {"xtl_hash_ops", is_xtl_hash_ops_foreign},
    {"mem", is_mem_foreign},
}};

} // namespace

/// \param argument  the name of the service that is foreign; "none" for the standalone host as it is
int main(int argc, char** argv) {
   if (argc != 2) {
      std::fputs("usage: host_replacement SERVICE\n", stderr);
      return 2;
   }
   std::string folder = (std::filesystem::temp_directory_path() / "host_replacement_XXXXXX").string();
   if (::mkdtemp(folder.data()) == nullptr || ::chdir(folder.c_str()) != 0) {
      std::perror(folder.c_str());
      return 2;
   }
   for (const char* variable : {"LOGDB_CONFIG", "LOGDB_PROJECT_DIRECTORY", "LOGDB_ABORT_ON_INTERNAL_ERROR"}) {
      ::unsetenv(variable);
   }
   ::setenv("LOGDB_DEBUG", "1", 1);
   int foreign_services = 0;
   for (const SERVICE& service : services) {
      const bool is_named = std::strcmp(service.m_name, argv[1]) == 0;
      if (service.m_is_foreign() != is_named) {
         std::fprintf(stderr, "%s: the %s service was seen\n", service.m_name,
                      is_named ? "standalone" : "foreign");
         ++failures;
      }
      foreign_services += is_named ? 1 : 0;
   }
   expect(foreign_services == (std::strcmp(argv[1], "none") == 0 ? 0 : 1), "the argument names a service");
   use_the_library();
   std::error_code ignored;
   std::filesystem::remove_all(folder, ignored);
   return failures == 0 ? 0 : 1;
}
