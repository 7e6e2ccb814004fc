#ifndef BLOCK_WRITER_H
#define BLOCK_WRITER_H

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

/// A file that is replaced in large blocks: for inputs, where nothing is measured.
class BLOCK_WRITER {
public:
   explicit BLOCK_WRITER(const std::string& path)
       : m_path(path), m_file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
      if (m_file < 0) {
         throw std::runtime_error("cannot write " + path);
      }
   }

   ~BLOCK_WRITER() {
      if (m_file >= 0) {
         ::close(m_file);
      }
   }

   BLOCK_WRITER(const BLOCK_WRITER&) = delete;
   BLOCK_WRITER& operator=(const BLOCK_WRITER&) = delete;

   /// What is appended here reaches the file by and by.
   std::string& text() {
      if (m_text.size() >= BLOCK_BYTES) {
         flush();
      }
      return m_text;
   }

   void close() {
      flush();
      if (::close(m_file) != 0) {
         throw std::runtime_error("cannot write " + m_path);
      }
      m_file = -1;
   }

private:
   static constexpr std::size_t BLOCK_BYTES = 1U << 20U;

   void flush() {
      const char* position = m_text.data();
      const char* end = position + m_text.size();
      while (position < end) {
         const ssize_t written = ::write(m_file, position, static_cast<std::size_t>(end - position));
         if (written <= 0) {
            throw std::runtime_error("cannot write " + m_path);
         }
         position += written;
      }
      m_text.clear();
   }

   std::string m_path;
   int m_file;
   std::string m_text;
};

#endif
