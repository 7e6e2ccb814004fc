#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <stdexcept>

#include "contenders.h"
#include "line_format.h"

namespace {

class SPDLOG_SINK {
public:
   explicit SPDLOG_SINK(spdlog::logger& logger) : m_logger(logger) {}

   template <class... FIELDS> void line(const FIELDS&... fields) {
      static constexpr LINE_FORMAT<CONVERSIONS, FIELDS...> format;
      m_logger.info(fmt::runtime(std::string_view(format.m_text, format.m_length)), argument(fields)...);
   }

private:
   struct CONVERSIONS {
      static constexpr char NUMBER[] = "{}";
      static constexpr char HEX[] = "{:x}";
      static constexpr char TEXT[] = "{}";
      static constexpr char END[] = ""; // the logger ends the line
   };

   static int argument(int number) { return number; }
   static unsigned long argument(HEXADECIMAL number) { return number.m_value; }
   static std::string_view argument(const char* word) { return word; }
   template <class STRING> static std::string_view argument(const STRING& string) {
      return {string.data(), string.size()};
   }

   spdlog::logger& m_logger;
};

/// Writes only: a logger does not read.
class SPDLOG_LOG : public LOG_CONTENDER {
public:
   void write(const std::string& path, const RECORDS& records, const READY_LINES& /*lines*/, int rounds) override {
      spdlog::logger logger("bench", std::make_shared<spdlog::sinks::basic_file_sink_st>(path));
      logger.set_pattern("%v");
      logger.flush_on(spdlog::level::info);
      SPDLOG_SINK sink(logger);
      for (int round = 0; round < rounds; ++round) {
         for (const auto& record : records) {
            write_record<LIBRARY_RECORDS>(sink, *record);
         }
      }
   }

   void read(const std::string& /*path*/) override { fail(); }
   void clear() override {}
   std::size_t read_and_delete(const std::string& /*path*/) override { fail(); }
   void append(const std::string& /*path*/, const std::string& /*from*/) override { fail(); }
   std::size_t size() const override { return 0; }
   std::uint64_t sum() const override { return 0; }

private:
   [[noreturn]] static void fail() { throw std::logic_error("a logger does not read"); }
};

} // namespace

std::unique_ptr<LOG_CONTENDER> make_spdlog_log() {
   return std::make_unique<SPDLOG_LOG>();
}
