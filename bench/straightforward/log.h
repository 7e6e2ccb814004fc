#ifndef STRAIGHTFORWARD_LOG_H
#define STRAIGHTFORWARD_LOG_H

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "record_families.h"

/// The physical-synthesis log as one would write it down first: iostreams, a string a word, a chain of
/// comparisons.
namespace straightforward {

template <class T> using LIST = std::vector<T>;
using RECORDS = OWN_RECORDS<std::string, LIST>;

/// Appends records to a file and flushes after every line.
class LOG_WRITER {
public:
   explicit LOG_WRITER(const std::string& path) : m_file(path, std::ios::app) {}

   void write(const LOGDB_FSYN_LOG_ENTRY& record);
   void write(const RECORDS::RECORD& record);

private:
   std::ofstream m_file;
};

/// Reads records word by word.
class LOG_READER {
public:
   explicit LOG_READER(const std::string& path) : m_file(path) {}

   /// The next record; null at the end of the file.
   std::unique_ptr<RECORDS::RECORD> read();

private:
   std::ifstream m_file;
   std::string m_word;
};

/// The kind of a keyword, or -1.
int kind_of_keyword(const std::string& word);

} // namespace straightforward

#endif
