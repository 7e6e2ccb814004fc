#include <csignal>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "command.h"
#include "host_standalone.h"
#include "log_options.h"

namespace {

void add_commands(COMMAND_TABLE& table) {
   add_show(table);
   add_stats(table);
   add_check(table);
   add_diff(table);
   add_grep(table);
   add_blame(table);
   add_summary(table);
   add_rebase(table);
   add_merge(table);
   add_split(table);
   add_salvage(table);
   add_convert(table);
   add_tail(table);
   add_kinds(table);
   add_completion(table);
}

STATUS guarded_run(const std::vector<std::string>& arguments) {
   try {
      COMMAND_TABLE table;
      add_commands(table);
      return run_command_line(table, arguments);
   } catch (const CLOSED_PIPE&) {
      return STATUS::FINE;
   } catch (const TOOL_ERROR& error) {
      tell(error.what());
      return error.m_status;
   } catch (const std::bad_alloc&) {
      throw;
   } catch (const std::exception& error) {
      tell(std::string("internal fault: ") + error.what());
      return STATUS::INTERNAL;
   }
}

/// A file that is opened must never get the number of a standard stream that is closed, or messages and data would
/// go into it. A closed output stays one that cannot be written.
void occupy_standard_streams() {
   for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
      if (::fcntl(file, F_GETFD) == -1) {
         // The lowest number that is free is the one that was missing.
         ::open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
      }
   }
}

} // namespace

int main(int count, char** arguments) {
   occupy_standard_streams();
   std::signal(SIGPIPE, SIG_IGN);
   // What the library would report about a log is told by the commands, with its place.
   try {
      host_set_internal_error_handler([](const char*, const char*, const char*, int) {});
      return static_cast<int>(guarded_run({arguments + 1, arguments + count}));
   } catch (const std::bad_alloc&) {
      // Perhaps there was not even memory for a message.
      constexpr std::string_view text = "logdb: there is not enough memory\n";
      static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
      return static_cast<int>(STATUS::INTERNAL);
   }
}
