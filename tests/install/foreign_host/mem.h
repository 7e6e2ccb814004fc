#ifndef FOREIGN_MEM_H
#define FOREIGN_MEM_H

#include <cstddef>
#include <typeinfo>

struct MEM_INITIALIZER {
   explicit MEM_INITIALIZER(const char* domain);
   MEM_INITIALIZER(const MEM_INITIALIZER&) = delete;
   MEM_INITIALIZER& operator=(const MEM_INITIALIZER&) = delete;
   ~MEM_INITIALIZER();
};

// This manager counts in the tracker itself.
struct MEM_TRACKER {
   const char* m_domain;
   const std::type_info* m_type;
   MEM_TRACKER* m_next;
   unsigned long m_blocks = 0;
};

// Each block knows its size.
struct MEM_MANAGER {
   static void* new_wrapper(std::size_t size, MEM_TRACKER* tracker, const char* file);
   static void delete_wrapper(void* block, const char* domain) noexcept;
};

#endif
