#include "mem.h"

#include <cxxabi.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "host_standalone.h"

// The memory manager. A database of a million entries makes some four million blocks of a few dozen bytes,
// keeps them, and releases them all at once. So a block has no header, allocating one moves a pointer, and
// releasing one does not touch it.
//
// Memory comes from the system in chunks of 2 MiB, aligned to their size. What is known about a chunk is at its
// beginning, the rest is cut into spans of 64 KiB. A span holds blocks of one size for one owner (an element
// type of a domain): the address of a block leads to its span, and the span to the size and the owner.
//
// An owner has a bin for each block size. A bin hands out blocks from its window, a row of free blocks in one
// of its spans, front to back. A released block right in front of the window joins it, so that strings which
// come and go use the same few bytes; any other has a bit set in the chunk's map of free blocks, one bit for 16
// bytes: no two blocks begin in the same 16. When the window is used up, the bin takes the next row of free
// blocks in that span, then one in another of its spans, and only then a new span.
//
// A span without live blocks goes back to its chunk, unless its bin has its window there. A chunk without live
// blocks goes back to the system, but for one that is kept for what comes next. The first chunks have ordinary
// pages, so that a program with three strings pays for the pages that it touches; the others ask for huge
// pages, which make fresh memory several times cheaper.
//
// Blocks above 32 KiB are rows of whole spans; blocks above 1 MiB have a mapping each, which begins as a chunk
// does.
//
// Static objects of other sources may allocate before any constructor of this source could run, and release
// after its destructors: all state is constant-initialised and never destroyed.

#if defined(__SANITIZE_ADDRESS__)
#define MEM_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MEM_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef MEM_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace {

constexpr std::size_t granule_bytes = 16; // one bit in the map of free blocks
constexpr std::size_t step_bytes = 8;     // from one block size to the next
constexpr std::size_t smallest_bytes = granule_bytes;
constexpr std::size_t page_bytes = 4096;
constexpr std::size_t span_bytes = std::size_t{64} * 1024;
constexpr std::size_t chunk_bytes = std::size_t{2} * 1024 * 1024;
constexpr std::size_t span_count = chunk_bytes / span_bytes;
constexpr std::uint32_t all_spans = 0xffffffff;
constexpr std::size_t bits_per_word = 64;
constexpr std::size_t bytes_per_word = bits_per_word * granule_bytes;
constexpr std::size_t notes_bytes = std::size_t{64} * 1024;
constexpr std::size_t chunks_with_ordinary_pages = 2;
constexpr std::size_t chunks_searched_for_a_row = 64;

// Block sizes: the multiples of 8 from 16 to 1 KiB, then four to a doubling, then fractions of a span. An object whose
// size is no multiple of 16 is content with an address that is none.
constexpr std::size_t largest_fine_bytes = 1024;
constexpr std::size_t fine_bins = largest_fine_bytes / step_bytes;
constexpr std::array<std::size_t, 18> coarse_bytes = {1280, 1536, 1792, 2048, 2560,  3072,  3584,  4096,  5120,
                                                      6144, 7168, 8192, 9360, 10912, 13104, 16384, 21840, 32768};
constexpr std::size_t largest_bin_bytes = coarse_bytes.back();
constexpr std::size_t largest_row_bytes = 16 * span_bytes;
// Asked for more, a tool that watches blocks ends the process instead of answering that there is no memory.
constexpr std::size_t largest_watched_bytes = std::size_t{1} << 39U;
constexpr std::size_t large_bin = fine_bins + coarse_bytes.size(); // never has a window
constexpr std::size_t bin_count = large_bin + 1;

constexpr std::size_t round_up(std::size_t size, std::size_t unit) {
   return (size + unit - 1) / unit * unit;
}

/// The block size for a request of up to largest_fine_bytes.
constexpr std::size_t fine_bytes(std::size_t size) {
   return std::max(round_up(size, step_bytes), smallest_bytes);
}

struct SPAN;

struct BIN {
   char* m_window_begin;   ///< the next block; equal to the end when the window is used up
   char* m_window_end;     ///< where the window ends
   SPAN* m_span;           ///< where the window is, or null
   std::uint32_t* m_live;  ///< the count of live blocks of that span
   SPAN* m_spans_with_gap; ///< the other spans that have free blocks
};

struct MEMORY_DOMAIN {
   const char* m_name;
   std::size_t m_live_bytes;
   std::size_t m_peak_bytes;
   std::size_t m_registrations;
   MEMORY_DOMAIN* m_next;
};

/// The blocks of one element type. Named by texts of its own, because a tracker may vanish with its library.
struct OWNER {
   std::size_t m_live_bytes;
   std::size_t m_peak_bytes;
   std::size_t m_total_blocks;
   std::size_t m_released_blocks;
   MEMORY_DOMAIN* m_domain;
   const char* m_type_name; ///< as the compiler spells it
   OWNER* m_next;
   std::array<BIN, bin_count> m_bins;
};

struct alignas(64) SPAN { // one cache line: all that a release looks at, but for the counters
   OWNER* m_owner;
   BIN* m_bin;
   std::size_t m_block_bytes;
   char* m_begin;     ///< the first block
   char* m_end;       ///< the end of the last
   SPAN* m_next;      ///< in the bin's list of spans with free blocks
   SPAN* m_previous;  ///< in that list
   bool m_bin_has_it; ///< the bin's window is in it, or it is in the bin's list
};

struct CHUNK_LINK {
   CHUNK_LINK* m_next;
   CHUNK_LINK* m_previous;
};

/// The beginning of a chunk, and of the mapping of a block above 1 MiB.
struct CHUNK : CHUNK_LINK {
   std::size_t m_own_mapping_bytes; ///< not 0: the whole mapping is for one block
   std::uint32_t m_free_spans;      ///< one bit a span
   std::array<std::uint32_t, span_count> m_live;
   std::array<SPAN, span_count> m_spans;
   std::array<std::uint64_t, chunk_bytes / bytes_per_word> m_free_map;
};
static_assert(sizeof(CHUNK) % granule_bytes == 0 && sizeof(CHUNK) < span_bytes);

/// In front of each block when blocks come from the C library one by one.
struct alignas(granule_bytes) WATCHED_HEADER {
   OWNER* m_owner;
   std::size_t m_block_bytes;
};

enum class SOURCE { UNDECIDED, CHUNKS, C_LIBRARY };

constinit SOURCE source = SOURCE::UNDECIDED;
constinit MEMORY_DOMAIN no_domain = {};
constinit OWNER nobody = {0, 0, 0, 0, &no_domain, "", nullptr, {}};
constinit MEMORY_DOMAIN* first_domain = nullptr;
constinit OWNER* first_owner = nullptr;
constinit OWNER** end_of_owners = &first_owner;
constinit CHUNK_LINK chunks = {&chunks, &chunks}; // those with a free span in front of those without
constinit std::size_t chunk_count = 0;
constinit CHUNK* idle_chunk = nullptr; // kept although it had no live block
constinit std::size_t reserved_bytes = 0;
constinit char* notes_begin = nullptr;
constinit char* notes_end = nullptr;

// ---------------------------------------------------------------------------------------------------------
// Memory of the system

char* map_pages(std::size_t bytes) {
   void* mapping = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
   return mapping == MAP_FAILED ? nullptr : static_cast<char*>(mapping);
}

/// Maps pages at a multiple of chunk_bytes. Null when there are none.
char* map_aligned(std::size_t bytes) {
   char* mapping = map_pages(bytes);
   std::size_t misfit = reinterpret_cast<std::uintptr_t>(mapping) % chunk_bytes;
   if (mapping != nullptr && misfit != 0) {
      munmap(mapping, bytes);
      mapping = map_pages(bytes + chunk_bytes);
      if (mapping != nullptr) {
         misfit = reinterpret_cast<std::uintptr_t>(mapping) % chunk_bytes;
         const std::size_t in_front = misfit == 0 ? 0 : chunk_bytes - misfit;
         if (in_front != 0) {
            munmap(mapping, in_front);
         }
         mapping += in_front;
         if (in_front != chunk_bytes) {
            munmap(mapping + bytes, chunk_bytes - in_front);
         }
      }
   }
   if (mapping != nullptr) {
      reserved_bytes += bytes;
   }
   return mapping;
}

/// Memory for what is never released: zero bytes, or null.
template <class T> T* new_note(std::size_t count = 1) {
   const std::size_t bytes = round_up(count * sizeof(T), granule_bytes);
   if (static_cast<std::size_t>(notes_end - notes_begin) < bytes) {
      const std::size_t mapped = std::max(notes_bytes, round_up(bytes, page_bytes));
      char* mapping = map_pages(mapped);
      if (mapping == nullptr) {
         return nullptr;
      }
      reserved_bytes += mapped;
      notes_begin = mapping;
      notes_end = mapping + mapped;
   }
   void* note = notes_begin;
   notes_begin += bytes;
   return static_cast<T*>(note);
}

const char* copy_text(const char* text) {
   const std::size_t bytes = std::strlen(text) + 1;
   char* copy = new_note<char>(bytes);
   return copy == nullptr ? nullptr : static_cast<const char*>(std::memcpy(copy, text, bytes));
}

// ---------------------------------------------------------------------------------------------------------
// Domains and owners

MEMORY_DOMAIN* find_domain(const char* name) {
   MEMORY_DOMAIN* domain = name == nullptr ? nullptr : first_domain;
   while (domain != nullptr && std::strcmp(domain->m_name, name) != 0) {
      domain = domain->m_next;
   }
   return domain;
}

MEMORY_DOMAIN* find_or_add_domain(const char* name) {
   MEMORY_DOMAIN* domain = find_domain(name);
   if (domain != nullptr) {
      return domain;
   }
   const char* copied_name = copy_text(name);
   domain = new_note<MEMORY_DOMAIN>();
   if (copied_name == nullptr || domain == nullptr) {
      return nullptr;
   }
   *domain = {copied_name, 0, 0, 0, first_domain};
   first_domain = domain;
   return domain;
}

OWNER* find_or_add_owner(const char* domain_name, const char* type_name) {
   MEMORY_DOMAIN* domain = find_or_add_domain(domain_name);
   for (OWNER* owner = first_owner; owner != nullptr; owner = owner->m_next) {
      if (owner->m_domain == domain && std::strcmp(owner->m_type_name, type_name) == 0) {
         return owner;
      }
   }
   const char* copied_name = copy_text(type_name);
   OWNER* owner = new_note<OWNER>();
   if (domain == nullptr || copied_name == nullptr || owner == nullptr) {
      throw std::bad_alloc();
   }
   owner->m_domain = domain;
   owner->m_type_name = copied_name;
   *end_of_owners = owner;
   end_of_owners = &owner->m_next;
   return owner;
}

/// The owner that a tracker stands for, noted in the tracker for the next time.
OWNER& owner_of(MEM_TRACKER* tracker) {
   if (tracker == nullptr) {
      return nobody;
   }
   if (tracker->m_manager_note == nullptr) {
      const char* domain_name = tracker->m_domain == nullptr ? "" : tracker->m_domain;
      const char* type_name = tracker->m_type == nullptr ? "" : tracker->m_type->name();
      tracker->m_manager_note = find_or_add_owner(domain_name, type_name);
   }
   return *static_cast<OWNER*>(tracker->m_manager_note);
}

inline void count_allocation(OWNER& owner, std::size_t bytes) {
   MEMORY_DOMAIN& domain = *owner.m_domain;
   ++owner.m_total_blocks;
   owner.m_live_bytes += bytes;
   owner.m_peak_bytes = std::max(owner.m_peak_bytes, owner.m_live_bytes);
   domain.m_live_bytes += bytes;
   domain.m_peak_bytes = std::max(domain.m_peak_bytes, domain.m_live_bytes);
}

inline void count_release(OWNER& owner, std::size_t bytes) {
   ++owner.m_released_blocks;
   owner.m_live_bytes -= bytes;
   owner.m_domain->m_live_bytes -= bytes;
}

// ---------------------------------------------------------------------------------------------------------
// Chunks and their spans

inline CHUNK& chunk_of(const void* address) {
   const std::size_t offset = reinterpret_cast<std::uintptr_t>(address) % chunk_bytes;
   char* begin = const_cast<char*>(static_cast<const char*>(address)) - offset;
   return *static_cast<CHUNK*>(static_cast<void*>(begin));
}

void unlink_chunk(CHUNK& chunk) {
   chunk.m_previous->m_next = chunk.m_next;
   chunk.m_next->m_previous = chunk.m_previous;
}

void link_chunk_behind(CHUNK_LINK& place, CHUNK& chunk) {
   chunk.m_previous = &place;
   chunk.m_next = place.m_next;
   place.m_next->m_previous = &chunk;
   place.m_next = &chunk;
}

bool has_live_block(const CHUNK& chunk) {
   return std::any_of(chunk.m_live.begin(), chunk.m_live.end(), [](std::uint32_t live) { return live != 0; });
}

void mark_spans_free(CHUNK& chunk, std::uint32_t spans) {
   if (chunk.m_free_spans == 0) {
      unlink_chunk(chunk);
      link_chunk_behind(chunks, chunk);
   }
   chunk.m_free_spans |= spans;
}

void mark_spans_taken(CHUNK& chunk, std::uint32_t spans) {
   chunk.m_free_spans &= ~spans;
   if (chunk.m_free_spans == 0) {
      unlink_chunk(chunk);
      link_chunk_behind(*chunks.m_previous, chunk);
   }
}

/// Takes the spans without live blocks, in which bins have their windows, away from these.
void take_back_windows(CHUNK& chunk) {
   for (std::size_t index = 0; index < span_count; ++index) {
      SPAN& span = chunk.m_spans[index];
      const std::uint32_t bit = std::uint32_t{1} << index;
      if ((chunk.m_free_spans & bit) == 0 && chunk.m_live[index] == 0 && span.m_bin != nullptr) {
         *span.m_bin = {nullptr, nullptr, nullptr, nullptr, span.m_bin->m_spans_with_gap};
         span.m_bin = nullptr;
         mark_spans_free(chunk, bit);
      }
   }
}

void give_back_chunk(CHUNK& chunk) {
   take_back_windows(chunk);
   CHUNK_LINK* previous = chunk.m_previous;
   unlink_chunk(chunk);
   if (munmap(&chunk, chunk_bytes) == 0) {
      reserved_bytes -= chunk_bytes;
      --chunk_count;
   } else {
      // A mapping in the middle of others cannot be returned when the process has as many mappings as it may
      // have: the chunk stays, for later use.
      link_chunk_behind(*previous, chunk);
   }
}

/// Keeps a chunk that has no live block, or gives it back when another such chunk is kept already.
void chunk_became_idle(CHUNK& chunk) {
   if (idle_chunk == nullptr || has_live_block(*idle_chunk)) {
      idle_chunk = &chunk;
   } else {
      give_back_chunk(chunk);
   }
}

CHUNK* new_chunk() {
   char* mapping = map_aligned(chunk_bytes);
   if (mapping == nullptr) {
      return nullptr;
   }
   // Advice that a system without huge pages does not take.
   madvise(mapping, chunk_bytes, chunk_count < chunks_with_ordinary_pages ? MADV_NOHUGEPAGE : MADV_HUGEPAGE);
   ++chunk_count;
   CHUNK& chunk = chunk_of(mapping);
   chunk.m_free_spans = all_spans;
   link_chunk_behind(chunks, chunk);
   return &chunk;
}

/// Which spans of a chunk may serve: any for the blocks of a bin; but the first, cut short by the chunk's
/// description, is too small for a block that takes a whole one.
enum class SPANS : std::uint32_t { ANY = all_spans, WHOLE = all_spans - 1 };

/// Has a bit for each span at which so many free ones in a row begin.
std::uint32_t find_rows(const CHUNK& chunk, std::size_t count, SPANS spans) {
   std::uint32_t rows = chunk.m_free_spans & static_cast<std::uint32_t>(spans);
   for (std::size_t joined = 1; joined < count; ++joined) {
      rows &= rows >> 1U;
   }
   return rows;
}

SPAN* take_row_of(CHUNK& chunk, std::size_t count, SPANS spans) {
   const std::uint32_t rows = find_rows(chunk, count, spans);
   if (rows == 0) {
      return nullptr;
   }
   const auto index = static_cast<std::size_t>(std::countr_zero(rows));
   mark_spans_taken(chunk, static_cast<std::uint32_t>(((std::uint64_t{1} << count) - 1) << index));
   SPAN& span = chunk.m_spans[index];
   char* base = static_cast<char*>(static_cast<void*>(&chunk));
   span.m_begin = base + (index == 0 ? sizeof(CHUNK) : index * span_bytes);
   span.m_end = base + (index + count) * span_bytes;
   return &span;
}

SPAN* take_row_of_present_chunks(std::size_t count, SPANS spans) {
   CHUNK_LINK* link = chunks.m_next;
   for (std::size_t searched = 0; searched < chunks_searched_for_a_row && link != &chunks; ++searched) {
      SPAN* span = take_row_of(static_cast<CHUNK&>(*link), count, spans);
      if (span != nullptr) {
         return span;
      }
      link = link->m_next;
   }
   return nullptr;
}

/// Takes free spans in a row, from the system if need be. Null when there is no memory.
SPAN* take_row(std::size_t count, SPANS spans) {
   SPAN* span = take_row_of_present_chunks(count, spans);
   if (span != nullptr) {
      return span;
   }
   CHUNK* chunk = new_chunk();
   if (chunk != nullptr) {
      return take_row_of(*chunk, count, spans);
   }
   for (CHUNK_LINK* link = chunks.m_next; link != &chunks;) {
      CHUNK_LINK* next = link->m_next;
      take_back_windows(static_cast<CHUNK&>(*link));
      link = next;
   }
   return take_row_of_present_chunks(count, spans);
}

/// Acts on a span that lost its last live block.
[[gnu::noinline]] void span_became_empty(CHUNK& chunk, SPAN& span) {
   if (chunk.m_own_mapping_bytes != 0) {
      reserved_bytes -= chunk.m_own_mapping_bytes;
      munmap(&chunk, chunk.m_own_mapping_bytes);
      return;
   }
   BIN& bin = *span.m_bin;
   if (bin.m_window_begin != span.m_begin || bin.m_window_end != span.m_end) {
      auto* const words = chunk.m_free_map.data();
      const auto base = reinterpret_cast<std::uintptr_t>(&chunk);
      const std::size_t begin = reinterpret_cast<std::uintptr_t>(span.m_begin) - base;
      const std::size_t end = reinterpret_cast<std::uintptr_t>(span.m_end) - base;
      std::fill(words + begin / bytes_per_word, words + round_up(end, bytes_per_word) / bytes_per_word, 0);
   }
   if (bin.m_span == &span) {
      bin.m_window_begin = span.m_begin;
      bin.m_window_end = span.m_end;
   } else {
      if (&bin != &span.m_owner->m_bins[large_bin]) {
         (span.m_previous != nullptr ? span.m_previous->m_next : bin.m_spans_with_gap) = span.m_next;
         if (span.m_next != nullptr) {
            span.m_next->m_previous = span.m_previous;
         }
      }
      const auto index = static_cast<std::size_t>(&span - chunk.m_spans.data());
      const std::size_t count = span.m_block_bytes > span_bytes ? span.m_block_bytes / span_bytes : 1;
      span.m_bin = nullptr;
      mark_spans_free(chunk, static_cast<std::uint32_t>(((std::uint64_t{1} << count) - 1) << index));
   }
   if (&chunk != idle_chunk && !has_live_block(chunk)) {
      chunk_became_idle(chunk);
   }
}

// ---------------------------------------------------------------------------------------------------------
// Bins

/// Makes the next row of free blocks in a span the window.
bool find_window(BIN& bin, SPAN& span) {
   CHUNK& chunk = chunk_of(&span);
   char* base = static_cast<char*>(static_cast<void*>(&chunk));
   std::size_t word = static_cast<std::size_t>(span.m_begin - base) / bytes_per_word;
   const std::size_t end_word =
       round_up(static_cast<std::size_t>(span.m_end - base), bytes_per_word) / bytes_per_word;
   while (word != end_word && chunk.m_free_map[word] == 0) {
      ++word;
   }
   if (word == end_word) {
      return false;
   }
   const auto bit = static_cast<std::size_t>(std::countr_zero(chunk.m_free_map[word]));
   // A block begins at the granule or in its middle; in this span all are a multiple of the block size apart.
   std::size_t begin = word * bytes_per_word + bit * granule_bytes;
   if ((begin - static_cast<std::size_t>(span.m_begin - base)) % span.m_block_bytes != 0) {
      begin += step_bytes;
   }
   const auto limit = static_cast<std::size_t>(span.m_end - base);
   std::size_t end = begin;
   while (end < limit) {
      const std::uint64_t mask = std::uint64_t{1} << (end / granule_bytes % bits_per_word);
      std::uint64_t& bits = chunk.m_free_map[end / bytes_per_word];
      if ((bits & mask) == 0) {
         break;
      }
      bits &= ~mask;
      end += span.m_block_bytes;
   }
   bin.m_window_begin = base + begin;
   bin.m_window_end = base + end;
   bin.m_span = &span;
   bin.m_live = &chunk.m_live[static_cast<std::size_t>(&span - chunk.m_spans.data())];
   return true;
}

/// Finds a window for a bin that has used up its own. False when there is no memory.
bool find_window_anywhere(OWNER& owner, BIN& bin, std::size_t bytes) {
   if (bin.m_span != nullptr) {
      if (find_window(bin, *bin.m_span)) {
         return true;
      }
      bin.m_span->m_bin_has_it = false;
      bin.m_span = nullptr;
   }
   if (bin.m_spans_with_gap != nullptr) {
      SPAN& span = *bin.m_spans_with_gap;
      bin.m_spans_with_gap = span.m_next;
      if (span.m_next != nullptr) {
         span.m_next->m_previous = nullptr;
      }
      return find_window(bin, span);
   }
   SPAN* span = take_row(1, SPANS::ANY);
   if (span == nullptr) {
      return false;
   }
   span->m_owner = &owner;
   span->m_bin = &bin;
   span->m_block_bytes = bytes;
   span->m_end = span->m_begin + static_cast<std::size_t>(span->m_end - span->m_begin) / bytes * bytes;
   span->m_bin_has_it = true;
   CHUNK& chunk = chunk_of(span);
   bin.m_window_begin = span->m_begin;
   bin.m_window_end = span->m_end;
   bin.m_span = span;
   bin.m_live = &chunk.m_live[static_cast<std::size_t>(span - chunk.m_spans.data())];
   return true;
}

[[gnu::noinline]] void list_span_with_gap(BIN& bin, SPAN& span) {
   span.m_next = bin.m_spans_with_gap;
   span.m_previous = nullptr;
   if (span.m_next != nullptr) {
      span.m_next->m_previous = &span;
   }
   bin.m_spans_with_gap = &span;
   span.m_bin_has_it = true;
}

/// The next block of a window that is not used up.
inline void* take_block(OWNER& owner, BIN& bin, std::size_t bytes) {
   char* block = bin.m_window_begin;
   bin.m_window_begin = block + bytes;
   ++*bin.m_live;
   count_allocation(owner, bytes);
   return block;
}

void* allocate_small(OWNER& owner, std::size_t bin_index, std::size_t bytes) {
   BIN& bin = owner.m_bins[bin_index];
   if (bin.m_window_begin == bin.m_window_end && !find_window_anywhere(owner, bin, bytes)) {
      throw std::bad_alloc();
   }
   return take_block(owner, bin, bytes);
}

// ---------------------------------------------------------------------------------------------------------
// Other blocks

void* allocate_large(OWNER& owner, std::size_t size) {
   SPAN* span = nullptr;
   if (size <= largest_row_bytes) {
      span = take_row(round_up(size, span_bytes) / span_bytes, SPANS::WHOLE);
   } else if (size <= PTRDIFF_MAX - 2 * chunk_bytes) {
      const std::size_t bytes = round_up(size + sizeof(CHUNK), page_bytes);
      char* mapping = map_aligned(bytes);
      if (mapping != nullptr) {
         madvise(mapping, bytes, MADV_HUGEPAGE);
         CHUNK& chunk = chunk_of(mapping);
         chunk.m_own_mapping_bytes = bytes;
         span = &chunk.m_spans[0];
         span->m_begin = mapping + sizeof(CHUNK);
         span->m_end = mapping + bytes;
      }
   }
   if (span == nullptr) {
      throw std::bad_alloc();
   }
   span->m_owner = &owner;
   span->m_bin = &owner.m_bins[large_bin];
   span->m_block_bytes = static_cast<std::size_t>(span->m_end - span->m_begin);
   span->m_bin_has_it = true;
   CHUNK& chunk = chunk_of(span);
   chunk.m_live[static_cast<std::size_t>(span - chunk.m_spans.data())] = 1;
   count_allocation(owner, span->m_block_bytes);
   return span->m_begin;
}

void* allocate_watched(OWNER& owner, std::size_t size) {
   if (size > largest_watched_bytes) {
      throw std::bad_alloc();
   }
   auto* header = static_cast<WATCHED_HEADER*>(std::malloc(sizeof(WATCHED_HEADER) + size));
   if (header == nullptr) {
      throw std::bad_alloc();
   }
   header->m_owner = &owner;
   header->m_block_bytes = fine_bytes(size);
   count_allocation(owner, header->m_block_bytes);
   reserved_bytes += sizeof(WATCHED_HEADER) + header->m_block_bytes;
#ifdef MEM_ADDRESS_SANITIZER
   ASAN_POISON_MEMORY_REGION(header, sizeof(WATCHED_HEADER));
#endif
   return header + 1;
}

[[gnu::noinline]] void release_watched(void* block) {
   WATCHED_HEADER* header = static_cast<WATCHED_HEADER*>(block) - 1;
#ifdef MEM_ADDRESS_SANITIZER
   if (__asan_address_is_poisoned(block) != 0) {
      std::free(header); // it was released before: the sanitizer reports that here
      return;
   }
   ASAN_UNPOISON_MEMORY_REGION(header, sizeof(WATCHED_HEADER));
#endif
   count_release(*header->m_owner, header->m_block_bytes);
   reserved_bytes -= sizeof(WATCHED_HEADER) + header->m_block_bytes;
   std::free(header);
}

SOURCE choose_source() {
#ifdef MEM_ADDRESS_SANITIZER
   return SOURCE::C_LIBRARY;
#else
   const char* wanted = std::getenv("LOGDB_MEMORY");
   return wanted != nullptr && std::strcmp(wanted, "malloc") == 0 ? SOURCE::C_LIBRARY : SOURCE::CHUNKS;
#endif
}

/// Every allocation but that of a small block from a window.
[[gnu::noinline]] void* allocate_slowly(std::size_t size, MEM_TRACKER* tracker) {
   if (source == SOURCE::UNDECIDED) {
      source = choose_source();
   }
   OWNER& owner = owner_of(tracker);
   const std::size_t wanted = std::max<std::size_t>(size, 1);
   if (source == SOURCE::C_LIBRARY) {
      return allocate_watched(owner, wanted);
   }
   if (wanted <= largest_fine_bytes) {
      return allocate_small(owner, (wanted - 1) / step_bytes, fine_bytes(wanted));
   }
   if (wanted <= largest_bin_bytes) {
      const auto* bytes = std::lower_bound(coarse_bytes.begin(), coarse_bytes.end(), wanted);
      return allocate_small(owner, fine_bins + static_cast<std::size_t>(bytes - coarse_bytes.begin()), *bytes);
   }
   return allocate_large(owner, wanted);
}

HOST_MEMORY_STATISTICS statistics_of(const OWNER& owner) {
   HOST_MEMORY_STATISTICS statistics;
   statistics.m_live_blocks = owner.m_total_blocks - owner.m_released_blocks;
   statistics.m_live_bytes = owner.m_live_bytes;
   statistics.m_peak_bytes = owner.m_peak_bytes;
   statistics.m_total_blocks = owner.m_total_blocks;
   return statistics;
}

std::string readable_type(const char* type_name) {
   int status = 0;
   const std::unique_ptr<char, decltype(&std::free)> readable(
       abi::__cxa_demangle(type_name, nullptr, nullptr, &status), &std::free);
   return readable != nullptr ? readable.get() : type_name;
}

} // namespace

MEM_INITIALIZER::MEM_INITIALIZER(const char* domain) : m_domain(domain) {
   MEMORY_DOMAIN* registered = domain == nullptr ? nullptr : find_or_add_domain(domain);
   if (registered != nullptr) {
      ++registered->m_registrations;
   }
}

MEM_INITIALIZER::~MEM_INITIALIZER() {
   MEMORY_DOMAIN* registered = find_domain(m_domain);
   if (registered != nullptr && registered->m_registrations != 0) {
      --registered->m_registrations;
   }
}

void* MEM_MANAGER::new_wrapper(std::size_t size, MEM_TRACKER* tracker, const char* /*file*/) {
   OWNER* owner = tracker == nullptr ? &nobody : static_cast<OWNER*>(tracker->m_manager_note);
   if (owner == nullptr || size - 1 >= largest_fine_bytes) [[unlikely]] {
      return allocate_slowly(size, tracker);
   }
   BIN& bin = owner->m_bins[(size - 1) / step_bytes];
   if (bin.m_window_begin == bin.m_window_end) [[unlikely]] {
      return allocate_slowly(size, tracker);
   }
   return take_block(*owner, bin, fine_bytes(size));
}

void MEM_MANAGER::delete_wrapper(void* block, const char* /*domain*/) {
   if (block == nullptr) {
      return;
   }
   if (source != SOURCE::CHUNKS) [[unlikely]] {
      release_watched(block);
      return;
   }
   CHUNK& chunk = chunk_of(block);
   const std::size_t offset = reinterpret_cast<std::uintptr_t>(block) % chunk_bytes;
   const std::size_t index = offset / span_bytes;
   SPAN& span = chunk.m_spans[index];
   BIN& bin = *span.m_bin;
   count_release(*span.m_owner, span.m_block_bytes);
   if (static_cast<char*>(block) + span.m_block_bytes == bin.m_window_begin && bin.m_span == &span) {
      bin.m_window_begin = static_cast<char*>(block);
   } else {
      chunk.m_free_map[offset / bytes_per_word] |= std::uint64_t{1} << (offset / granule_bytes % bits_per_word);
      if (!span.m_bin_has_it) [[unlikely]] {
         list_span_with_gap(bin, span);
      }
   }
   if (--chunk.m_live[index] == 0) [[unlikely]] {
      span_became_empty(chunk, span);
   }
}

HOST_MEMORY_STATISTICS host_memory_statistics(const char* domain) {
   HOST_MEMORY_STATISTICS sum;
   const MEMORY_DOMAIN* wanted = find_domain(domain);
   if (wanted == nullptr) {
      return sum;
   }
   for (const OWNER* owner = first_owner; owner != nullptr; owner = owner->m_next) {
      if (owner->m_domain == wanted) {
         sum.m_live_blocks += owner->m_total_blocks - owner->m_released_blocks;
         sum.m_live_bytes += owner->m_live_bytes;
         sum.m_total_blocks += owner->m_total_blocks;
      }
   }
   sum.m_peak_bytes = wanted->m_peak_bytes;
   return sum;
}

std::vector<HOST_MEMORY_TRACKER_STATISTICS> host_memory_tracker_statistics() {
   std::vector<HOST_MEMORY_TRACKER_STATISTICS> all;
   for (const OWNER* owner = first_owner; owner != nullptr; owner = owner->m_next) {
      all.push_back({owner->m_domain->m_name, readable_type(owner->m_type_name), statistics_of(*owner)});
   }
   return all;
}

std::size_t host_memory_domain_registrations(const char* domain) {
   const MEMORY_DOMAIN* registered = find_domain(domain);
   return registered == nullptr ? 0 : registered->m_registrations;
}

std::size_t host_memory_reserved_bytes() {
   return reserved_bytes;
}
