#ifndef TOOL_OUTPUT_H
#define TOOL_OUTPUT_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// Where results go: standard output, or files that appear whole or not at all.

/// A sink of bytes. close() is what makes the bytes count; a sink that is destroyed without it leaves nothing.
/// finish() brings the bytes to the disk, so that all that is left for close() is to give the file its name.
class SINK {
public:
   virtual ~SINK() = default;
   SINK() = default;
   SINK(const SINK&) = delete;
   SINK& operator=(const SINK&) = delete;
   virtual void write(std::string_view bytes) = 0;
   virtual void finish() = 0;
   virtual void close() = 0;
};

/// How a command that stops says what became of its output: that nothing was written, or, where the first bytes went
/// somewhere that does not give them back, that it is not whole.
const char* output_is_lost();

/// How output may look.
enum class COLOUR_CHOICE { AUTO, ALWAYS, NEVER };

/// The parts of an output that have a colour.
enum class STYLE { KIND, LABEL, NODE, FAINT, GOOD, BAD, WARNING, MATCH, BOLD };

/// Standard output, in large writes. It carries data only.
class OUTPUT {
public:
   explicit OUTPUT(COLOUR_CHOICE choice);

   OUTPUT& operator<<(std::string_view text) {
      m_buffer += text;
      if (m_buffer.size() >= m_limit) {
         flush();
      }
      return *this;
   }
   OUTPUT& operator<<(char byte) { return *this << std::string_view(&byte, 1); }

   /// A text that comes from a log: escaped on a terminal, as it is elsewhere.
   void data(std::string_view text);

   /// The same in a colour.
   void styled(STYLE style, std::string_view text);

   /// A text in a colour, if there is any.
   std::string painted(STYLE style, std::string_view text) const;

   bool is_terminal() const { return m_is_terminal; }
   bool has_colour() const { return m_has_colour; }

   /// The columns of the terminal; 80 when there is none.
   std::size_t width() const { return m_width; }

   /// Hands everything to the operating system.
   void flush();

private:
   std::string m_buffer;
   std::size_t m_limit;
   bool m_is_terminal;
   bool m_has_colour;
   std::size_t m_width = 80;
};

/// Whether an output would take the place of an input. "-" is standard output, and standard input, which may come from a
/// file, too.
bool is_same_file(const std::string& output, const std::string& input);

/// A file that is written beside its place and takes it when it is whole and on the disk. A name that ends in
/// ".gz" or ".zst" is compressed. "-" is standard output.
///
/// \param inputs    files that must not be overwritten
/// \param in_place  whether they may be, after all
std::unique_ptr<SINK> open_sink(const std::string& path, const std::vector<std::string>& inputs, bool in_place);

#endif
