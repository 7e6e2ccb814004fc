#include <gtest/gtest.h>
#include <sys/mman.h>

#include <array>
#include <clocale>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "xtl_hash_ops.h"

namespace {

const XTL_CASE_INSENSITIVE_CSTR_OPS ops;

char folded(char byte) {
   return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

/// Every text of one byte, at the end of a text of a given length.
std::vector<std::string> texts_with_each_byte_behind(std::size_t length) {
   std::vector<std::string> texts;
   for (int byte = 1; byte < 256; ++byte) {
      texts.push_back(std::string(length, 'k') + static_cast<char>(byte));
   }
   return texts;
}

void expect_ascii_folding_only() {
   for (const std::size_t length : {0U, 3U, 6U, 7U, 8U, 15U, 16U, 40U}) {
      const std::vector<std::string> texts = texts_with_each_byte_behind(length);
      for (const std::string& left : texts) {
         for (const std::string& right : texts) {
            const bool same = folded(left.back()) == folded(right.back());
            ASSERT_EQ(ops.equal(left.c_str(), right.c_str()), same) << left << " and " << right;
            if (same) {
               ASSERT_EQ(ops.hash(left.c_str()), ops.hash(right.c_str())) << left << " and " << right;
            }
         }
      }
   }
}

/// A text that ends right in front of a page that may not be touched.
class TEXT_AT_THE_END_OF_A_PAGE {
public:
   explicit TEXT_AT_THE_END_OF_A_PAGE(const std::string& text) {
      void* mapping = ::mmap(nullptr, 2 * page_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      EXPECT_NE(mapping, MAP_FAILED);
      m_mapping = static_cast<char*>(mapping);
      EXPECT_EQ(::mprotect(m_mapping + page_size, page_size, PROT_NONE), 0);
      m_text = m_mapping + page_size - text.size() - 1;
      std::memcpy(m_text, text.c_str(), text.size() + 1);
   }
   ~TEXT_AT_THE_END_OF_A_PAGE() { ::munmap(m_mapping, 2 * page_size); }
   TEXT_AT_THE_END_OF_A_PAGE(const TEXT_AT_THE_END_OF_A_PAGE&) = delete;
   TEXT_AT_THE_END_OF_A_PAGE& operator=(const TEXT_AT_THE_END_OF_A_PAGE&) = delete;

   const char* text() const { return m_text; }

private:
   static constexpr std::size_t page_size = 4096;
   char* m_mapping = nullptr;
   char* m_text = nullptr;
};

} // namespace

TEST(HOST_HASH_OPS, strings_are_equal_but_for_the_case_of_letters) {
   EXPECT_TRUE(ops.equal("", ""));
   EXPECT_TRUE(ops.equal("REGISTER_PACKING", "register_packing"));
   EXPECT_TRUE(ops.equal("Register Packing log", "rEGISTER pACKING LOG"));
   EXPECT_FALSE(ops.equal("REGISTER_PACKING", "REGISTER-PACKING"));
   EXPECT_FALSE(ops.equal("a", "b"));
}

TEST(HOST_HASH_OPS, whole_strings_are_compared) {
   EXPECT_FALSE(ops.equal("", "a"));
   EXPECT_FALSE(ops.equal("a", ""));
   for (std::size_t length = 1; length < 40; ++length) {
      const std::string text(length, 'a');
      EXPECT_FALSE(ops.equal(text.c_str(), (text + "a").c_str()));
      EXPECT_FALSE(ops.equal((text + "a").c_str(), text.c_str()));
      for (std::size_t place = 0; place < length; ++place) {
         std::string other = text;
         other[place] = 'b';
         EXPECT_FALSE(ops.equal(text.c_str(), other.c_str()));
         other[place] = 'A';
         EXPECT_TRUE(ops.equal(text.c_str(), other.c_str()));
         EXPECT_EQ(ops.hash(text.c_str()), ops.hash(other.c_str()));
      }
   }
}

TEST(HOST_HASH_OPS, only_the_ascii_letters_have_case) {
   expect_ascii_folding_only();
}

TEST(HOST_HASH_OPS, the_locale_does_not_matter) {
   const std::string old_locale = std::setlocale(LC_ALL, nullptr);
   for (const char* locale : {"", "C.UTF-8", "de_DE.ISO-8859-1", "tr_TR.UTF-8", "en_US.ISO-8859-1"}) {
      if (std::setlocale(LC_ALL, locale) !=
          nullptr) { // not every machine has every one; "" and "C" are always there
         expect_ascii_folding_only();
      }
   }
   std::setlocale(LC_ALL, old_locale.c_str());
}

TEST(HOST_HASH_OPS, the_hash_depends_on_the_whole_string) {
   std::set<unsigned long> values;
   std::size_t texts = 0;
   for (std::size_t length = 0; length < 60; ++length) {
      std::string text(length, 'a');
      values.insert(ops.hash(text.c_str()));
      ++texts;
      for (std::size_t place = 0; place < length; ++place) {
         text[place] = 'b';
         values.insert(ops.hash(text.c_str()));
         text[place] = 'a';
         ++texts;
      }
   }
   EXPECT_EQ(values.size(), texts);
}

TEST(HOST_HASH_OPS, similar_keys_spread_over_the_buckets) {
   for (const unsigned long buckets : {61UL, 64UL, 99UL, 1024UL}) {
      std::vector<int> load(buckets, 0);
      const int keys = static_cast<int>(buckets) * 20;
      for (int key = 0; key < keys; ++key) {
         ++load[ops.hash(("corescore|core_" + std::to_string(key) + "|q").c_str()) % buckets];
      }
      for (const int count : load) {
         EXPECT_GT(count, 0) << buckets << " buckets"; // 20 are expected in each
         EXPECT_LT(count, 60) << buckets << " buckets";
      }
   }
}

TEST(HOST_HASH_OPS, nothing_behind_the_strings_is_read) {
   for (std::size_t length = 0; length < 40; ++length) {
      const TEXT_AT_THE_END_OF_A_PAGE left(std::string(length, 'q'));
      const TEXT_AT_THE_END_OF_A_PAGE right(std::string(length, 'Q'));
      EXPECT_TRUE(ops.equal(left.text(), right.text()));
      EXPECT_EQ(ops.hash(left.text()), ops.hash(right.text()));
   }
}

TEST(HOST_HASH_OPS, a_growing_hash_gets_about_half_as_many_buckets_again) {
   for (const unsigned long wanted : {1UL, 2UL, 3UL, 60UL, 65UL, 66UL, 100UL, 12345UL, 1000000000000UL}) {
      const unsigned long size = xtl_hash_50_percent_increase_size(wanted);
      EXPECT_GE(2 * size, 3 * wanted) << wanted;
      EXPECT_LE(2 * size, 3 * wanted + 4) << wanted;
   }
}

TEST(HOST_HASH_OPS, a_bucket_count_is_never_0_and_never_less_than_wanted) {
   constexpr unsigned long most = std::numeric_limits<unsigned long>::max();
   EXPECT_GT(xtl_hash_50_percent_increase_size(0), 0U);
   for (const unsigned long wanted :
        {most, most - 1, most / 3 * 2, most / 3 * 2 + 1, most / 3 * 2 + 2, most / 2}) {
      EXPECT_GE(xtl_hash_50_percent_increase_size(wanted), wanted) << wanted;
   }
}
