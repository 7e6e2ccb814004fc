#include "mem_alloc_sys.h"

#include <cstdlib>
#include <cstring>

void* operator new(std::size_t size, int /*tag*/) noexcept {
   void* block = std::calloc(size, 1);
   if (block != nullptr) {
      std::memset(block, 0, size);
   }
   return block;
}
