#include "interruption.h"

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#include "netlist_error.h"

namespace {

void kill_this_process(int /*signal*/) {
   kill(getpid(), SIGKILL);
}

} // namespace

/// The system cuts a write at the limit of the file size, and signals the next one.
void kill_at_file_size(std::uint64_t bytes) {
   struct sigaction action = {};
   action.sa_handler = kill_this_process;
   const rlimit limit = {bytes, bytes};
   if (sigaction(SIGXFSZ, &action, nullptr) != 0 || setrlimit(RLIMIT_FSIZE, &limit) != 0) {
      throw NETLIST_ERROR("cannot limit the size of files");
   }
}
