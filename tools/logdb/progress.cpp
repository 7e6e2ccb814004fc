#include "progress.h"

#include <array>
#include <cstdio>
#include <utility>

#include <unistd.h>

#include "text.h"

namespace {
constexpr std::chrono::milliseconds patience{1000};
constexpr std::chrono::milliseconds redraw_interval{100};
constexpr std::size_t bar_width = 24;
} // namespace

PROGRESS* PROGRESS::m_shown = nullptr;
bool PROGRESS::m_is_silenced = false;

PROGRESS::PROGRESS(std::string_view name, std::uint64_t size)
    : m_name(escaped_for_terminal(name)), m_size(size), m_is_wanted(::isatty(STDERR_FILENO) == 1),
      m_begin(CLOCK::now()), m_next(m_begin + patience) {}

PROGRESS::~PROGRESS() {
   if (m_shown == this) {
      hide();
   }
}

void PROGRESS::hide() {
   if (m_shown != nullptr) {
      std::fputs("\r\x1b[K", stderr);
      std::fflush(stderr);
      m_shown = nullptr;
   }
}

void PROGRESS::silence() {
   hide();
   m_is_silenced = true;
}

void PROGRESS::advance(std::uint64_t bytes) {
   m_bytes = bytes;
   if (!m_is_wanted || m_is_silenced) {
      return;
   }
   const CLOCK::time_point now = CLOCK::now();
   if (now >= m_next) {
      m_next = now + redraw_interval;
      show(now);
   }
}

void PROGRESS::show(CLOCK::time_point now) {
   m_shown = this;
   const double seconds = std::chrono::duration<double>(now - m_begin).count();
   const double rate = static_cast<double>(m_bytes) / seconds;
   std::string line = "\r\x1b[K" + m_name + "  " + readable_size(static_cast<double>(m_bytes));
   if (m_size >= m_bytes && m_size != 0) {
      const std::size_t filled = static_cast<std::size_t>(m_bytes * bar_width / m_size);
      const auto left = static_cast<unsigned>(static_cast<double>(m_size - m_bytes) / rate);
      std::array<char, 32> figures = {};
      std::snprintf(figures.data(), figures.size(), "  %u:%02u left", left / 60, left % 60);
      line += "  [" + std::string(filled, '#') + std::string(bar_width - filled, '.') + "]" + figures.data();
   }
   line += "  " + readable_size(rate) + "/s";
   std::fputs(line.c_str(), stderr);
   std::fflush(stderr);
}
