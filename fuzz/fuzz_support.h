#ifndef FUZZ_SUPPORT_H
#define FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host_standalone.h"
#include "mem_alloc_sys.h"

/// \file
/// What the fuzz targets share. A target is one source with LLVMFuzzerTestOneInput in it, and opens with one
/// sentence on what may never happen. Linked with replay.cpp it runs the files of a folder, with any compiler; linked
/// with clang's fuzzer it looks for new ones.

/// The target of a source.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the process with a line on standard error when a condition does not hold.
#define FUZZ_HOLDS(condition) ((condition) ? static_cast<void>(0) : fuzz_fail(#condition, __FILE__, __LINE__))
[[noreturn]] void fuzz_fail(const char* condition, const char* file, int line);

/// The input taken apart into values. Past its end everything is zero or empty.
class FUZZ_BYTES {
public:
   FUZZ_BYTES(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

   bool is_empty() const { return m_rest.empty(); }
   std::uint8_t byte();
   std::uint64_t number(std::size_t bytes);

   /// A count from 0 to most.
   std::size_t count(std::size_t most) { return number(2) % (most + 1); }

   /// Some of the bytes: a length of one byte, and from 255 on of three, in front of them.
   MEM_STRING text();

   /// Everything that is left.
   std::string_view rest();

private:
   std::string_view m_rest;
};

/// The standalone host with handlers that keep what they get, while one lives.
class FUZZ_HOST {
public:
   FUZZ_HOST();
   ~FUZZ_HOST();
   FUZZ_HOST(const FUZZ_HOST&) = delete;
   FUZZ_HOST& operator=(const FUZZ_HOST&) = delete;

   /// The reports since the last call.
   std::vector<std::string> take_reports();

   /// Reports, marked "report: ", and messages since the last call.
   std::vector<std::string> take_events();

private:
   std::vector<std::string> m_reports;
   std::vector<std::string> m_events;
   HOST_INTERNAL_ERROR_HANDLER m_old_error_handler;
   HOST_DEBUG_MESSAGE_HANDLER m_old_message_handler;
};

/// A file in memory, which has a path like any other as long as it lives.
class FUZZ_FILE {
public:
   explicit FUZZ_FILE(std::string_view bytes = {});
   ~FUZZ_FILE();
   FUZZ_FILE(const FUZZ_FILE&) = delete;
   FUZZ_FILE& operator=(const FUZZ_FILE&) = delete;

   const char* path() const { return m_path.c_str(); }
   std::string bytes() const;

private:
   int m_descriptor;
   std::string m_path;
};

/// At the end of its life as many tracked blocks must be alive as at its beginning: one object at the beginning
/// of a target. What the process makes once must exist by then.
class FUZZ_LEAK_CHECK {
public:
   FUZZ_LEAK_CHECK() : m_before(host_memory_statistics("LOGDB").m_live_blocks) {}
   ~FUZZ_LEAK_CHECK() { FUZZ_HOLDS(host_memory_statistics("LOGDB").m_live_blocks == m_before); }
   FUZZ_LEAK_CHECK(const FUZZ_LEAK_CHECK&) = delete;
   FUZZ_LEAK_CHECK& operator=(const FUZZ_LEAK_CHECK&) = delete;

private:
   std::size_t m_before;
};

/// Reads and writes bytes the way a mutator for a text format does: words of the format are put in, taken out and
/// changed places, as well as single bytes. A target of a text format hands its LLVMFuzzerCustomMutator on to it.
///
/// \param words       what the format has a meaning for
/// \param separators  the bytes that words stand between
std::size_t fuzz_mutate_words(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed,
                              const std::vector<std::string>& words, std::string_view separators);

#endif
