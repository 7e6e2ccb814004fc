#ifndef HOST_MEM_H
#define HOST_MEM_H

#include <cstddef>
#include <typeinfo>

/// Registers a memory domain with the memory manager for its own lifetime. A library holds one static object;
/// blocks of the domain may outlive it.
class MEM_INITIALIZER {
public:
   /// \param domain  the domain's name; it must stay valid as long as the object lives
   explicit MEM_INITIALIZER(const char* domain);
   ~MEM_INITIALIZER();

   MEM_INITIALIZER(const MEM_INITIALIZER&) = delete;
   MEM_INITIALIZER& operator=(const MEM_INITIALIZER&) = delete;

private:
   const char* m_domain = nullptr;
};

/// Says for whom a block is: one tracker per element type and library, with static storage, constant but for
/// the manager's own note in it. A tracker may vanish before its blocks do (when a library is unloaded).
struct MEM_TRACKER {
   const char* m_domain;         ///< the memory domain, for example "LOGDB"
   const std::type_info* m_type; ///< the type of the elements
   void* m_manager_note;         ///< the manager's: null at first, it may keep what it likes here
};

/// The toolset's memory manager: storage of strings and vectors. One thread at a time.
class MEM_MANAGER {
public:
   /// Allocates a block.
   ///
   /// \param size     bytes; 0 gives a block of its own too
   /// \param tracker  for whom the block is; null is allowed and counts for nobody
   /// \param file     the header that allocates ("h/mem_alloc_sys")
   /// \return the block, aligned for any object of that size without extended alignment, contents unspecified
   /// \throw std::bad_alloc when there is no memory
   static void* new_wrapper(std::size_t size, MEM_TRACKER* tracker, const char* file);

   /// Releases a block of new_wrapper.
   ///
   /// \param block   the block; null is ignored
   /// \param domain  the domain that releases it ("LOGDB")
   static void delete_wrapper(void* block, const char* domain);
};

#endif
