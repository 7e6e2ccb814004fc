#include "floor_memory.h"

#include <sys/mman.h>

#include <new>

namespace {

constexpr std::size_t HUGE_PAGE_BYTES = 2U << 20U;

} // namespace

void FLOOR_REGION::reserve(std::size_t bytes) {
   release();
   m_bytes = (bytes + 2 * HUGE_PAGE_BYTES) & ~(HUGE_PAGE_BYTES - 1);
   void* block = ::mmap(nullptr, m_bytes + HUGE_PAGE_BYTES, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
   if (block == MAP_FAILED) {
      throw std::bad_alloc();
   }
   // The kernel gives huge pages only where a whole one fits: what is in front of the first is given back.
   auto* begin = static_cast<char*>(block);
   const std::size_t skipped = -reinterpret_cast<std::uintptr_t>(begin) & (HUGE_PAGE_BYTES - 1);
   if (skipped != 0) {
      ::munmap(begin, skipped);
   }
   if (skipped != HUGE_PAGE_BYTES) {
      ::munmap(begin + skipped + m_bytes, HUGE_PAGE_BYTES - skipped);
   }
   m_begin = begin + skipped;
   m_cursor = m_begin;
   ::madvise(m_begin, m_bytes, MADV_HUGEPAGE);
}

void FLOOR_REGION::release() {
   if (m_begin != nullptr) {
      ::munmap(m_begin, m_bytes);
      m_begin = nullptr;
      m_cursor = nullptr;
   }
}

void FLOOR_MEMORY::reserve(std::size_t bytes_of_text) {
   // A byte of text may be a field of its own, and each slot of a connection has 32 bytes that the text says
   // nothing of. It is address space only.
   m_objects.reserve(64 * bytes_of_text);
   m_numbers.reserve(16 * bytes_of_text);
   m_characters.reserve(4 * bytes_of_text);
}

void FLOOR_MEMORY::release() {
   m_objects.release();
   m_numbers.release();
   m_characters.release();
}

void FLOOR_MEMORY::rewind() {
   m_objects.rewind();
   m_numbers.rewind();
   m_characters.rewind();
}
