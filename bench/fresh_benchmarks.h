#ifndef FRESH_BENCHMARKS_H
#define FRESH_BENCHMARKS_H

/// The argument with which the program runs itself: one load and one unload by one contender in a process of
/// its own, the only place where memory can be measured. It is followed by the contender, the file and the
/// allocator that the process must run on (or "default").
constexpr char FRESH_LOAD[] = "--fresh-load";

int run_fresh_load(int argument_count, char** arguments);

#endif
