#include "msg.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "host_standalone.h"

namespace {

/// A handler that code has set. It is shared with the calls that run in it, because it may replace itself.
template <class HANDLER> struct SLOT {
   HANDLER m_handler;
   bool m_is_running = false;
};

/// What the handlers were set to. Never destroyed: destructors of static objects may still report.
struct HANDLERS {
   std::shared_ptr<SLOT<HOST_INTERNAL_ERROR_HANDLER>> m_internal_error;
   std::shared_ptr<SLOT<HOST_DEBUG_MESSAGE_HANDLER>> m_debug_message;
};

constinit HANDLERS* handlers = nullptr;

HANDLERS& handlers_to_set() {
   if (handlers == nullptr) {
      handlers = new HANDLERS;
   }
   return *handlers;
}

/// Marks a handler as running as long as it lives, also when the handler leaves by an exception.
class RUNNING_MARK {
public:
   explicit RUNNING_MARK(bool& is_running) : m_is_running(is_running) { m_is_running = true; }
   ~RUNNING_MARK() { m_is_running = false; }
   RUNNING_MARK(const RUNNING_MARK&) = delete;
   RUNNING_MARK& operator=(const RUNNING_MARK&) = delete;

private:
   bool& m_is_running;
};

template <class HANDLER> HANDLER exchange_handler(std::shared_ptr<SLOT<HANDLER>>& place, HANDLER handler) {
   std::shared_ptr<SLOT<HANDLER>> slot;
   if (handler) {
      slot = std::make_shared<SLOT<HANDLER>>();
      slot->m_handler = std::move(handler);
   }
   place.swap(slot);
   return slot == nullptr ? HANDLER() : slot->m_handler;
}

bool is_set_to_1(const char* variable) {
   const char* value = std::getenv(variable);
   return value != nullptr && std::strcmp(value, "1") == 0;
}

const char* text_or_null_mark(const char* text) {
   return text == nullptr ? "(null)" : text;
}

/// Whether a character of three bytes, or of two, changes where those around it are shown: it turns the direction of
/// writing or ends a line. A name with one in it reads as another.
bool moves_text(std::string_view character) {
   const std::string_view beginning = character.substr(0, 2);
   const auto last = static_cast<unsigned char>(character.back());
   const bool is_mark = last == 0x8e || last == 0x8f || (last >= 0xa8 && last <= 0xae);
   const bool is_isolate = last >= 0xa6 && last <= 0xa9;
   return character == "\xd8\x9c" || (beginning == "\xe2\x80" && is_mark) ||
          (beginning == "\xe2\x81" && is_isolate);
}

/// The length of the character at the beginning of a text that may go to a terminal as it is; 0 for a control
/// character, and for bytes that are no UTF-8: a terminal with another encoding may take them for one.
std::size_t printable_length(std::string_view text) {
   const auto byte_at = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
   const unsigned char lead = byte_at(0);
   if (lead < 0x80) {
      return lead >= 0x20 && lead != 0x7f ? 1 : 0;
   }
   const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
   if (lead < 0xc2 || lead > 0xf4 || text.size() < length) {
      return 0;
   }
   for (std::size_t index = 1; index < length; ++index) {
      if ((byte_at(index) & 0xc0) != 0x80) {
         return 0;
      }
   }
   const unsigned char second = byte_at(1);
   const bool is_overlong = (lead == 0xe0 && second < 0xa0) || (lead == 0xf0 && second < 0x90);
   const bool is_no_character = (lead == 0xed && second >= 0xa0) || (lead == 0xf4 && second >= 0x90);
   const bool is_control = lead == 0xc2 && second < 0xa0;
   return is_overlong || is_no_character || is_control || moves_text(text.substr(0, length)) ? 0 : length;
}

/// One line on standard error. It is put together without allocating, because what is reported may be that
/// there is no memory.
class ERROR_LINE {
public:
   void add(std::string_view text) {
      for (const char byte : text) {
         if (m_used == m_bytes.size()) {
            flush();
         }
         m_bytes[m_used++] = byte;
      }
   }

   /// Adds a text from elsewhere, its control characters spelled out: a name in it could otherwise move the
   /// cursor, or forge a line.
   void add_harmless(std::string_view text) {
      while (!text.empty()) {
         const std::size_t length = printable_length(text);
         if (length != 0) {
            add(text.substr(0, length));
         } else {
            add_spelled_out(text.front());
         }
         text.remove_prefix(length == 0 ? 1 : length);
      }
   }

   /// Whether the line was printed.
   bool finish() {
      add("\n");
      flush();
      return m_is_good;
   }

private:
   void add_spelled_out(char byte) {
      switch (byte) {
      case '\n':
         add("\\n");
         break;
      case '\r':
         add("\\r");
         break;
      case '\t':
         add("\\t");
         break;
      default: {
         constexpr std::string_view digits = "0123456789abcdef";
         const auto value = static_cast<unsigned char>(byte);
         const std::array<char, 4> spelled = {'\\', 'x', digits[value >> 4U], digits[value & 15U]};
         add({spelled.data(), spelled.size()});
      }
      }
   }

   void flush() {
      m_is_good = std::fwrite(m_bytes.data(), 1, m_used, stderr) == m_used && m_is_good;
      m_used = 0;
   }

   std::array<char, 1024> m_bytes;
   std::size_t m_used = 0;
   bool m_is_good = true;
};

void print_internal_error(const char* text, const char* domain, const char* file, int line_number) {
   std::array<char, 16> number;
   std::snprintf(number.data(), number.size(), "%d", line_number);
   ERROR_LINE line;
   line.add("internal error [");
   line.add_harmless(domain);
   line.add("] ");
   line.add_harmless(file);
   line.add(":");
   line.add(number.data());
   line.add(": ");
   line.add_harmless(text);
   line.finish();
   static const bool aborts = is_set_to_1("LOGDB_ABORT_ON_INTERNAL_ERROR");
   if (aborts) {
      std::abort();
   }
}

bool print_debug_message(const char* domain, const char* text) {
   ERROR_LINE line;
   line.add("[");
   line.add_harmless(domain);
   line.add("] ");
   line.add_harmless(text);
   return line.finish();
}

bool hand_over_debug_message(SLOT<HOST_DEBUG_MESSAGE_HANDLER>* slot, const char* domain, const char* text) {
   if (slot == nullptr) {
      return print_debug_message(domain, text);
   }
   const RUNNING_MARK mark(slot->m_is_running);
   return slot->m_handler(domain, text);
}

} // namespace

HOST_INTERNAL_ERROR_HANDLER host_set_internal_error_handler(HOST_INTERNAL_ERROR_HANDLER handler) {
   return exchange_handler(handlers_to_set().m_internal_error, std::move(handler));
}

HOST_DEBUG_MESSAGE_HANDLER host_set_debug_message_handler(HOST_DEBUG_MESSAGE_HANDLER handler) {
   return exchange_handler(handlers_to_set().m_debug_message, std::move(handler));
}

void MSG_INTERNAL_ERROR::report(const char* text, const char* domain, const char* file, int line) {
   text = text_or_null_mark(text);
   domain = text_or_null_mark(domain);
   file = text_or_null_mark(file);
   const auto slot = handlers == nullptr ? nullptr : handlers->m_internal_error;
   if (slot == nullptr || slot->m_is_running) {
      print_internal_error(text, domain, file, line);
      return;
   }
   const RUNNING_MARK mark(slot->m_is_running);
   slot->m_handler(text, domain, file, line);
}

bool msg_local_vdebug(char* domain, const char* format, va_list args) {
   static const bool is_on = is_set_to_1("LOGDB_DEBUG");
   auto slot = handlers == nullptr ? nullptr : handlers->m_debug_message;
   if (slot != nullptr && slot->m_is_running) {
      slot = nullptr;
   }
   if ((slot == nullptr && !is_on) || format == nullptr) {
      return false;
   }
   std::array<char, 1024> buffer;
   va_list second_args;
   va_copy(second_args, args);
   const int length = std::vsnprintf(buffer.data(), buffer.size(), format, args);
   std::unique_ptr<char[]> long_text;
   if (length >= static_cast<int>(buffer.size())) {
      // Without memory for a long text its beginning is printed.
      long_text.reset(new (std::nothrow) char[static_cast<std::size_t>(length) + 1]);
      if (long_text != nullptr) {
         std::vsnprintf(long_text.get(), static_cast<std::size_t>(length) + 1, format, second_args);
      }
   }
   va_end(second_args);
   const char* text = long_text != nullptr ? long_text.get() : buffer.data();
   return length >= 0 && hand_over_debug_message(slot.get(), text_or_null_mark(domain), text);
}
