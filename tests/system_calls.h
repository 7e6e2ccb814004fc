#ifndef SYSTEM_CALLS_H
#define SYSTEM_CALLS_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#if defined(__SANITIZE_ADDRESS__)
#define UNDER_A_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) || __has_feature(thread_sanitizer) ||     \
    __has_feature(undefined_behavior_sanitizer)
#define UNDER_A_SANITIZER 1
#endif
#endif

// The runtime of a sanitizer writes now and then, to pipes of its own, and does not let memory run out.
#ifdef UNDER_A_SANITIZER
constexpr bool under_a_sanitizer = true;
#else
constexpr bool under_a_sanitizer = false;
#endif

/// What the kernel counted for this process.
struct CALLS {
   long m_reads = 0;
   long m_writes = 0;
   long m_written_bytes = 0;
};

inline CALLS calls_so_far() {
   char text[1000] = "";
   const int file = open("/proc/self/io", O_RDONLY | O_CLOEXEC);
   const ssize_t size = read(file, text, sizeof text - 1);
   close(file);
   EXPECT_GT(size, 0);
   CALLS calls;
   long read_bytes = 0;
   EXPECT_EQ(std::sscanf(text, "rchar: %ld wchar: %ld syscr: %ld syscw: %ld", &read_bytes, &calls.m_written_bytes,
                         &calls.m_reads, &calls.m_writes),
             4);
   return calls;
}

/// What something takes.
template <class WHAT> CALLS calls_of(WHAT&& what) {
   const CALLS nothing_begin = calls_so_far();
   const CALLS begin = calls_so_far();
   what();
   const CALLS end = calls_so_far();
   // Counting reads a file too.
   const long counting = begin.m_reads - nothing_begin.m_reads;
   return {end.m_reads - begin.m_reads - counting, end.m_writes - begin.m_writes,
           end.m_written_bytes - begin.m_written_bytes};
}

#endif
