// A toolset's own services, all different from the standalone ones, behind headers that are different, too.

#include "foreign_host.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>

#include "fio.h"
#include "gen.h"
#include "mem.h"
#include "msg.h"
#include "xtl_tokenizer.h"

static long blocks_in_use = 0;
static long blocks_served = 0;
static int domains = 0;
static int lines_split = 0;

std::vector<std::string>& foreign_reports() {
   static std::vector<std::string> reports;
   return reports;
}

std::vector<std::string>& foreign_messages() {
   static std::vector<std::string> messages;
   return messages;
}

long foreign_blocks_in_use() {
   return blocks_in_use;
}

long foreign_blocks_served() {
   return blocks_served;
}

int foreign_domains() {
   return domains;
}

int foreign_lines_split() {
   return lines_split;
}

static std::string formatted(const char* format, va_list args) {
   char* text = nullptr;
   std::string result;
   if (vasprintf(&text, format, args) >= 0) {
      result = text;
      std::free(text);
   }
   return result;
}

int MSG_INTERNAL_ERROR::report(const char* text, const char* domain, const char* file, int, bool) {
   foreign_reports().push_back(std::string(domain) + "/" + file + "/" + text);
   return static_cast<int>(foreign_reports().size());
}

bool msg_local_vdebug(const char* domain, const char* format, va_list args) {
   foreign_messages().push_back(std::string(domain) + "/" + formatted(format, args));
   return true;
}

bool FIO_FILE_SYSTEM::exists(std::string_view path) {
   return std::filesystem::exists(path);
}

bool FIO_FILE_SYSTEM::copy(std::string_view from, std::string_view to, bool overwrite, bool) {
   std::error_code error;
   const auto option =
       overwrite ? std::filesystem::copy_options::overwrite_existing : std::filesystem::copy_options::none;
   return std::filesystem::copy_file(from, to, option, error);
}

bool FIO_FILE_SYSTEM::remove_if_exists(std::string_view path) {
   std::error_code error;
   std::filesystem::remove(path, error);
   return !error;
}

void gen_sprintf(MEM_STRING* out, const char* format, ...) {
   va_list args;
   va_start(args, format);
   *out = formatted(format, args);
   va_end(args);
}

MEM_STRING gen_generate_pdb_filename(MEM_STRING revision, const char* type_name, const char* directory) {
   MEM_STRING name = directory != nullptr ? directory : "db";
   ::mkdir(name.c_str(), 0777);
   return name.append("/").append(revision).append("-").append(type_name);
}

MEM_INITIALIZER::MEM_INITIALIZER(const char*) {
   ++domains;
}

MEM_INITIALIZER::~MEM_INITIALIZER() {
   --domains;
}

static constexpr std::size_t size_field = alignof(std::max_align_t);

void* MEM_MANAGER::new_wrapper(std::size_t size, MEM_TRACKER* tracker, const char*) {
   auto* block = static_cast<char*>(std::malloc(size + size_field));
   if (block == nullptr) {
      throw std::bad_alloc();
   }
   ++tracker->m_blocks;
   ++blocks_in_use;
   ++blocks_served;
   return block + size_field;
}

void MEM_MANAGER::delete_wrapper(void* block, const char*) noexcept {
   if (block != nullptr) {
      --blocks_in_use;
      std::free(static_cast<char*>(block) - size_field);
   }
}

class XTL_TOKENIZER::SPLITTER {
public:
   explicit SPLITTER(char separator) : m_separator(separator) {}

   void split(const MEM_STRING& text, MEM_VECTOR<MEM_STRING>& tokens) const {
      tokens.clear();
      MEM_STRING piece;
      for (const char byte : text) {
         if (byte == m_separator) {
            tokens.push_back(piece);
            piece.clear();
         } else {
            piece += byte;
         }
      }
      if (!piece.empty()) {
         tokens.push_back(piece);
      }
   }

private:
   char m_separator;
};

XTL_TOKENIZER::XTL_TOKENIZER(const char* separators, bool, const MEM_STRING&, const MEM_STRING&, const MEM_STRING&,
                             bool)
    : m_splitter(std::make_unique<SPLITTER>(*separators)) {}

XTL_TOKENIZER::~XTL_TOKENIZER() = default;

void XTL_TOKENIZER::tokenize(const MEM_STRING& text, MEM_VECTOR<MEM_STRING>& tokens) const {
   ++lines_split;
   m_splitter->split(text, tokens);
}
