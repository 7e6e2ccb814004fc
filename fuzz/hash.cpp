// Never may the hash hold another value for a key than a map of the standard library does, lose or move an element, or
// leave a bucket whose links do not lead back and forth.

#include <cstring>
#include <deque>
#include <unordered_map>

#include "fuzz_support.h"
#include "xtl_hash.h"

namespace {

/// Hashes hardly at all, so that the buckets are long.
struct POOR_OPS {
   unsigned long hash(const char* key) const { return static_cast<unsigned char>(key[0]) & 3U; }
   bool equal(const char* left, const char* right) const {
      return XTL_CASE_INSENSITIVE_CSTR_OPS().equal(left, right);
   }
};

std::string lowered(const char* key) {
   std::string text = key;
   for (char& byte : text) {
      byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
   }
   return text;
}

template <class MAP> void check_links(const MAP& map) {
   unsigned long elements = 0;
   for (unsigned long bucket = 0; bucket < map.m_bucket_count; ++bucket) {
      const typename MAP::NODE* previous = nullptr;
      for (const typename MAP::NODE* node = map.m_buckets[bucket]; node != nullptr; node = node->m_next) {
         FUZZ_HOLDS(node->m_prev == previous);
         FUZZ_HOLDS(map.m_ops.hash(node->m_key) % map.m_bucket_count == bucket);
         previous = node;
         ++elements;
      }
   }
   FUZZ_HOLDS(elements == map.m_size);
   FUZZ_HOLDS(map.m_bucket_count >= map.m_size / 4 * 5);
}

template <class OPS> void check(FUZZ_BYTES bytes) {
   XTL_HASH<const char*, int, OPS> map;
   std::unordered_map<std::string, int*> wanted;
   std::deque<std::string> keys; // the map keeps pointers; a deque does not move its elements
   for (int value = 1; !bytes.is_empty(); ++value) {
      const std::uint8_t what = bytes.byte();
      keys.emplace_back(bytes.text().c_str());
      const char* key = keys.back().c_str();
      const auto found = wanted.find(lowered(key));
      FUZZ_HOLDS(map.exists(key) == (found != wanted.end()));
      const auto place = map.find(key);
      FUZZ_HOLDS((place == map.end()) == (found == wanted.end()));
      FUZZ_HOLDS(found == wanted.end() || &place->m_data == found->second);
      if (what % 4 == 0) {
         map.resize(bytes.count(2000));
      } else if (what % 4 != 1) {
         int& data = map[key];
         FUZZ_HOLDS(found != wanted.end() ? &data == found->second : data == 0);
         data = value;
         wanted[lowered(key)] = &data;
      }
      FUZZ_HOLDS(map.m_size == wanted.size());
   }
   check_links(map);
   for (const auto& [key, data] : wanted) {
      FUZZ_HOLDS(map.hash_search(map.m_ops.hash(key.c_str()), key.c_str()) != nullptr);
      FUZZ_HOLDS(&map.find(key.c_str())->m_data == data);
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   const FUZZ_BYTES bytes(data, size);
   check<XTL_CASE_INSENSITIVE_CSTR_OPS>(bytes);
   check<POOR_OPS>(bytes);
   return 0;
}
