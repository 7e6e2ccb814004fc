// Never may the bytes of a log, or the pieces in which they come, make tail crash, wait when there is nothing to wait for
// or leave another way than with the status 0 or 3, print anything but the last records, or print others when it follows
// a log that grows than when it reads the whole one.

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "fsyn_words.h"
#include "fuzz_command.h"

namespace {

/// What happens while this thread sleeps; it does not sleep then.
thread_local std::function<void()> while_asleep;

} // namespace

/// Takes the place of the system's: tail looks at a log, sleeps and looks again, and nobody has time for that here. The
/// system's header gives the parameters names that only it may use.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int nanosleep(const timespec* duration, timespec* rest) {
   if (while_asleep) {
      while_asleep();
      return 0;
   }
   return ::clock_nanosleep(CLOCK_MONOTONIC, 0, duration, rest);
}

namespace {

using PIECES = std::vector<std::string_view>;

const std::string every_record = "1000000";

FUZZ_ANSWER tail(std::vector<std::string> arguments, const char* path) {
   arguments.emplace_back(path);
   return fuzz_run(add_tail, arguments);
}

/// Nobody reads standard output any more.
void close_output() {
   int ends[2] = {};
   FUZZ_HOLDS(::pipe2(ends, O_CLOEXEC) == 0);
   FUZZ_HOLDS(::dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO);
   ::close(ends[0]);
   ::close(ends[1]);
}

void append(const FUZZ_FILE& file, std::string_view bytes) {
   const int descriptor = ::open(file.path(), O_WRONLY | O_APPEND | O_CLOEXEC);
   FUZZ_HOLDS(descriptor >= 0);
   FUZZ_HOLDS(::write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
   ::close(descriptor);
}

/// A log in one to four pieces, cut where its bytes say.
PIECES pieces_of(std::string_view bytes) {
   const std::size_t choice = fuzz_choice(bytes);
   PIECES pieces;
   for (std::size_t cuts = choice % 4; cuts != 0; --cuts) {
      const std::size_t size = choice / (cuts * 4) % (bytes.size() + 1);
      pieces.push_back(bytes.substr(0, size));
      bytes.remove_prefix(size);
   }
   pieces.push_back(bytes);
   return pieces;
}

/// Follows a log that grows by a piece at a time, is then begun anew and grows once more, until nobody reads any more.
FUZZ_ANSWER follow(const PIECES& first, const PIECES& second) {
   const FUZZ_FILE file(first.front());
   std::size_t step = 0;
   while_asleep = [&] {
      ++step;
      if (step < first.size()) {
         append(file, first[step]);
      } else if (step == first.size()) {
         FUZZ_HOLDS(::truncate(file.path(), 0) == 0);
      } else if (step - first.size() <= second.size()) {
         append(file, second[step - first.size() - 1]);
      } else {
         close_output();
      }
   };
   FUZZ_ANSWER answer = tail({"--follow", "--json", "--count", every_record}, file.path());
   while_asleep = nullptr;
   return answer;
}

/// The last records are the end of all, and a line each.
void check_end(const FUZZ_FILE& file, const FUZZ_ANSWER& all, std::size_t count) {
   const std::size_t wanted = std::min(count, fuzz_lines(all.m_output).size());
   const FUZZ_ANSWER last = tail({"--json", "--count", std::to_string(count)}, file.path());
   FUZZ_HOLDS(last.m_status == all.m_status);
   FUZZ_HOLDS(all.m_output.ends_with(last.m_output) && fuzz_lines(last.m_output).size() == wanted);
   const FUZZ_ANSWER lines = tail({"--color", "always", "-n", std::to_string(count)}, file.path());
   FUZZ_HOLDS(lines.m_status == all.m_status && fuzz_lines(lines.m_output).size() == wanted);
}

/// Where nothing is wrong, all records are those that show tells of.
void check_whole_log(const FUZZ_FILE& file, const FUZZ_ANSWER& all) {
   if (all.m_status == 0 && fuzz_is_sound(file.path(), "fsyn")) {
      FUZZ_HOLDS(all.m_output == fuzz_run(add_show, {"--json", "--as", "fsyn", file.path()}).m_output);
   }
}

bool has_end(std::string_view output) {
   return output.find("\"kind\":\"END_OF_LOG\"") != std::string_view::npos;
}

/// Following prints the records of both logs; it may stop at the end of a log.
void check_following(std::string_view first, const FUZZ_ANSWER& all_of_first, std::string_view second) {
   const FUZZ_FILE file(second);
   const FUZZ_ANSWER all_of_second = tail({"--json", "--count", every_record}, file.path());
   const FUZZ_ANSWER followed = follow(pieces_of(first), pieces_of(second));
   // What has no line of a log yet may become one of another format.
   if (all_of_first.m_status != 0 || all_of_second.m_status != 0 || followed.m_status != 0) {
      return;
   }
   const std::string all = all_of_first.m_output + all_of_second.m_output;
   FUZZ_HOLDS(all.starts_with(followed.m_output));
   FUZZ_HOLDS(followed.m_output.size() == all.size() || has_end(followed.m_output));
}

/// Without this the targets would sleep, and follow a log that never grows.
bool is_sleep_ours() {
   bool is_ours = false;
   while_asleep = [&is_ours] { is_ours = true; };
   std::this_thread::sleep_for(std::chrono::milliseconds(1));
   while_asleep = nullptr;
   return is_ours;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   static const bool is_ready = is_sleep_ours();
   FUZZ_HOLDS(is_ready);
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const auto [first, second] = fuzz_two_logs({reinterpret_cast<const char*>(data), size});
   if (fuzz_may_be_packed(first) || fuzz_may_be_packed(second)) {
      return 0;
   }
   const FUZZ_FILE file(first);
   const FUZZ_ANSWER all = tail({"--json", "--count", every_record}, file.path());
   FUZZ_HOLDS(all.m_status != 1);
   check_end(file, all, fuzz_choice(first) % 5);
   check_whole_log(file, all);
   check_following(first, all, second);
   tail({"--kind", "SET_*", "--node", "*u*"}, file.path());
   FUZZ_HOLDS(file.bytes() == first);
   return 0;
}

#ifdef LOGDB_FUZZER
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned int seed) {
   // Of databases tail says only that they are none of its business.
   if (seed % 4 != 0) {
      return fuzz_mutate_words(data, size, most, seed / 4, fsyn_words(), " \n");
   }
   return seed % 3 == 0 ? LLVMFuzzerMutate(data, size, most) : fuzz_mutate_two_logs(data, size, most, seed / 3);
}
#endif
