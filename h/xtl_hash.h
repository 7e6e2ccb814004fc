#ifndef XTL_HASH_H
#define XTL_HASH_H

#include <cstddef>
#include <limits>

#include "mem_alloc_sys.h"
#include "xtl_hash_ops.h"

/// One element of an XTL_HASH. It stays at its address as long as the map lives.
template <class KEY, class VALUE> struct XTL_HASH_NODE {
   KEY m_key = KEY();               ///< as it was given: for a pointer, the text is not copied
   VALUE m_data = VALUE();          ///< the mapped value
   XTL_HASH_NODE* m_next = nullptr; ///< the next element of the same bucket
   XTL_HASH_NODE* m_prev = nullptr; ///< the one before; null for the first
};

/// A hash map with chained buckets, from KEY to VALUE, that grows and never removes.
///
/// OPS gives `unsigned long hash(KEY) const` and `bool equal(KEY, KEY) const`. Keys are kept as they are given:
/// with `const char*` the caller keeps the texts alive as long as the map. Elements do not move, so a reference
/// from operator[] stays good while the map grows. When there is no memory for a new element, operator[] answers
/// with a spare value outside the map, and when there is none for a larger bucket array, the map goes on with
/// the one that it has. Not copyable; one thread at a time.
template <class KEY, class VALUE, class OPS> class XTL_HASH {
public:
   using NODE = XTL_HASH_NODE<KEY, VALUE>;

   /// Where an element is. Two iterators are equal when they are at the same element; all that are at none
   /// are equal to end().
   class iterator {
   public:
      iterator(const XTL_HASH* hash, unsigned long bucket, unsigned long bucket_count, NODE* node)
          : m_hash(hash), m_bucket(bucket), m_bucket_count(bucket_count), m_node(node) {}

      NODE& operator*() const { return *m_node; }
      NODE* operator->() const { return m_node; }

      bool operator==(const iterator& other) const { return m_node == other.m_node; }
      bool operator!=(const iterator& other) const { return m_node != other.m_node; }

      const XTL_HASH* m_hash;       ///< the map
      unsigned long m_bucket;       ///< the bucket that was searched; the bucket count for end()
      unsigned long m_bucket_count; ///< how many buckets there were when the iterator was made
      NODE* m_node;                 ///< the element; null for none
   };

   /// An empty map with 61 buckets.
   XTL_HASH() : m_buckets(allocate_buckets(m_bucket_count)) {}

   ~XTL_HASH() {
      for (unsigned long bucket = 0; m_buckets != nullptr && bucket < m_bucket_count; ++bucket) {
         for (NODE* node = m_buckets[bucket]; node != nullptr;) {
            NODE* next = node->m_next;
            delete node;
            node = next;
         }
         m_buckets[bucket] = nullptr;
      }
      delete[] m_buckets;
      m_buckets = nullptr;
   }

   XTL_HASH(const XTL_HASH&) = delete;
   XTL_HASH& operator=(const XTL_HASH&) = delete;

   /// The value of a key. A key that is not there is added, with the value 0; a key that is equal to one that
   /// is there does not replace it.
   VALUE& operator[](const KEY& key) {
      const unsigned long hash = m_ops.hash(key);
      NODE* node = hash_search(hash, key);
      if (node != nullptr) {
         return node->m_data;
      }
      node = m_buckets != nullptr ? new (0) NODE : nullptr;
      if (node == nullptr) {
         return spare_value();
      }
      NODE*& head = m_buckets[hash % m_bucket_count];
      if (head != nullptr) {
         ++m_collisions;
         head->m_prev = node;
      }
      node->m_key = key;
      node->m_next = head;
      head = node;
      ++m_size;
      resize(m_size);
      return node->m_data;
   }

   /// The element of a key, or end().
   iterator find(const KEY& key) const {
      const unsigned long hash = m_ops.hash(key);
      return iterator(this, hash % m_bucket_count, m_bucket_count, hash_search(hash, key));
   }

   /// The iterator that is at no element.
   iterator end() const { return iterator(this, m_bucket_count, m_bucket_count, nullptr); }

   /// Whether the key is there.
   bool exists(const KEY& key) const { return hash_search(m_ops.hash(key), key) != nullptr; }

   /// The element of a key, or null.
   ///
   /// \param hash  the hash value of the key
   NODE* hash_search(unsigned long hash, const KEY& key) const {
      NODE* node = m_buckets != nullptr ? m_buckets[hash % m_bucket_count] : nullptr;
      while (node != nullptr && !m_ops.equal(node->m_key, key)) {
         node = node->m_next;
      }
      return node;
   }

   /// Puts an element that is in no bucket in front of the bucket of its key. The size does not change.
   void insert_node(NODE* node) {
      NODE*& head = m_buckets[m_ops.hash(node->m_key) % m_bucket_count];
      node->m_prev = nullptr;
      node->m_next = head;
      if (head != nullptr) {
         ++m_collisions;
         head->m_prev = node;
      }
      head = node;
   }

   /// Grows the bucket array if this many elements would fill more than four fifths of it. It never shrinks.
   void resize(unsigned long count) {
      const unsigned long wanted = count / 4 * 5;
      if (m_bucket_count >= wanted) {
         return;
      }
      const unsigned long new_count = xtl_hash_50_percent_increase_size(wanted);
      NODE** new_buckets = allocate_buckets(new_count);
      if (new_buckets == nullptr) {
         return;
      }
      NODE** old_buckets = m_buckets;
      const unsigned long old_count = m_bucket_count;
      m_buckets = new_buckets;
      m_bucket_count = new_count;
      for (unsigned long bucket = 0; old_buckets != nullptr && bucket < old_count; ++bucket) {
         for (NODE* node = old_buckets[bucket]; node != nullptr;) {
            NODE* next = node->m_next;
            insert_node(node);
            node = next;
         }
      }
      delete[] old_buckets;
      m_collisions = 0;
   }

   unsigned long m_bucket_count = 61; ///< length of the bucket array, never 0
   unsigned long m_size = 0;          ///< number of elements
   NODE** m_buckets;                  ///< the bucket array, owned; null heads for empty buckets
   OPS m_ops;                         ///< the key operations
   unsigned int m_collisions = 0;     ///< insertions into a bucket that was not empty, since the last growth

private:
   static NODE** allocate_buckets(unsigned long count) {
      if (count > std::numeric_limits<std::size_t>::max() / sizeof(NODE*)) {
         return nullptr;
      }
      return static_cast<NODE**>(::operator new(count * sizeof(NODE*), 0));
   }

   static VALUE& spare_value() {
      static VALUE value;
      value = VALUE();
      return value;
   }
};

#endif
