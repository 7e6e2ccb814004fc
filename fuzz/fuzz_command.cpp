#include "fuzz_command.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "database_rules.h"
#include "fsyn_words.h"
#include "log_options.h"

namespace {

/// Standard output goes to memory while one lives.
class OUTPUT_CATCHER {
public:
   OUTPUT_CATCHER() : m_old(::dup(STDOUT_FILENO)), m_memory(::memfd_create("logdb_fuzz_output", MFD_CLOEXEC)) {
      FUZZ_HOLDS(m_old >= 0 && m_memory >= 0 && ::dup2(m_memory, STDOUT_FILENO) == STDOUT_FILENO);
   }
   ~OUTPUT_CATCHER() {
      ::dup2(m_old, STDOUT_FILENO);
      ::close(m_old);
      ::close(m_memory);
   }
   OUTPUT_CATCHER(const OUTPUT_CATCHER&) = delete;
   OUTPUT_CATCHER& operator=(const OUTPUT_CATCHER&) = delete;

   std::string text() const {
      struct stat status = {};
      FUZZ_HOLDS(::fstat(m_memory, &status) == 0);
      std::string text(static_cast<std::size_t>(status.st_size), '\0');
      FUZZ_HOLDS(::pread(m_memory, text.data(), text.size(), 0) == status.st_size);
      return text;
   }

private:
   int m_old;
   int m_memory;
};

/// What goes to the stream of standard error is kept while one lives. The descriptor stays what it is: whoever finds
/// a fault writes there.
class MESSAGE_CATCHER {
public:
   MESSAGE_CATCHER() : m_old(std::exchange(stderr, ::open_memstream(&m_text, &m_size))) {
      FUZZ_HOLDS(stderr != nullptr);
   }
   ~MESSAGE_CATCHER() {
      std::fclose(std::exchange(stderr, m_old));
      std::free(m_text);
   }
   MESSAGE_CATCHER(const MESSAGE_CATCHER&) = delete;
   MESSAGE_CATCHER& operator=(const MESSAGE_CATCHER&) = delete;

   std::string text() const {
      std::fflush(stderr);
      return {m_text, m_size};
   }

private:
   char* m_text = nullptr;
   std::size_t m_size = 0;
   std::FILE* m_old;
};

/// As the program itself does it, but that any other exception is a fault. So is a command line that makes no sense,
/// whose status nobody expects.
STATUS run(void (*add)(COMMAND_TABLE&), const std::vector<std::string>& arguments) {
   COMMAND_TABLE table;
   add(table);
   try {
      return run_command(table.commands().front(), arguments);
   } catch (const TOOL_ERROR& error) {
      tell(error.what());
      return error.m_status;
   }
}

constexpr std::string_view border = "\n====\n";

} // namespace

FUZZ_ANSWER fuzz_run(void (*add)(COMMAND_TABLE&), const std::vector<std::string>& arguments) {
   FUZZ_ANSWER answer;
   {
      const OUTPUT_CATCHER output;
      const MESSAGE_CATCHER messages;
      answer.m_status = static_cast<int>(run(add, arguments));
      answer.m_output = output.text();
      answer.m_messages = messages.text();
   }
   FUZZ_HOLDS(answer.m_status == 0 || answer.m_status == 1 || answer.m_status == 3);
   FUZZ_HOLDS(answer.m_status != 3 || answer.m_messages.starts_with("logdb: "));
   return answer;
}

std::vector<std::string_view> fuzz_lines(std::string_view text) {
   FUZZ_HOLDS(text.empty() || text.back() == '\n');
   std::vector<std::string_view> lines;
   while (!text.empty()) {
      const std::size_t end = text.find('\n');
      lines.push_back(text.substr(0, end));
      text.remove_prefix(end + 1);
   }
   return lines;
}

std::vector<nlohmann::json> fuzz_objects(const std::string& text) {
   std::vector<nlohmann::json> objects;
   for (const std::string_view line : fuzz_lines(text)) {
      objects.push_back(nlohmann::json::parse(line, nullptr, false));
      FUZZ_HOLDS(objects.back().is_object());
   }
   return objects;
}

bool fuzz_is_sound(const std::string& path, const std::string& format) {
   // An unknown kind is kept as it is.
   return fuzz_run(add_check, {"--errors-only", "--ignore", "LDB005", "--as", format, path}).m_status == 0;
}

std::vector<nlohmann::json> fuzz_items(const std::string& path, const std::string& format) {
   std::vector<nlohmann::json> items = fuzz_objects(fuzz_run(add_show, {"--json", "--as", format, path}).m_output);
   for (nlohmann::json& item : items) {
      item.erase("number");
      item.erase("line");
   }
   return items;
}

bool fuzz_is_marker(const nlohmann::json& item) {
   constexpr std::array<std::string_view, 5> markers = {"REVISION_NUMBER", "PRE_PLACEMENT_FLOW",
                                                        "POST_PLACEMENT_FLOW", "END_OF_LOG", "END_OF_LOG_PRINT"};
   const auto& kind = item.at("kind").get_ref<const std::string&>();
   return std::find(markers.begin(), markers.end(), kind) != markers.end();
}

std::string_view fuzz_behind_version(std::string_view bytes) {
   const std::size_t end = bytes.find('\n');
   return end == std::string_view::npos ? std::string_view() : bytes.substr(end + 1);
}

std::pair<std::string, std::string> fuzz_two_logs(std::string_view bytes) {
   const std::size_t place = bytes.find(border);
   if (place != std::string_view::npos) {
      return {std::string(bytes.substr(0, place + 1)), std::string(bytes.substr(place + border.size()))};
   }
   std::string other(bytes);
   if (!other.empty()) {
      const std::size_t begin = other.rfind('\n', fuzz_choice(bytes) % other.size()) + 1;
      other.erase(begin, other.find('\n', begin) + 1 - begin);
   }
   return {std::string(bytes), other};
}

std::size_t fuzz_choice(std::string_view bytes) {
   std::uint64_t hash = 14695981039346656037U;
   for (const char byte : bytes) {
      hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
   }
   return static_cast<std::size_t>(hash >> 32U);
}

bool fuzz_may_be_packed(std::string_view bytes) {
   return bytes.size() >= 2 && std::string_view("\x1f(\xfd"
                                                "B\x04")
                                       .find(bytes[0]) != std::string_view::npos;
}

std::size_t fuzz_mutate_log(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed) {
   return seed % 2 == 0 ? fuzz_mutate_words(data, size, most, seed / 2, fsyn_words(), " \n")
                        : fuzz_mutate_words(data, size, most, seed / 2, database_words(), ",\n");
}

std::size_t fuzz_mutate_two_logs(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed) {
   return seed % 8 == 1 ? fuzz_mutate_words(data, size, most, seed / 8, {std::string(border)}, "\n")
                        : fuzz_mutate_log(data, size, most, seed);
}
