#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host_standalone.h"
#include "xtl_tokenizer.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using PIECES = std::vector<std::string>;

/// What the constructor takes, under names.
struct SETTINGS {
   std::string m_separators = ",";
   bool m_keep_empty = true;
   std::string m_quotes;
   std::string m_escapes;
   std::string m_comments;
   bool m_trim = false;
};

MEM_STRING bytes_of(const std::string& text) {
   return {text.data(), text.size()};
}

XTL_TOKENIZER tokenizer(const SETTINGS& settings) {
   return {bytes_of(settings.m_separators), settings.m_keep_empty,         bytes_of(settings.m_quotes),
           bytes_of(settings.m_escapes),    bytes_of(settings.m_comments), settings.m_trim};
}

PIECES copied(const MEM_VECTOR<MEM_STRING>& tokens) {
   PIECES pieces;
   for (const MEM_STRING& token : tokens) {
      pieces.emplace_back(token.data(), token.size());
   }
   return pieces;
}

PIECES split(const std::string& text, const SETTINGS& settings = {}) {
   MEM_VECTOR<MEM_STRING> tokens = {"what", "was", "there before the text was split, long and short"};
   tokenizer(settings).tokenize(bytes_of(text), tokens);
   return copied(tokens);
}

std::string described(const std::string& text, const SETTINGS& settings) {
   return "text <" + text + "> separators <" + settings.m_separators + "> quotes <" + settings.m_quotes +
          "> escapes <" + settings.m_escapes + "> comments <" + settings.m_comments + ">" +
          (settings.m_keep_empty ? " keep empty" : "") + (settings.m_trim ? " trim" : "");
}

// ---- A second opinion: the description of the tokenizer, step by step, without a thought of speed

/// A byte of the text after quotes and escapes are resolved.
struct MARKED_BYTE {
   char m_byte = '\0';
   bool m_is_protected = false; ///< quoted or escaped
   bool m_is_quote_mark = false;
   bool m_separates = false;
};

bool in(const std::string& set, char byte) {
   return set.find(byte) != std::string::npos;
}

std::vector<MARKED_BYTE> marked(const std::string& text, const SETTINGS& settings) {
   std::vector<MARKED_BYTE> bytes;
   std::string quote; // the byte that closes, if a quote is open
   for (std::size_t index = 0; index < text.size(); ++index) {
      const char byte = text[index];
      if (in(settings.m_escapes, byte)) {
         const bool is_last = index + 1 == text.size();
         bytes.push_back({is_last ? byte : text[++index], true, false, false});
      } else if (in(quote, byte)) {
         quote.clear();
      } else if (!quote.empty()) {
         bytes.push_back({byte, true, false, false});
      } else if (in(settings.m_quotes, byte)) {
         quote = byte;
         bytes.push_back({byte, false, true, false});
      } else if (in(settings.m_comments, byte)) {
         break;
      } else {
         bytes.push_back({byte, false, false, in(settings.m_separators, byte)});
      }
   }
   return bytes;
}

bool is_trimmed(const MARKED_BYTE& byte) {
   return !byte.m_is_protected && (byte.m_byte == ' ' || byte.m_byte == '\t');
}

PIECES split_slowly(const std::string& text, const SETTINGS& settings) {
   std::vector<std::vector<MARKED_BYTE>> parts(1);
   for (const MARKED_BYTE& byte : marked(text, settings)) {
      if (byte.m_separates) {
         parts.emplace_back();
      } else {
         parts.back().push_back(byte);
      }
   }
   PIECES pieces;
   for (std::size_t index = 0; index < parts.size(); ++index) {
      std::vector<MARKED_BYTE>& part = parts[index];
      const auto end =
          std::remove_if(part.begin(), part.end(), [](const auto& byte) { return byte.m_is_quote_mark; });
      const bool held_quotes = end != part.end();
      part.erase(end, part.end());
      while (settings.m_trim && !part.empty() && is_trimmed(part.front())) {
         part.erase(part.begin());
      }
      while (settings.m_trim && !part.empty() && is_trimmed(part.back())) {
         part.pop_back();
      }
      const bool is_last = index + 1 == parts.size();
      if (!part.empty() || held_quotes || (settings.m_keep_empty && !is_last)) {
         pieces.emplace_back();
         for (const MARKED_BYTE& byte : part) {
            pieces.back() += byte.m_byte;
         }
      }
   }
   return pieces;
}

} // namespace

// ---- The settings of the log database

TEST(HOST_TOKENIZER, pieces_are_what_stands_between_commas) {
   EXPECT_THAT(split("a"), ElementsAre("a"));
   EXPECT_THAT(split("a,b"), ElementsAre("a", "b"));
   EXPECT_THAT(split("REGISTER_PACKING,PACKED,only fan-out,LUT,top|u1|q,top|u1|d~0,"),
               ElementsAre("REGISTER_PACKING", "PACKED", "only fan-out", "LUT", "top|u1|q", "top|u1|d~0"));
}

TEST(HOST_TOKENIZER, the_empty_text_after_a_final_comma_is_no_piece) {
   EXPECT_THAT(split("a,b,"), ElementsAre("a", "b"));
   EXPECT_THAT(split(","), ElementsAre(""));
}

TEST(HOST_TOKENIZER, empty_pieces_inside_and_in_front_are_kept) {
   EXPECT_THAT(split("a,,"), ElementsAre("a", ""));
   EXPECT_THAT(split("a,,b"), ElementsAre("a", "", "b"));
   EXPECT_THAT(split(",a"), ElementsAre("", "a"));
   EXPECT_THAT(split(",,,"), ElementsAre("", "", ""));
}

TEST(HOST_TOKENIZER, an_empty_text_has_no_piece) {
   EXPECT_THAT(split(""), IsEmpty());
}

TEST(HOST_TOKENIZER, every_byte_but_the_comma_stands_for_itself) {
   std::string text;
   for (int byte = 0; byte < 256; ++byte) {
      if (byte != ',') {
         text += static_cast<char>(byte);
      }
   }
   EXPECT_THAT(split(text), ElementsAre(text));
   EXPECT_THAT(split(text + "," + text), ElementsAre(text, text));
   EXPECT_THAT(split(std::string("a\0,\0b,", 6)), ElementsAre(std::string("a\0", 2), std::string("\0b", 2)));
   EXPECT_THAT(split(" a\t, \"b,c\" ,#\\,"), ElementsAre(" a\t", " \"b", "c\" ", "#\\"));
}

TEST(HOST_TOKENIZER, a_separator_at_every_place_of_texts_of_every_length_is_found) {
   for (std::size_t length = 0; length <= 200; ++length) {
      for (std::size_t place = 0; place < length; ++place) {
         std::string text(length, 'x');
         text[place] = ',';
         ASSERT_EQ(split(text), split_slowly(text, {})) << "length " << length << " place " << place;
      }
      const std::string no_separator(length, 'x');
      ASSERT_EQ(split(no_separator), split_slowly(no_separator, {}));
      const std::string only_separators(length, ',');
      ASSERT_EQ(split(only_separators).size(), length);
   }
}

TEST(HOST_TOKENIZER, bytes_that_resemble_the_separator_are_none) {
   // Bytes that differ from the comma in one bit each, next to it.
   std::string text;
   for (int bit = 0; bit < 8; ++bit) {
      text += static_cast<char>(',' ^ (1 << bit));
      text += ',';
   }
   for (const std::size_t padding : {0U, 50U, 60U, 120U}) {
      const std::string padded = std::string(padding, '-') + text;
      EXPECT_EQ(split(padded), split_slowly(padded, {}));
   }
}

TEST(HOST_TOKENIZER, long_random_lines_are_split_as_described) {
   unsigned int state = 1;
   const auto random = [&state] {
      state = state * 1664525U + 1013904223U;
      return state >> 16U;
   };
   for (int round = 0; round < 2000; ++round) {
      std::string text(random() % 400, '\0');
      for (char& byte : text) {
         byte = random() % 12 == 0 ? ',' : static_cast<char>(random());
      }
      SETTINGS settings;
      settings.m_keep_empty = round % 2 == 0;
      ASSERT_EQ(split(text, settings), split_slowly(text, settings)) << described(text, settings);
   }
}

// ---- Each argument

TEST(HOST_TOKENIZER, each_byte_of_the_separator_set_separates) {
   SETTINGS settings;
   settings.m_separators = ",;|";
   EXPECT_THAT(split("a,b;c|d,;e", settings), ElementsAre("a", "b", "c", "d", "", "e"));
   settings.m_separators = std::string("\0", 1);
   EXPECT_THAT(split(std::string("a,\0b", 4), settings), ElementsAre("a,", "b"));
   settings.m_separators = "\xff";
   EXPECT_THAT(split("a\xff\x7f", settings), ElementsAre("a", "\x7f"));
}

TEST(HOST_TOKENIZER, without_separators_a_text_is_one_piece) {
   SETTINGS settings;
   settings.m_separators = "";
   EXPECT_THAT(split("a,b,", settings), ElementsAre("a,b,"));
   EXPECT_THAT(split("", settings), IsEmpty());
}

TEST(HOST_TOKENIZER, without_keep_empty_empty_pieces_are_dropped) {
   SETTINGS settings;
   settings.m_keep_empty = false;
   EXPECT_THAT(split(",a,,b,,", settings), ElementsAre("a", "b"));
   EXPECT_THAT(split(",,,", settings), IsEmpty());
}

TEST(HOST_TOKENIZER, between_quotes_every_byte_stands_for_itself) {
   SETTINGS settings;
   settings.m_quotes = "\"'";
   settings.m_comments = "#";
   EXPECT_THAT(split("\"a,b\",c", settings), ElementsAre("a,b", "c"));
   EXPECT_THAT(split("a\"b,c\"d,e", settings), ElementsAre("ab,cd", "e"));
   EXPECT_THAT(split("\"it's\",'a \"b\"'", settings), ElementsAre("it's", "a \"b\""));
   EXPECT_THAT(split("\"#\",b#c,d", settings), ElementsAre("#", "b"));
   EXPECT_THAT(split("\"a\"\"b\"'c'", settings), ElementsAre("abc"));
}

TEST(HOST_TOKENIZER, a_quote_that_is_not_closed_reaches_to_the_end) {
   SETTINGS settings;
   settings.m_quotes = "\"";
   EXPECT_THAT(split("a,\"b,c", settings), ElementsAre("a", "b,c"));
   EXPECT_THAT(split("a,\"", settings), ElementsAre("a", ""));
}

TEST(HOST_TOKENIZER, a_piece_that_held_quotes_is_never_empty) {
   SETTINGS settings;
   settings.m_quotes = "\"";
   settings.m_keep_empty = false;
   EXPECT_THAT(split("\"\",,\"\",", settings), ElementsAre("", ""));
   EXPECT_THAT(split("a,\"\"", settings), ElementsAre("a", ""));
   settings.m_trim = true;
   EXPECT_THAT(split(" \"\" , ", settings), ElementsAre(""));
}

TEST(HOST_TOKENIZER, an_escaped_byte_stands_for_itself_inside_quotes_too) {
   SETTINGS settings;
   settings.m_escapes = "\\^";
   settings.m_quotes = "\"";
   settings.m_comments = "#";
   EXPECT_THAT(split("a\\,b,c", settings), ElementsAre("a,b", "c"));
   EXPECT_THAT(split("a^,b\\\\c", settings), ElementsAre("a,b\\c"));
   EXPECT_THAT(split("\"a\\\"b\",c", settings), ElementsAre("a\"b", "c"));
   EXPECT_THAT(split("\\\"a,b", settings), ElementsAre("\"a", "b"));
   EXPECT_THAT(split("\\#a", settings), ElementsAre("#a"));
}

TEST(HOST_TOKENIZER, an_escape_at_the_end_of_the_text_stands_for_itself) {
   SETTINGS settings;
   settings.m_escapes = "\\";
   EXPECT_THAT(split("a\\", settings), ElementsAre("a\\"));
   EXPECT_THAT(split("a,\\", settings), ElementsAre("a", "\\"));
   EXPECT_THAT(split("\\\\", settings), ElementsAre("\\"));
}

TEST(HOST_TOKENIZER, a_comment_ends_the_text) {
   SETTINGS settings;
   settings.m_comments = "#;";
   EXPECT_THAT(split("a,b#c,d", settings), ElementsAre("a", "b"));
   EXPECT_THAT(split("a,#b", settings), ElementsAre("a"));
   EXPECT_THAT(split("a,,;b", settings), ElementsAre("a", ""));
   EXPECT_THAT(split("#", settings), IsEmpty());
}

TEST(HOST_TOKENIZER, trimming_drops_blanks_and_tabs_at_both_ends_of_a_piece) {
   SETTINGS settings;
   settings.m_trim = true;
   EXPECT_THAT(split(" a b\t,\t c\n ,d", settings), ElementsAre("a b", "c\n", "d"));
   EXPECT_THAT(split(" , \t,", settings), ElementsAre("", ""));
   EXPECT_THAT(split("a, ", settings), ElementsAre("a"));
   EXPECT_THAT(split("  ", settings), IsEmpty());
   settings.m_keep_empty = false;
   EXPECT_THAT(split(" ,a, \t", settings), ElementsAre("a"));
}

TEST(HOST_TOKENIZER, quoted_and_escaped_blanks_are_not_trimmed) {
   SETTINGS settings;
   settings.m_trim = true;
   settings.m_quotes = "\"";
   settings.m_escapes = "\\";
   EXPECT_THAT(split(" \" a \" ,b", settings), ElementsAre(" a ", "b"));
   EXPECT_THAT(split(" \\ a\\  ", settings), ElementsAre(" a "));
   EXPECT_THAT(split(" a \" \" ", settings), ElementsAre("a  "));
   EXPECT_THAT(split("\\ ,", settings), ElementsAre(" "));
}

TEST(HOST_TOKENIZER, a_byte_in_several_sets_is_escape_before_quote_before_comment_before_separator) {
   SETTINGS settings;
   settings.m_escapes = "1";
   settings.m_quotes = "12";
   settings.m_comments = "123";
   settings.m_separators = "1234";
   EXPECT_THAT(split("a11b", settings), ElementsAre("a1b"));
   EXPECT_THAT(split("a2b432c4d", settings), ElementsAre("ab43c", "d"));
   EXPECT_THAT(split("a4b3c", settings), ElementsAre("a", "b"));
}

TEST(HOST_TOKENIZER, all_short_texts_and_many_longer_ones_under_all_settings_are_split_as_described) {
   const std::string alphabet = "a, \"\\#";
   std::vector<std::string> texts = {""};
   for (std::size_t begin = 0, length = 1; length <= 4; ++length) {
      const std::size_t end = texts.size();
      for (; begin < end; ++begin) {
         for (const char byte : alphabet) {
            texts.push_back(texts[begin] + byte);
         }
      }
   }
   unsigned int state = 1;
   for (int count = 0; count < 1000; ++count) {
      texts.emplace_back();
      for (int length = 5 + count % 10; length != 0; --length) {
         state = state * 1664525U + 1013904223U;
         texts.back() += alphabet[(state >> 16U) % alphabet.size()];
      }
   }
   for (unsigned int choice = 0; choice < 64; ++choice) {
      SETTINGS settings;
      settings.m_keep_empty = (choice & 1U) != 0;
      settings.m_trim = (choice & 2U) != 0;
      settings.m_quotes = (choice & 4U) != 0 ? "\"" : "";
      settings.m_escapes = (choice & 8U) != 0 ? "\\" : "";
      settings.m_comments = (choice & 16U) != 0 ? "#" : "";
      settings.m_separators = (choice & 32U) != 0 ? ", " : ",";
      XTL_TOKENIZER splitter = tokenizer(settings);
      MEM_VECTOR<MEM_STRING> tokens;
      for (const std::string& text : texts) {
         splitter.tokenize(bytes_of(text), tokens);
         ASSERT_EQ(copied(tokens), split_slowly(text, settings)) << described(text, settings);
      }
   }
}

// ---- Reuse

TEST(HOST_TOKENIZER, the_sets_are_copied) {
   MEM_STRING separators = ",";
   MEM_STRING quotes = "'";
   MEM_STRING escapes = "\\";
   MEM_STRING comments = "#";
   XTL_TOKENIZER splitter(separators, true, quotes, escapes, comments, false);
   for (MEM_STRING* set : {&separators, &quotes, &escapes, &comments}) {
      *set = "abcdefghijklmnopqrstuvwxyz";
   }
   MEM_VECTOR<MEM_STRING> tokens;
   splitter.tokenize("ab,'c,d',\\e#f", tokens);
   EXPECT_THAT(copied(tokens), ElementsAre("ab", "c,d", "e"));
}

TEST(HOST_TOKENIZER, one_tokenizer_splits_any_number_of_texts) {
   XTL_TOKENIZER splitter(",", true, "\"", "", "", false);
   MEM_VECTOR<MEM_STRING> tokens;
   splitter.tokenize("a,\"not closed", tokens);
   EXPECT_THAT(copied(tokens), ElementsAre("a", "not closed"));
   splitter.tokenize("b,c", tokens);
   EXPECT_THAT(copied(tokens), ElementsAre("b", "c"));
}

TEST(HOST_TOKENIZER, what_the_vector_held_is_replaced) {
   XTL_TOKENIZER splitter(",", true, "", "", "", false);
   const std::string longer(100, 'x');
   MEM_VECTOR<MEM_STRING> tokens = {"short", bytes_of(longer), "surplus", bytes_of(longer)};
   splitter.tokenize(bytes_of(longer + ",b"), tokens);
   EXPECT_THAT(copied(tokens), ElementsAre(longer, "b"));
   splitter.tokenize("", tokens);
   EXPECT_THAT(tokens, IsEmpty());
   splitter.tokenize("a,b,c", tokens);
   EXPECT_THAT(copied(tokens), ElementsAre("a", "b", "c"));
}

TEST(HOST_TOKENIZER, the_caller_may_move_the_pieces_out) {
   XTL_TOKENIZER splitter(",", true, "", "", "", false);
   MEM_VECTOR<MEM_STRING> tokens;
   const std::string text = "short," + std::string(20, 'm') + "," + std::string(200, 'l') + ",";
   for (int round = 0; round < 3; ++round) {
      splitter.tokenize(bytes_of(text), tokens);
      ASSERT_EQ(tokens.size(), 3U);
      const MEM_STRING first = std::move(tokens[0]);
      const MEM_STRING second = std::move(tokens[1]);
      const MEM_STRING third = std::move(tokens[2]);
      EXPECT_EQ(std::string(first), "short");
      EXPECT_EQ(std::string(second), std::string(20, 'm'));
      EXPECT_EQ(std::string(third), std::string(200, 'l'));
   }
}

TEST(HOST_TOKENIZER, a_line_like_the_last_one_needs_no_memory) {
   XTL_TOKENIZER splitter(",", true, "", "", "", false);
   const MEM_STRING text = bytes_of("REGISTER_PACKING," + std::string(60, 'n') + ",,b,");
   MEM_VECTOR<MEM_STRING> tokens;
   splitter.tokenize(text, tokens);
   const std::size_t before = host_memory_statistics("LOGDB").m_total_blocks;
   splitter.tokenize(text, tokens);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_total_blocks, before);
   const MEM_STRING moved_out = std::move(tokens[1]);
   splitter.tokenize(text, tokens);
   EXPECT_EQ(host_memory_statistics("LOGDB").m_total_blocks, before + 1) << "a block for the piece that was taken";
}
