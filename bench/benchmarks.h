#ifndef BENCHMARKS_H
#define BENCHMARKS_H

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <chrono>
#include <exception>
#include <string>

#include "inputs.h"

/// \file
/// What the files of benchmarks share. A benchmark is called WORK/CONTENDER/INPUT.

void register_database_benchmarks(INPUTS& inputs);
void register_log_benchmarks(INPUTS& inputs);
void register_fresh_benchmarks(INPUTS& inputs);

/// Notes that a benchmark did something else than it should; the run then fails as a whole.
void fail_benchmark(benchmark::State& state, const std::string& reason);

/// Whether any benchmark failed.
bool any_benchmark_failed();

/// Internal errors that the host was told of since the last call.
int take_reports();

/// True once for each name: what is slow to check is checked in the first repetition alone.
bool first_time(const std::string& name);

/// As many iterations as make up a million elements, and no more than 20.
int iterations_for(std::size_t elements);

/// CPU time of all threads of the process so far.
double process_cpu_seconds();

/// Times one part of each iteration; what exceptions say fails the benchmark.
template <class BEFORE, class WORK, class AFTER>
void time_work(benchmark::State& state, BEFORE before, WORK work, AFTER after) {
   using CLOCK = std::chrono::steady_clock;
   double cpu_seconds = 0;
   try {
      for (auto iteration : state) {
         static_cast<void>(iteration);
         before();
         // What an earlier benchmark left in the heap would spare this one its page faults.
         ::malloc_trim(0);
         const double cpu_begin = process_cpu_seconds();
         const CLOCK::time_point begin = CLOCK::now();
         work();
         state.SetIterationTime(std::chrono::duration<double>(CLOCK::now() - begin).count());
         cpu_seconds += process_cpu_seconds() - cpu_begin;
         after();
         if (take_reports() != 0) {
            fail_benchmark(state, "the library reported an internal error");
            return;
         }
      }
   } catch (const std::exception& error) {
      fail_benchmark(state, error.what());
      return;
   }
   // For machines that have other things to do. The CPU time of the benchmark itself has what is not timed in
   // it.
   state.counters["work_cpu_ms"] = 1000 * cpu_seconds / static_cast<double>(state.iterations());
}

#endif
