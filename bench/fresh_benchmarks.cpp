#include "fresh_benchmarks.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "benchmarks.h"
#include "contenders.h"
#include "host_standalone.h"

namespace {

/// What the process prints.
struct FRESH_RESULT {
   double m_load_seconds = 0;
   double m_unload_seconds = 0;
   std::size_t m_resident = 0;       ///< what the load added to the resident set, in bytes
   std::size_t m_resident_after = 0; ///< what is left of it after the unload
   std::size_t m_tracked = 0;        ///< what the host counts, in bytes
   std::uint64_t m_sum = 0;
};

/// A C library heap that takes the place of the standard one when it is loaded first.
struct ALLOCATOR {
   const char* m_name;
   const char* m_library;
   const char* m_symbol; ///< only this one has it
};

constexpr ALLOCATOR ALLOCATORS[] = {
    {"malloc", nullptr, nullptr},
    {"jemalloc", "libjemalloc.so.2", "mallctl"},
    {"mimalloc", "libmimalloc.so.2.0", "mi_version"},
};

const ALLOCATOR* find_allocator(const std::string& name) {
   for (const ALLOCATOR& allocator : ALLOCATORS) {
      if (name == allocator.m_name) {
         return &allocator;
      }
   }
   return nullptr;
}

std::size_t resident_bytes() {
   std::ifstream statistics("/proc/self/statm");
   std::size_t pages = 0;
   statistics >> pages >> pages;
   return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::size_t grown(std::size_t before, std::size_t after) {
   return after > before ? after - before : 0;
}

double seconds_since(std::chrono::steady_clock::time_point begin) {
   return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Sets the environment of the process to come, and becomes it.
[[noreturn]] void become_fresh(const std::string& contender, const std::string& path,
                               const std::string& allocator) {
   if (const ALLOCATOR* found = find_allocator(allocator)) {
      ::setenv("LOGDB_MEMORY", "malloc", 1);
      if (found->m_library != nullptr) {
         ::setenv("LD_PRELOAD", found->m_library, 1);
      }
   }
   ::execl("/proc/self/exe", "logdb_bench", FRESH_LOAD, contender.c_str(), path.c_str(), allocator.c_str(),
           static_cast<char*>(nullptr));
   ::_exit(127);
}

FRESH_RESULT load_in_fresh_process(const std::string& contender, const std::string& path,
                                   const std::string& allocator) {
   int channel[2];
   if (::pipe(channel) != 0) {
      throw std::runtime_error("cannot make a pipe");
   }
   const pid_t child = ::fork();
   if (child == 0) {
      ::dup2(channel[1], STDOUT_FILENO);
      ::close(channel[0]);
      ::close(channel[1]);
      become_fresh(contender, path, allocator);
   }
   ::close(channel[1]);
   FILE* answer = ::fdopen(channel[0], "r");
   FRESH_RESULT result;
   const int values =
       std::fscanf(answer, "%lf %lf %zu %zu %zu %" SCNu64, &result.m_load_seconds, &result.m_unload_seconds,
                   &result.m_resident, &result.m_resident_after, &result.m_tracked, &result.m_sum);
   std::fclose(answer);
   int status = 0;
   if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0 || values != 6) {
      throw std::runtime_error("the process that was to load failed; is " + allocator + " installed?");
   }
   return result;
}

void fresh_load(benchmark::State& state, INPUTS& inputs, const std::string& contender,
                const std::string& allocator, const std::string& input_name) {
   const DATABASE_INPUT& input = inputs.database(input_name);
   make_database_contender(contender)->prepare(input.m_path);
   FRESH_RESULT result;
   try {
      for (auto iteration : state) {
         static_cast<void>(iteration);
         result = load_in_fresh_process(contender, input.m_path, allocator);
         state.SetIterationTime(result.m_load_seconds);
         if (result.m_sum != input.m_sum) {
            fail_benchmark(state, "these are not the rows of the file");
            return;
         }
      }
   } catch (const std::exception& error) {
      fail_benchmark(state, error.what());
      return;
   }
   const auto entries = static_cast<double>(input.m_entries);
   state.counters["unload_ms"] = 1000 * result.m_unload_seconds;
   state.counters["resident_per_entry"] = static_cast<double>(result.m_resident) / entries;
   state.counters["left_per_entry"] = static_cast<double>(result.m_resident_after) / entries;
   state.counters["tracked_per_entry"] = static_cast<double>(result.m_tracked) / entries;
}

constexpr const char* usual_input = "1000000";

void add(INPUTS& inputs, const std::string& name, const std::string& contender, const std::string& allocator,
         const std::string& input = usual_input) {
   benchmark::RegisterBenchmark(
       ("fresh_load/" + name + "/" + input).c_str(),
       [=, &inputs](benchmark::State& state) { fresh_load(state, inputs, contender, allocator, input); })
       ->UseManualTime()
       ->Unit(benchmark::kMillisecond)
       ->Iterations(1);
}

} // namespace

void register_fresh_benchmarks(INPUTS& inputs) {
   for (const char* contender : {"floor", "library", "straightforward", "stdio", "sqlite", "leveldb", "libcsv"}) {
      add(inputs, contender, contender, "default");
   }
   for (const ALLOCATOR& allocator : ALLOCATORS) {
      add(inputs, std::string("library_") + allocator.m_name, "library", allocator.m_name);
   }
   for (const char* other_input : {"10000", "100000", "10000000"}) {
      for (const char* contender : {"floor", "library"}) {
         add(inputs, contender, contender, "default", other_input);
      }
   }
}

int run_fresh_load(int argument_count, char** arguments) {
   if (argument_count != 5) {
      return 2;
   }
   const std::string path = arguments[3];
   const ALLOCATOR* allocator = find_allocator(arguments[4]);
   if (allocator != nullptr && allocator->m_symbol != nullptr &&
       ::dlsym(RTLD_DEFAULT, allocator->m_symbol) == nullptr) {
      return 3;
   }
   host_set_project_directory(std::filesystem::path(path).parent_path().c_str());
   const auto contender = make_database_contender(arguments[2]);
   if (contender == nullptr) {
      return 2;
   }
   FRESH_RESULT result;
   const std::size_t before = resident_bytes();
   auto begin = std::chrono::steady_clock::now();
   contender->load(path);
   result.m_load_seconds = seconds_since(begin);
   result.m_resident = grown(before, resident_bytes());
   result.m_tracked = host_memory_statistics("LOGDB").m_live_bytes;
   result.m_sum = contender->sum();
   begin = std::chrono::steady_clock::now();
   contender->unload();
   result.m_unload_seconds = seconds_since(begin);
   result.m_resident_after = grown(before, resident_bytes());
   std::printf("%.9f %.9f %zu %zu %zu %" PRIu64 "\n", result.m_load_seconds, result.m_unload_seconds,
               result.m_resident, result.m_resident_after, result.m_tracked, result.m_sum);
   return 0;
}
