#include "fuzz_support.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

void fuzz_fail(const char* condition, const char* file, int line) {
   std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
   std::abort();
}

std::uint8_t FUZZ_BYTES::byte() {
   return static_cast<std::uint8_t>(number(1));
}

std::uint64_t FUZZ_BYTES::number(std::size_t bytes) {
   std::uint64_t value = 0;
   for (; bytes != 0 && !m_rest.empty(); --bytes) {
      value = value << 8U | static_cast<std::uint8_t>(m_rest.front());
      m_rest.remove_prefix(1);
   }
   return value;
}

MEM_STRING FUZZ_BYTES::text() {
   std::size_t size = byte();
   if (size == 255) {
      size = number(2);
   }
   const std::string_view text = m_rest.substr(0, size);
   m_rest.remove_prefix(text.size());
   return {text.data(), text.size()};
}

std::string_view FUZZ_BYTES::rest() {
   const std::string_view all = m_rest;
   m_rest = {};
   return all;
}

FUZZ_HOST::FUZZ_HOST() {
   m_old_error_handler = host_set_internal_error_handler(
       [this](const char* text, const char* domain, const char* /*file*/, int /*line*/) {
          FUZZ_HOLDS(std::string_view(domain) == "LOGDB");
          m_reports.emplace_back(text);
          m_events.push_back(std::string("report: ") + text);
       });
   m_old_message_handler = host_set_debug_message_handler([this](const char* domain, const char* text) {
      FUZZ_HOLDS(std::string_view(domain) == "LOGDB");
      m_events.emplace_back(text);
      return true;
   });
}

FUZZ_HOST::~FUZZ_HOST() {
   host_set_internal_error_handler(m_old_error_handler);
   host_set_debug_message_handler(m_old_message_handler);
}

std::vector<std::string> FUZZ_HOST::take_reports() {
   std::vector<std::string> reports;
   reports.swap(m_reports);
   return reports;
}

std::vector<std::string> FUZZ_HOST::take_events() {
   std::vector<std::string> events;
   events.swap(m_events);
   return events;
}

FUZZ_FILE::FUZZ_FILE(std::string_view bytes)
    : m_descriptor(::memfd_create("logdb_fuzz", MFD_CLOEXEC)),
      m_path("/proc/self/fd/" + std::to_string(m_descriptor)) {
   FUZZ_HOLDS(m_descriptor >= 0);
   FUZZ_HOLDS(::pwrite(m_descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
}

FUZZ_FILE::~FUZZ_FILE() {
   ::close(m_descriptor);
}

std::string FUZZ_FILE::bytes() const {
   struct stat status = {};
   FUZZ_HOLDS(::fstat(m_descriptor, &status) == 0);
   std::string all(static_cast<std::size_t>(status.st_size), '\0');
   FUZZ_HOLDS(::pread(m_descriptor, all.data(), all.size(), 0) == static_cast<ssize_t>(all.size()));
   return all;
}

namespace {

/// Numbers from a seed, the same on every machine.
class NUMBERS {
public:
   explicit NUMBERS(unsigned int seed) : m_state(seed) {}
   std::size_t below(std::size_t end) {
      m_state = m_state * 6364136223846793005U + 1442695040888963407U;
      return end == 0 ? 0 : static_cast<std::size_t>(m_state >> 33U) % end;
   }

private:
   std::uint64_t m_state;
};

struct PART {
   std::size_t m_begin;
   std::size_t m_size;
};

/// A word of the text: what stands between two separators around a place.
PART word_at(const std::string& text, std::size_t place, std::string_view separators) {
   const std::size_t before = text.find_last_of(separators, place);
   const std::size_t begin = before == std::string::npos ? 0 : before + 1;
   const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
   return {begin, end - begin};
}

} // namespace

std::size_t fuzz_mutate_words(std::uint8_t* data, std::size_t size, std::size_t most, unsigned int seed,
                              const std::vector<std::string>& words, std::string_view separators) {
   NUMBERS numbers(seed);
   std::string text(reinterpret_cast<const char*>(data), size);
   const PART word = word_at(text, numbers.below(text.size() + 1), separators);
   const std::string separator(1, separators[numbers.below(separators.size())]);
   switch (numbers.below(6)) {
   case 0:
      text.insert(word.m_begin, words[numbers.below(words.size())] + separator);
      break;
   case 1:
      text.replace(word.m_begin, word.m_size, words[numbers.below(words.size())]);
      break;
   case 2:
      text.erase(word.m_begin, word.m_size + 1);
      break;
   case 3:
      text.insert(word.m_begin, text.substr(word.m_begin, word.m_size + 1));
      break;
   case 4: {
      // A word again, so long that it reaches the limits of lines and words.
      const std::size_t limits[] = {15, 16, 255, 4095, 4096, 4097, 32767, 32768};
      text.insert(word.m_begin, limits[numbers.below(std::size(limits))], 'w');
      break;
   }
   default:
      text.replace(word.m_begin + word.m_size, text.size() > word.m_begin + word.m_size ? 1 : 0, separator);
      break;
   }
   text.resize(std::min(text.size(), most));
   std::copy(text.begin(), text.end(), data);
   return text.size();
}
