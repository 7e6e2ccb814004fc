#ifndef TOOL_LOG_READER_H
#define TOOL_LOG_READER_H

#include <memory>
#include <optional>
#include <string>

#include "input.h"
#include "log_item.h"
#include "status.h"

/// An input is of neither format.
class NO_LOG : public TOOL_ERROR {
public:
   explicit NO_LOG(const std::string& text) : TOOL_ERROR(STATUS::INPUT, text) {}
};

/// Reads a log of either format, item by item, as the library reads it.
class LOG_READER {
public:
   virtual ~LOG_READER() = default;
   LOG_READER(const LOG_READER&) = delete;
   LOG_READER& operator=(const LOG_READER&) = delete;

   /// The next entry or record; false at the end.
   bool next(LOG_ITEM& item);

   LOG_FORMAT format() const { return m_format; }
   const std::string& name() const { return m_name; }

   /// The first line of a database.
   const std::string& version() const { return m_version; }

   /// Why the library would have complained, in words, or empty. Good at the end.
   const std::string& trouble() const { return m_trouble; }

   /// Whether the library reads no further than here although the file goes on.
   bool has_failed() const { return m_has_failed; }

protected:
   LOG_READER(std::unique_ptr<INPUT> input, std::string name, LOG_FORMAT format)
       : m_input(std::move(input)), m_name(std::move(name)), m_format(format) {}
   virtual bool read(LOG_ITEM& item) = 0;

   std::unique_ptr<INPUT> m_input;
   std::string m_name;
   LOG_FORMAT m_format;
   std::string m_version;
   std::string m_trouble;
   bool m_has_failed = false;
   std::uint64_t m_count = 0;
};

struct LINE;

/// Where the library stops to read a database, and why.
struct READING_END {
   std::string m_trouble;     ///< in words
   bool m_has_failed = false; ///< whether it gives up, although there is more
};

/// What the library makes of a line that is too long or has no end.
READING_END end_of_reading(const std::string& name, const LINE& line);

/// An input that was opened and recognised.
struct RECOGNISED_INPUT {
   std::unique_ptr<INPUT> m_input;
   LOG_FORMAT m_format;
};

/// Opens a log.
///
/// \param format  what it is; when nobody says, its first bytes do
std::unique_ptr<LOG_READER> open_log(const std::string& path, std::optional<LOG_FORMAT> format = {});

/// Reads a log that is open already.
///
/// \param name  how it is called in messages
std::unique_ptr<LOG_READER> open_log(RECOGNISED_INPUT input, const std::string& name);

/// Whether a file of a folder is a log. Folders hold other files, some of which speak of logs: here the first line
/// counts, or the name.
bool is_log_of_folder(const std::string& path);

/// Opens and recognises, for those that read the bytes by themselves.
RECOGNISED_INPUT open_recognised(const std::string& path, std::optional<LOG_FORMAT> format = {});

/// The same for an input that is open already.
RECOGNISED_INPUT recognise_input(std::unique_ptr<INPUT> input, const std::string& path,
                                 std::optional<LOG_FORMAT> format);

#endif
