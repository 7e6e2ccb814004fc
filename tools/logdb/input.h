#ifndef TOOL_INPUT_H
#define TOOL_INPUT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "status.h"

/// \file
/// Where logs come from: files, compressed files, standard input, folders.

/// A stream of bytes.
class INPUT {
public:
   virtual ~INPUT() = default;
   INPUT() = default;
   INPUT(const INPUT&) = delete;
   INPUT& operator=(const INPUT&) = delete;

   /// Reads at most so many bytes; 0 at the end. Throws a TOOL_ERROR when the input cannot be read.
   virtual std::size_t read(char* to, std::size_t size) = 0;

   /// Whether the bytes were unpacked.
   virtual bool is_packed() const { return false; }
};

/// Compressed bytes that cannot be unpacked any further: the system could read them.
class CANNOT_UNPACK : public TOOL_ERROR {
public:
   explicit CANNOT_UNPACK(const std::string& text) : TOOL_ERROR(STATUS::INPUT, text) {}
};

/// Opens a file, or standard input for "-". What is compressed, by its first bytes, is unpacked.
std::unique_ptr<INPUT> open_input(const std::string& path);

/// What a path holds, to be read more than once. What is no plain file, such as a pipe, is kept in a temporary one.
class REREADABLE {
public:
   explicit REREADABLE(const std::string& path);
   ~REREADABLE();
   REREADABLE(const REREADABLE&) = delete;
   REREADABLE& operator=(const REREADABLE&) = delete;

   const std::string& path() const { return m_path; }

   /// The bytes from the first one on.
   std::unique_ptr<INPUT> open() const;

private:
   void keep(INPUT& input);

   std::string m_path;
   int m_copy = -1;
};

/// Whether a path is that of a plain file, which gives the same bytes whenever it is opened.
bool is_plain_file(const std::string& path);

/// Bytes in memory as an input.
class MEMORY_INPUT : public INPUT {
public:
   explicit MEMORY_INPUT(std::string_view bytes) : m_bytes(bytes) {}
   std::size_t read(char* to, std::size_t size) override {
      const std::size_t count = m_bytes.copy(to, size);
      m_bytes.remove_prefix(count);
      return count;
   }

private:
   std::string_view m_bytes;
};

/// The files of a command line. A folder stands for all files below it, in the order of their names, if it may;
/// else it stays what it is, and opening it is an error. So does a folder that cannot be read.
std::vector<std::string> expand_paths(const std::vector<std::string>& paths, bool recursive);

/// How a path is called in messages.
std::string display_name(const std::string& path);

/// The bytes of an input in a buffer that slides. What was not dropped stays, so a view is made of offsets from
/// the beginning; more() moves the bytes.
class INPUT_WINDOW {
public:
   explicit INPUT_WINDOW(INPUT& input) : m_input(input) {}

   const char* begin() const { return m_buffer.get() + m_begin; }
   const char* end() const { return m_buffer.get() + m_end; }
   std::size_t size() const { return m_end - m_begin; }

   /// Where begin() is in the input.
   std::uint64_t offset() const { return m_offset; }

   /// Forgets bytes at the beginning.
   void drop(std::size_t count) {
      m_begin += count;
      m_offset += count;
   }

   /// Reads further bytes behind end(); false at the end of the input.
   bool more();

private:
   void make_room();

   INPUT& m_input;
   std::unique_ptr<char[]> m_buffer;
   std::size_t m_capacity = 0;
   std::size_t m_begin = 0;
   std::size_t m_end = 0;
   std::uint64_t m_offset = 0;
};

#endif
