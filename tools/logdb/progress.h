#ifndef TOOL_PROGRESS_H
#define TOOL_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

/// A line on standard error that tells how far the reading of a file is: only on a terminal, and only when it
/// takes longer than a second.
class PROGRESS {
public:
   /// Takes the line away, because something else is about to be written to the terminal.
   static void hide();

   /// The same for good: data goes to the terminal, and the line would stand in the middle of it.
   static void silence();

   /// \param size  the bytes to come; 0 when nobody knows
   PROGRESS(std::string_view name, std::uint64_t size);
   ~PROGRESS();
   PROGRESS(const PROGRESS&) = delete;
   PROGRESS& operator=(const PROGRESS&) = delete;

   void set_size(std::uint64_t size) { m_size = size; }

   /// So many bytes have been read by now.
   void advance(std::uint64_t bytes);

private:
   using CLOCK = std::chrono::steady_clock;
   void show(CLOCK::time_point now);

   std::string m_name;
   std::uint64_t m_size;
   std::uint64_t m_bytes = 0;
   bool m_is_wanted;
   CLOCK::time_point m_begin;
   CLOCK::time_point m_next;
   static PROGRESS* m_shown; ///< whose line there is, or null
   static bool m_is_silenced;
};

#endif
