#ifndef FLOOR_MEMORY_H
#define FLOOR_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <cstring>

/// \file
/// Memory at no cost: a pointer that moves up through huge pages, and strings and lists of the same layout as
/// the library's, whose storage comes from there. Nothing is freed one by one.

/// One region of memory, of which the front part is in use.
class FLOOR_REGION {
public:
   FLOOR_REGION() = default;
   ~FLOOR_REGION() { release(); }
   FLOOR_REGION(const FLOOR_REGION&) = delete;
   FLOOR_REGION& operator=(const FLOOR_REGION&) = delete;

   /// Takes address space. Memory comes with the first use of each huge page.
   void reserve(std::size_t bytes);

   /// Gives everything back to the system.
   void release();

   /// Starts again from the front; the pages stay.
   void rewind() { m_cursor = m_begin; }

   std::size_t used() const { return static_cast<std::size_t>(m_cursor - m_begin); }

   void align(std::size_t alignment) { m_cursor += -reinterpret_cast<std::uintptr_t>(m_cursor) & (alignment - 1); }

   char* m_cursor = nullptr;

private:
   char* m_begin = nullptr;
   std::size_t m_bytes = 0;
};

/// The regions that strings and lists are built in.
struct FLOOR_MEMORY {
   FLOOR_REGION m_objects;    ///< records, entries, string objects
   FLOOR_REGION m_numbers;    ///< lists of numbers
   FLOOR_REGION m_characters; ///< strings that are too long for their object

   void reserve(std::size_t bytes_of_text);
   void release();
   void rewind();
   std::size_t used() const { return m_objects.used() + m_numbers.used() + m_characters.used(); }
};

/// Bytes that may be written behind what is in use, or read behind what is copied.
constexpr std::size_t FLOOR_SLACK = 64;

/// A string of the layout of the standard one: a text of 15 bytes or less is inside.
class FLOOR_STRING {
public:
   FLOOR_STRING() = default;
   FLOOR_STRING(const FLOOR_STRING& other) { *this = other; }

   FLOOR_STRING& operator=(const FLOOR_STRING& other) {
      m_length = other.m_length;
      std::memcpy(m_local, other.m_local, sizeof(m_local));
      m_text = other.m_text == other.m_local ? m_local : other.m_text;
      return *this;
   }

   /// \param characters  where long texts go; moved behind the text
   ///
   /// Copies a text, 64 bytes in one go whatever its length: only a longer one costs a branch. What is
   /// written too much is overwritten by what comes next in the region.
   __attribute__((always_inline)) void set(const char* text, std::size_t length, char*& characters) {
      const bool is_long = length > sizeof(m_local) - 1;
      char* target = is_long ? characters : m_local;
      m_capacity = length;
      m_text = target;
      m_length = length;
      std::memcpy(target, text, 64);
      if (length > 64) {
         copy_rest(target, text, length);
      }
      target[length] = '\0';
      characters += is_long ? length + 1 : 0;
   }

   /// The same with a text of up to 64 bytes in front.
   __attribute__((always_inline)) void set_joined(const char* front, std::size_t front_length, const char* text,
                                                  std::size_t length, char*& characters) {
      const std::size_t joined = front_length + length;
      const bool is_long = joined > sizeof(m_local) - 1;
      char* target = is_long ? characters : m_local;
      m_capacity = joined;
      m_text = target;
      m_length = joined;
      std::memcpy(target, front, 64);
      std::memcpy(target + front_length, text, 64);
      if (length > 64) {
         copy_rest(target + front_length, text, length);
      }
      target[joined] = '\0';
      characters += is_long ? joined + 1 : 0;
   }

   /// The same where the memory behind the object is in use: only the object itself is written.
   __attribute__((always_inline)) void set_in_place(const char* text, std::size_t length, char*& characters) {
      m_length = length;
      if (length < sizeof(m_local)) {
         m_text = m_local;
         std::memcpy(m_local, text, sizeof(m_local));
         m_local[length] = '\0';
         return;
      }
      m_text = characters;
      m_capacity = length;
      std::memcpy(characters, text, 64);
      if (length > 64) {
         copy_rest(characters, text, length);
      }
      characters[length] = '\0';
      characters += length + 1;
   }

   /// A short text that is known when this is compiled.
   template <std::size_t SIZE> void set_word(const char (&word)[SIZE]) {
      static_assert(SIZE <= sizeof(m_local));
      m_text = m_local;
      m_length = SIZE - 1;
      std::memcpy(m_local, word, SIZE);
   }

   const char* data() const { return m_text; }
   std::size_t size() const { return m_length; }

private:
   static void copy_rest(char* target, const char* text, std::size_t length) {
      for (std::size_t i = 64; i < length; i += 32) {
         std::memcpy(target + i, text + i, 32);
      }
   }

   char* m_text;
   std::size_t m_length;
   union {
      char m_local[16];
      std::size_t m_capacity;
   };
};

/// A list of the layout of the standard one.
template <class T> class FLOOR_LIST {
public:
   FLOOR_LIST() = default;

   /// Takes over objects that were built in a region.
   FLOOR_LIST(T* begin, T* end) : m_begin(begin), m_end(end), m_capacity(end) {}

   /// Adds an element: where the last one ended, as long as nothing else has been built in the region since.
   T& add(FLOOR_REGION& region) {
      if (m_end == m_capacity) {
         grow(region);
      }
      return *m_end++;
   }

   const T* data() const { return m_begin; }
   std::size_t size() const { return static_cast<std::size_t>(m_end - m_begin); }
   T& operator[](std::size_t index) { return m_begin[index]; }
   const T& operator[](std::size_t index) const { return m_begin[index]; }
   const T* begin() const { return m_begin; }
   const T* end() const { return m_end; }

private:
   /// One place more, in the region behind what is in use.
   void grow(FLOOR_REGION& region) {
      if (reinterpret_cast<char*>(m_capacity) != region.m_cursor) {
         move(region);
      }
      ++m_capacity;
      region.m_cursor += sizeof(T);
   }

   void move(FLOOR_REGION& region) {
      region.align(alignof(T));
      auto* moved = reinterpret_cast<T*>(region.m_cursor);
      const std::size_t count = size();
      for (std::size_t i = 0; i < count; ++i) {
         moved[i] = m_begin[i];
      }
      m_begin = moved;
      m_end = moved + count;
      m_capacity = m_end;
      region.m_cursor += count * sizeof(T);
   }

   T* m_begin = nullptr;
   T* m_end = nullptr;
   T* m_capacity = nullptr;
};

#endif
