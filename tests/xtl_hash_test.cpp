#include "xtl_hash.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <deque>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using STRING_HASH = XTL_HASH<const char*, int, XTL_CASE_INSENSITIVE_CSTR_OPS>;
using STRING_NODE = XTL_HASH_NODE<const char*, int>;

// The layout is part of the interface: programs are compiled against it.
static_assert(sizeof(unsigned long) == 8);
static_assert(std::is_standard_layout_v<STRING_NODE>);
static_assert(sizeof(STRING_NODE) == 32);
static_assert(offsetof(STRING_NODE, m_key) == 0 && std::is_same_v<decltype(STRING_NODE::m_key), const char*>);
static_assert(offsetof(STRING_NODE, m_data) == 8 && std::is_same_v<decltype(STRING_NODE::m_data), int>);
static_assert(offsetof(STRING_NODE, m_next) == 16 && std::is_same_v<decltype(STRING_NODE::m_next), STRING_NODE*>);
static_assert(offsetof(STRING_NODE, m_prev) == 24 && std::is_same_v<decltype(STRING_NODE::m_prev), STRING_NODE*>);

static_assert(std::is_standard_layout_v<STRING_HASH>);
static_assert(sizeof(STRING_HASH) == 32);
static_assert(offsetof(STRING_HASH, m_bucket_count) == 0);
static_assert(std::is_same_v<decltype(STRING_HASH::m_bucket_count), unsigned long>);
static_assert(offsetof(STRING_HASH, m_size) == 8);
static_assert(std::is_same_v<decltype(STRING_HASH::m_size), unsigned long>);
static_assert(offsetof(STRING_HASH, m_buckets) == 16);
static_assert(std::is_same_v<decltype(STRING_HASH::m_buckets), STRING_NODE**>);
static_assert(offsetof(STRING_HASH, m_ops) == 24);
static_assert(std::is_same_v<decltype(STRING_HASH::m_ops), XTL_CASE_INSENSITIVE_CSTR_OPS>);
static_assert(offsetof(STRING_HASH, m_collisions) == 28);
static_assert(std::is_same_v<decltype(STRING_HASH::m_collisions), unsigned int>);
static_assert(!std::is_polymorphic_v<STRING_HASH>);
static_assert(!std::is_copy_constructible_v<STRING_HASH>);
static_assert(!std::is_copy_assignable_v<STRING_HASH>);

using STRING_ITERATOR = decltype(std::declval<const STRING_HASH&>().end());
static_assert(std::is_standard_layout_v<STRING_ITERATOR>);
static_assert(sizeof(STRING_ITERATOR) == 32);
static_assert(offsetof(STRING_ITERATOR, m_hash) == 0);
static_assert(offsetof(STRING_ITERATOR, m_bucket) == 8);
static_assert(std::is_same_v<decltype(STRING_ITERATOR::m_bucket), unsigned long>);
static_assert(offsetof(STRING_ITERATOR, m_bucket_count) == 16);
static_assert(std::is_same_v<decltype(STRING_ITERATOR::m_bucket_count), unsigned long>);
static_assert(offsetof(STRING_ITERATOR, m_node) == 24);
static_assert(std::is_same_v<decltype(STRING_ITERATOR::m_node), STRING_NODE*>);

using TEXT = const char*;
static_assert(std::is_same_v<decltype(&STRING_HASH::operator[]), int& (STRING_HASH::*)(const TEXT&)>);
static_assert(std::is_same_v<decltype(&STRING_HASH::find), STRING_ITERATOR (STRING_HASH::*)(const TEXT&) const>);
static_assert(std::is_same_v<decltype(&STRING_HASH::end), STRING_ITERATOR (STRING_HASH::*)() const>);
static_assert(std::is_same_v<decltype(&STRING_HASH::exists), bool (STRING_HASH::*)(const TEXT&) const>);
static_assert(std::is_same_v<decltype(&STRING_HASH::hash_search),
                             STRING_NODE* (STRING_HASH::*)(unsigned long, const TEXT&) const>);
static_assert(std::is_same_v<decltype(&STRING_HASH::insert_node), void (STRING_HASH::*)(STRING_NODE*)>);
static_assert(std::is_same_v<decltype(&STRING_HASH::resize), void (STRING_HASH::*)(unsigned long)>);
static_assert(std::is_same_v<decltype(&XTL_CASE_INSENSITIVE_CSTR_OPS::hash),
                             unsigned long (XTL_CASE_INSENSITIVE_CSTR_OPS::*)(const char*) const>);
static_assert(std::is_same_v<decltype(&XTL_CASE_INSENSITIVE_CSTR_OPS::equal),
                             bool (XTL_CASE_INSENSITIVE_CSTR_OPS::*)(const char*, const char*) const>);
static_assert(std::is_same_v<decltype(&xtl_hash_50_percent_increase_size), unsigned long (*)(unsigned long)>);

/// How many bytes of the C library's heap are in use.
std::size_t bytes_of_the_heap() {
   const struct mallinfo2 heap = ::mallinfo2();
   return heap.uordblks + heap.hblkhd;
}

/// Distinct keys that stay where they are.
class KEYS {
public:
   const char* make(int number) {
      m_texts.push_back("key_" + std::to_string(number));
      return m_texts.back().c_str();
   }

private:
   std::deque<std::string> m_texts;
};

/// Key operations whose buckets a test can foresee, and that tell how they were called. The hash of "n:rest" is n.
struct FORESEEN_OPS {
   unsigned long hash(const char* key) const {
      ++hash_calls;
      return std::strtoul(key, nullptr, 10);
   }

   bool equal(const char* left, const char* right) const {
      equal_calls.emplace_back(left, right);
      return std::string(left) == right;
   }

   static inline int hash_calls = 0;
   static inline std::vector<std::pair<const char*, const char*>> equal_calls;
};

using FORESEEN_HASH = XTL_HASH<const char*, int, FORESEEN_OPS>;
using FORESEEN_NODE = XTL_HASH_NODE<const char*, int>;

using CHAINS = std::vector<std::vector<const char*>>;

/// The keys of every bucket, in chain order; checks the links in both directions and the size on the way.
template <class HASH> CHAINS chains_of(const HASH& hash) {
   CHAINS chains(hash.m_bucket_count);
   unsigned long size = 0;
   for (unsigned long bucket = 0; bucket < hash.m_bucket_count; ++bucket) {
      const STRING_NODE* previous = nullptr;
      for (const STRING_NODE* node = hash.m_buckets[bucket]; node != nullptr; node = node->m_next) {
         EXPECT_EQ(node->m_prev, previous);
         EXPECT_EQ(hash.m_ops.hash(node->m_key) % hash.m_bucket_count, bucket);
         chains[bucket].push_back(node->m_key);
         previous = node;
         ++size;
      }
   }
   EXPECT_EQ(size, hash.m_size);
   return chains;
}

/// What the map should look like, with the chains as plain lists.
struct MODEL {
   CHAINS m_chains = CHAINS(61);
   unsigned long m_size = 0;
   unsigned int m_collisions = 0;

   static unsigned long hash(const char* key) { return std::strtoul(key, nullptr, 10); }

   void put(const char* key) {
      std::vector<const char*>& chain = m_chains[hash(key) % m_chains.size()];
      if (!chain.empty()) {
         ++m_collisions;
      }
      chain.insert(chain.begin(), key);
   }

   void insert(const char* key) {
      put(key);
      ++m_size;
      const unsigned long wanted = m_size / 4 * 5;
      if (m_chains.size() >= wanted) {
         return;
      }
      const CHAINS old_chains = m_chains;
      m_chains = CHAINS(xtl_hash_50_percent_increase_size(wanted));
      for (const std::vector<const char*>& chain : old_chains) {
         for (const char* old_key : chain) {
            put(old_key);
         }
      }
      m_collisions = 0;
   }
};

TEST(XTL_HASH, a_new_map_has_61_empty_buckets) {
   const STRING_HASH hash;
   EXPECT_EQ(hash.m_bucket_count, 61u);
   EXPECT_EQ(hash.m_size, 0u);
   EXPECT_EQ(hash.m_collisions, 0u);
   ASSERT_NE(hash.m_buckets, nullptr);
   for (unsigned long bucket = 0; bucket < 61; ++bucket) {
      EXPECT_EQ(hash.m_buckets[bucket], nullptr);
   }
}

TEST(XTL_HASH, nothing_is_found_in_a_new_map) {
   const STRING_HASH hash;
   for (const char* key : {"a", "", "some longer key"}) {
      EXPECT_TRUE(hash.find(key) == hash.end());
      EXPECT_FALSE(hash.find(key) != hash.end());
      EXPECT_FALSE(hash.exists(key));
      EXPECT_EQ(hash.hash_search(hash.m_ops.hash(key), key), nullptr);
   }
}

TEST(XTL_HASH, end_names_the_map_and_the_bucket_count_twice_and_no_element) {
   const STRING_HASH hash;
   const STRING_ITERATOR end = hash.end();
   EXPECT_EQ(end.m_hash, &hash);
   EXPECT_EQ(end.m_bucket, 61u);
   EXPECT_EQ(end.m_bucket_count, 61u);
   EXPECT_EQ(end.m_node, nullptr);
}

TEST(XTL_HASH, find_names_the_map_the_bucket_and_the_element) {
   STRING_HASH hash;
   const char* key = "a key";
   hash[key] = 7;
   const STRING_ITERATOR found = hash.find(key);
   EXPECT_EQ(found.m_hash, &hash);
   EXPECT_EQ(found.m_bucket, hash.m_ops.hash(key) % 61);
   EXPECT_EQ(found.m_bucket_count, 61u);
   ASSERT_NE(found.m_node, nullptr);
   EXPECT_EQ(found.m_node, hash.m_buckets[found.m_bucket]);
   EXPECT_EQ(found.m_node->m_key, key);
   EXPECT_EQ(found.m_node->m_data, 7);
   EXPECT_FALSE(found == hash.end());
   EXPECT_TRUE(found != hash.end());
}

TEST(XTL_HASH, find_of_an_absent_key_names_its_bucket_and_no_element) {
   STRING_HASH hash;
   hash["present"] = 1;
   const char* key = "absent";
   const STRING_ITERATOR found = hash.find(key);
   EXPECT_EQ(found.m_hash, &hash);
   EXPECT_EQ(found.m_bucket, hash.m_ops.hash(key) % 61);
   EXPECT_EQ(found.m_bucket_count, 61u);
   EXPECT_EQ(found.m_node, nullptr);
   EXPECT_TRUE(found == hash.end());
}

TEST(XTL_HASH, iterators_are_compared_by_their_element_alone) {
   STRING_HASH hash;
   STRING_HASH other;
   hash["a"] = 1;
   hash["b"] = 2;
   EXPECT_TRUE(hash.find("a") == hash.find("A"));
   EXPECT_TRUE(hash.find("a") != hash.find("b"));
   EXPECT_TRUE(hash.end() == other.end());
   EXPECT_TRUE(hash.find("absent") == other.find("another"));
}

TEST(XTL_HASH, a_new_element_has_the_value_0) {
   STRING_HASH hash;
   EXPECT_EQ(hash["a"], 0);
   EXPECT_EQ(hash.m_size, 1u);
   hash["a"] = -5;
   EXPECT_EQ(hash["a"], -5);
   EXPECT_EQ(hash.m_size, 1u);
}

TEST(XTL_HASH, a_key_that_differs_in_case_alone_is_the_stored_element) {
   STRING_HASH hash;
   const char* first = "Register Packing log";
   hash[first] = 1;
   int& value = hash["REGISTER packing LOG"];
   EXPECT_EQ(&value, &hash[first]);
   EXPECT_EQ(value, 1);
   EXPECT_EQ(hash.m_size, 1u);
   EXPECT_EQ(hash.m_collisions, 0u);
   EXPECT_EQ(hash.find("register packing log").m_node->m_key, first) << "the first key given stays";
   EXPECT_TRUE(hash.exists("rEGISTER pACKING LOG"));
   EXPECT_FALSE(hash.exists("Register Packing lo"));
   EXPECT_FALSE(hash.exists("Register Packing logs"));
}

TEST(XTL_HASH, keys_are_not_copied) {
   STRING_HASH hash;
   char text[] = "key";
   hash[text] = 3;
   EXPECT_EQ(hash.find("key").m_node->m_key, text);
}

TEST(XTL_HASH, the_empty_key_is_a_key_like_any_other) {
   STRING_HASH hash;
   hash["a"] = 1;
   EXPECT_FALSE(hash.exists(""));
   EXPECT_TRUE(hash.find("") == hash.end());
   hash[""] = 2;
   EXPECT_TRUE(hash.exists(""));
   EXPECT_EQ(hash[""], 2);
   EXPECT_EQ(hash["a"], 1);
   EXPECT_EQ(hash.m_size, 2u);
}

TEST(XTL_HASH, any_mix_of_letter_case_finds_the_element) {
   STRING_HASH hash;
   hash["abcdefghijklmnopqrstuvwxyz_0129"] = 4;
   std::string key = "abcdefghijklmnopqrstuvwxyz_0129";
   for (std::size_t position = 0; position < 26; ++position) {
      key[position] = static_cast<char>(key[position] - 'a' + 'A');
      EXPECT_TRUE(hash.exists(key.c_str())) << key;
      EXPECT_EQ(hash[key.c_str()], 4) << key;
   }
   EXPECT_EQ(hash.m_size, 1u);
   for (std::size_t position = 0; position < key.size(); ++position) {
      std::string other = key;
      other[position] = '#';
      EXPECT_FALSE(hash.exists(other.c_str())) << other;
   }
}

TEST(XTL_HASH, new_elements_go_to_the_front_of_their_chain) {
   FORESEEN_HASH hash;
   const std::vector<const char*> keys = {"5:a", "5:b", "66:c", "6:d", "127:e"}; // 66 and 127 are 5 modulo 61
   for (const char* key : keys) {
      hash[key] = 0;
   }
   const CHAINS chains = chains_of(hash);
   EXPECT_EQ(chains[5], (std::vector<const char*>{keys[4], keys[2], keys[1], keys[0]}));
   EXPECT_EQ(chains[6], std::vector<const char*>{keys[3]});
}

TEST(XTL_HASH, every_insertion_into_a_bucket_that_is_not_empty_is_a_collision) {
   FORESEEN_HASH hash;
   hash["5:a"] = 0;
   EXPECT_EQ(hash.m_collisions, 0u);
   hash["6:a"] = 0;
   EXPECT_EQ(hash.m_collisions, 0u);
   hash["66:a"] = 0;
   EXPECT_EQ(hash.m_collisions, 1u);
   hash["5:b"] = 0;
   EXPECT_EQ(hash.m_collisions, 2u);
   hash["5:a"] = 1; // already there
   EXPECT_TRUE(hash.exists("5:a"));
   EXPECT_FALSE(hash.exists("5:z"));
   EXPECT_EQ(hash.m_collisions, 2u);
}

TEST(XTL_HASH, the_stored_key_is_compared_first_and_the_chain_is_walked_from_its_head) {
   FORESEEN_HASH hash;
   const char* older = "5:older";
   const char* newer = "5:newer";
   hash[older] = 0;
   hash[newer] = 0;

   FORESEEN_OPS::equal_calls.clear();
   const char* absent = "66:absent";
   EXPECT_EQ(hash.hash_search(66, absent), nullptr);
   using CALLS = std::vector<std::pair<const char*, const char*>>;
   EXPECT_EQ(FORESEEN_OPS::equal_calls, (CALLS{{newer, absent}, {older, absent}}));

   FORESEEN_OPS::equal_calls.clear();
   const std::string again = newer;
   const char* searched = again.c_str();
   EXPECT_EQ(hash.find(searched).m_node->m_key, newer);
   EXPECT_EQ(FORESEEN_OPS::equal_calls, (CALLS{{newer, searched}})) << "the first that is equal ends the walk";

   FORESEEN_OPS::equal_calls.clear();
   hash["5:another"] = 0;
   ASSERT_EQ(FORESEEN_OPS::equal_calls.size(), 2u);
   EXPECT_EQ(FORESEEN_OPS::equal_calls[0].first, newer);
   EXPECT_EQ(FORESEEN_OPS::equal_calls[1].first, older);
}

TEST(XTL_HASH, a_lookup_costs_one_hash) {
   FORESEEN_HASH hash;
   FORESEEN_OPS::hash_calls = 0;
   hash["5:a"] = 0;
   EXPECT_EQ(FORESEEN_OPS::hash_calls, 1);
   hash["5:a"] = 1;
   EXPECT_EQ(FORESEEN_OPS::hash_calls, 2);
   EXPECT_TRUE(hash.exists("5:a"));
   EXPECT_EQ(FORESEEN_OPS::hash_calls, 3);
   EXPECT_FALSE(hash.find("5:b") != hash.end());
   EXPECT_EQ(FORESEEN_OPS::hash_calls, 4);
   EXPECT_NE(hash.hash_search(5, "5:a"), nullptr);
   EXPECT_EQ(FORESEEN_OPS::hash_calls, 4) << "the caller gives the hash value";
}

TEST(XTL_HASH, hash_search_looks_in_the_bucket_of_the_hash_value_that_it_is_given) {
   FORESEEN_HASH hash;
   hash["5:a"] = 9;
   ASSERT_NE(hash.hash_search(5, "5:a"), nullptr);
   EXPECT_EQ(hash.hash_search(5, "5:a")->m_data, 9);
   EXPECT_EQ(hash.hash_search(5 + 61, "5:a"), hash.hash_search(5, "5:a"));
   EXPECT_EQ(hash.hash_search(6, "5:a"), nullptr);
}

TEST(XTL_HASH, buckets_are_computed_in_64_bits) {
   FORESEEN_HASH hash;
   const char* key = "18446744073709551615:largest";
   hash[key] = 1;
   const unsigned long bucket = 18446744073709551615ul % 61;
   ASSERT_NE(hash.m_buckets[bucket], nullptr);
   EXPECT_EQ(hash.m_buckets[bucket]->m_key, key);
   EXPECT_EQ(hash.find(key).m_bucket, bucket);
}

TEST(XTL_HASH, the_52nd_element_makes_the_map_grow) {
   STRING_HASH hash;
   KEYS keys;
   for (int number = 1; number <= 51; ++number) {
      hash[keys.make(number)] = number;
   }
   EXPECT_EQ(hash.m_bucket_count, 61u);
   EXPECT_EQ(hash.m_size, 51u);

   hash[keys.make(52)] = 52;
   EXPECT_EQ(hash.m_bucket_count, xtl_hash_50_percent_increase_size(65));
   EXPECT_EQ(hash.m_size, 52u);
   EXPECT_EQ(hash.m_collisions, 0u);
   for (int number = 1; number <= 52; ++number) {
      const std::string key = "KEY_" + std::to_string(number);
      ASSERT_TRUE(hash.exists(key.c_str())) << key;
      EXPECT_EQ(hash.find(key.c_str()).m_node->m_data, number);
   }
   chains_of(hash);
}

TEST(XTL_HASH, end_follows_the_bucket_count_and_older_iterators_keep_theirs) {
   STRING_HASH hash;
   KEYS keys;
   hash["first"] = 1;
   const STRING_ITERATOR before = hash.find("first");
   for (int number = 1; number <= 60; ++number) {
      hash[keys.make(number)] = number;
   }
   ASSERT_GT(hash.m_bucket_count, 61u);
   EXPECT_EQ(before.m_bucket_count, 61u);
   EXPECT_EQ(hash.end().m_bucket, hash.m_bucket_count);
   EXPECT_EQ(hash.end().m_bucket_count, hash.m_bucket_count);
   EXPECT_EQ(hash.find("first").m_bucket_count, hash.m_bucket_count);
   EXPECT_TRUE(before == hash.find("first"));
}

TEST(XTL_HASH, references_and_elements_stay_while_the_map_grows) {
   STRING_HASH hash;
   KEYS keys;
   std::vector<int*> values;
   std::vector<STRING_NODE*> nodes;
   std::vector<const char*> texts;
   for (int number = 0; number < 2000; ++number) {
      texts.push_back(keys.make(number));
      int& value = hash[texts.back()];
      value = number;
      values.push_back(&value);
      nodes.push_back(hash.find(texts.back()).m_node);
   }
   ASSERT_GT(hash.m_bucket_count, 1000u);
   for (std::size_t number = 0; number < values.size(); ++number) {
      EXPECT_EQ(&hash[texts[number]], values[number]);
      EXPECT_EQ(*values[number], static_cast<int>(number));
      EXPECT_EQ(hash.find(texts[number]).m_node, nodes[number]);
   }
   EXPECT_EQ(std::set<int*>(values.begin(), values.end()).size(), values.size());
}

TEST(XTL_HASH, the_value_of_the_element_that_makes_the_map_grow_is_returned) {
   STRING_HASH hash;
   KEYS keys;
   for (int number = 1; number <= 51; ++number) {
      hash[keys.make(number)] = number;
   }
   const char* last = keys.make(52);
   int& value = hash[last];
   ASSERT_GT(hash.m_bucket_count, 61u);
   value = 4711;
   EXPECT_EQ(hash.find(last).m_node->m_data, 4711);
}

TEST(XTL_HASH, growing_reverses_the_order_within_a_bucket) {
   FORESEEN_HASH hash;
   std::deque<std::string> texts;
   for (int number = 0; number < 52; ++number) {
      texts.push_back("0:" + std::to_string(number));
      hash[texts.back().c_str()] = number;
   }
   const CHAINS chains = chains_of(hash);
   ASSERT_GT(hash.m_bucket_count, 61u);
   ASSERT_EQ(chains[0].size(), 52u);
   for (std::size_t position = 0; position < 52; ++position) {
      EXPECT_EQ(chains[0][position], texts[position].c_str());
   }
   EXPECT_EQ(hash.m_collisions, 0u);
   hash["0:next"] = 1;
   EXPECT_EQ(hash.m_collisions, 1u);
}

TEST(XTL_HASH, chains_collisions_and_growth_are_those_of_plain_lists) {
   FORESEEN_HASH hash;
   MODEL model;
   std::deque<std::string> texts;
   unsigned long spread = 12345;
   for (int number = 0; number < 600; ++number) {
      spread = spread * 6364136223846793005ul + 1442695040888963407ul;
      texts.push_back(std::to_string((spread >> 33) % 150) + ":" + std::to_string(number));
      const char* key = texts.back().c_str();
      hash[key] = number;
      model.insert(key);
      ASSERT_EQ(hash.m_bucket_count, model.m_chains.size()) << number;
      ASSERT_EQ(hash.m_size, model.m_size) << number;
      ASSERT_EQ(hash.m_collisions, model.m_collisions) << number;
      if (number % 10 == 0 || number < 60) {
         ASSERT_EQ(chains_of(hash), model.m_chains) << number;
      }
   }
   FORESEEN_OPS::equal_calls.clear();
}

TEST(XTL_HASH, insert_node_puts_an_element_in_front_and_leaves_the_size) {
   FORESEEN_HASH hash;
   hash["5:a"] = 0;
   FORESEEN_NODE* old_head = hash.m_buckets[5];

   FORESEEN_NODE* node = new (0) FORESEEN_NODE;
   node->m_key = "66:b";
   node->m_data = 3;
   node->m_prev = old_head; // what it held before does not matter
   node->m_next = old_head;
   hash.insert_node(node);
   EXPECT_EQ(hash.m_buckets[5], node);
   EXPECT_EQ(node->m_prev, nullptr);
   EXPECT_EQ(node->m_next, old_head);
   EXPECT_EQ(old_head->m_prev, node);
   EXPECT_EQ(old_head->m_next, nullptr);
   EXPECT_EQ(hash.m_size, 1u);
   EXPECT_EQ(hash.m_collisions, 1u);
   EXPECT_EQ(hash["66:b"], 3);

   FORESEEN_NODE* alone = new (0) FORESEEN_NODE;
   alone->m_key = "7:c";
   alone->m_prev = node;
   alone->m_next = node;
   hash.insert_node(alone);
   EXPECT_EQ(hash.m_buckets[7], alone);
   EXPECT_EQ(alone->m_prev, nullptr);
   EXPECT_EQ(alone->m_next, nullptr);
   EXPECT_EQ(hash.m_size, 1u);
   EXPECT_EQ(hash.m_collisions, 1u);
}

TEST(XTL_HASH, resize_grows_when_the_count_in_fours_is_more_than_four_fifths_of_the_buckets) {
   for (unsigned long count = 0; count <= 200; ++count) {
      STRING_HASH hash;
      hash["a"] = 1;
      hash.resize(count);
      const unsigned long wanted = count / 4 * 5;
      EXPECT_EQ(hash.m_bucket_count, wanted > 61 ? xtl_hash_50_percent_increase_size(wanted) : 61u) << count;
      EXPECT_EQ(hash.m_size, 1u);
      EXPECT_TRUE(hash.exists("A"));
   }
}

TEST(XTL_HASH, resize_never_shrinks) {
   STRING_HASH hash;
   hash.resize(1000);
   const unsigned long grown = hash.m_bucket_count;
   EXPECT_EQ(grown, xtl_hash_50_percent_increase_size(1250));
   STRING_NODE** buckets = hash.m_buckets;
   for (const unsigned long count : {0ul, 1ul, 52ul, 1000ul}) {
      hash.resize(count);
      EXPECT_EQ(hash.m_bucket_count, grown);
      EXPECT_EQ(hash.m_buckets, buckets);
   }
}

TEST(XTL_HASH, as_many_buckets_as_are_wanted_are_enough) {
   unsigned long count = 52;
   while (xtl_hash_50_percent_increase_size(count / 4 * 5) % 5 != 0) {
      ++count;
      ASSERT_LT(count, 10000u);
   }
   STRING_HASH hash;
   hash.resize(count);
   const unsigned long buckets = hash.m_bucket_count;
   hash.resize(buckets / 5 * 4);
   EXPECT_EQ(hash.m_bucket_count, buckets);
   hash.resize(buckets / 5 * 4 + 3);
   EXPECT_EQ(hash.m_bucket_count, buckets);
   hash.resize(buckets / 5 * 4 + 4);
   EXPECT_EQ(hash.m_bucket_count, xtl_hash_50_percent_increase_size(buckets + 5));
}

TEST(XTL_HASH, growing_sets_the_collisions_to_0_and_resize_without_growth_leaves_them) {
   FORESEEN_HASH hash;
   hash["5:a"] = 0;
   hash["5:b"] = 0;
   hash["5:c"] = 0;
   EXPECT_EQ(hash.m_collisions, 2u);
   hash.resize(48);
   EXPECT_EQ(hash.m_collisions, 2u);
   hash.resize(52);
   EXPECT_EQ(hash.m_collisions, 0u);
   const CHAINS chains = chains_of(hash);
   EXPECT_EQ(chains[5].size(), 3u);
}

/// A value that counts how many of its like there are.
struct COUNTED_VALUE {
   COUNTED_VALUE() { ++count; }
   COUNTED_VALUE(const COUNTED_VALUE& /*other*/) { ++count; }
   COUNTED_VALUE& operator=(const COUNTED_VALUE& /*other*/) = default;
   ~COUNTED_VALUE() { --count; }

   static inline int count = 0;
};

TEST(XTL_HASH, the_elements_of_every_bucket_go_with_their_map) {
   const int before = COUNTED_VALUE::count;
   {
      XTL_HASH<const char*, COUNTED_VALUE, FORESEEN_OPS> hash;
      for (const char* key : {"0:a", "0:b", "1:a", "1:b", "2:a", "60:a", "60:b"}) {
         hash[key];
      }
      EXPECT_EQ(COUNTED_VALUE::count, before + 7);
   }
   EXPECT_EQ(COUNTED_VALUE::count, before);
}

TEST(XTL_HASH, a_map_gives_the_memory_of_all_its_bucket_arrays_back) {
   constexpr unsigned long element_count = 100000;
   const std::size_t before = bytes_of_the_heap();
   for (int round = 0; round < 10; ++round) {
      STRING_HASH hash;
      hash.resize(element_count);
      hash.resize(2 * element_count);
   }
   // Where the figures are not those of the heap, under a sanitizer or valgrind, lost blocks are looked for anyway.
   EXPECT_LT(bytes_of_the_heap(), before + element_count * sizeof(STRING_NODE*));
}

TEST(XTL_HASH, the_growth_size_is_at_least_half_as_large_again) {
   for (unsigned long wanted = 1; wanted < 20000; wanted += 7) {
      EXPECT_GE(xtl_hash_50_percent_increase_size(wanted), wanted + wanted / 2) << wanted;
   }
   EXPECT_GT(xtl_hash_50_percent_increase_size(0), 0u);
}

} // namespace
