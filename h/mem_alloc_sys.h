#ifndef MEM_ALLOC_SYS_H
#define MEM_ALLOC_SYS_H

#include <cstddef>
#include <limits>
#include <new>
#include <string>
#include <typeinfo>
#include <vector>

#include "logdb_export.h"
#include "mem.h"

/// The library's allocation operator: every object that the library hands out comes from it.
///
///     LOGDB_DATABASE_ENTRY* entry = new (0) LOGDB_DATABASE_ENTRY;
///     ...
///     delete entry;
///
/// \param size  bytes
/// \param tag   ignored; callers pass 0
/// \return a block of zero bytes from the C library's heap, or null when there is no memory (the new
///         expression is then null and no constructor runs). The ordinary delete frees it: a program that puts
///         another in the place of the C++ library's must give such blocks to the C library's free, and one that
///         runs under AddressSanitizer needs ASAN_OPTIONS=alloc_dealloc_mismatch=0
LOGDB_EXPORT void* operator new(std::size_t size, int tag) noexcept;

/// What a new expression calls when a constructor throws; nothing else does.
inline void operator delete(void* block, int /*tag*/) noexcept {
   ::operator delete(block);
}

/// The standard allocator of the toolset: storage comes from the host's memory manager, in the domain "LOGDB".
/// All allocators are equal. When there is no memory, the host's exception passes through.
template <class T> class LOGDB_EXPORT MEM_STL_ALLOCATOR {
public:
   using value_type = T;

   MEM_STL_ALLOCATOR() noexcept = default;
   template <class U> MEM_STL_ALLOCATOR(const MEM_STL_ALLOCATOR<U>& /*other*/) noexcept {}

   T* allocate(std::size_t count) {
      if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) {
         throw std::bad_array_new_length();
      }
      void* block = MEM_MANAGER::new_wrapper(count * sizeof(T), &m_tracker, "h/mem_alloc_sys");
      if (block == nullptr) {
         // A host that answers null instead of throwing: the containers cannot be told in any other way.
         throw std::bad_alloc();
      }
      return static_cast<T*>(block);
   }

   void deallocate(T* block, std::size_t /*count*/) noexcept { MEM_MANAGER::delete_wrapper(block, "LOGDB"); }

private:
   static inline MEM_TRACKER m_tracker{"LOGDB", &typeid(T), nullptr};
};

template <class T, class U>
bool operator==(const MEM_STL_ALLOCATOR<T>& /*left*/, const MEM_STL_ALLOCATOR<U>& /*right*/) noexcept {
   return true;
}

template <class T, class U>
bool operator!=(const MEM_STL_ALLOCATOR<T>& /*left*/, const MEM_STL_ALLOCATOR<U>& /*right*/) noexcept {
   return false;
}

/// A byte string whose storage the host tracks.
using MEM_STRING = std::basic_string<char, std::char_traits<char>, MEM_STL_ALLOCATOR<char>>;

/// A vector whose storage the host tracks.
template <class T> using MEM_VECTOR = std::vector<T, MEM_STL_ALLOCATOR<T>>;

#endif
