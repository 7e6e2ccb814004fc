#ifndef TOOL_DATABASE_CHECKER_H
#define TOOL_DATABASE_CHECKER_H

#include <optional>
#include <string>

#include "input.h"
#include "line_source.h"
#include "log_item.h"
#include "rules.h"

/// Checks the lines of a database, one by one, in order.
class DATABASE_CHECKER {
public:
   DATABASE_CHECKER(std::optional<std::string> partition_root, FINDING_SINK sink)
       : m_root(std::move(partition_root)), m_sink(std::move(sink)) {}

   void check_version(const LINE& line);
   void check_entry(const LINE& line);

private:
   void report(int rule, const LINE& line, std::size_t column, const std::string& text);
   void check_kind(const LINE& line);
   void check_number_of_fields(const LINE& line);
   void check_nodes(const LINE& line);
   void check_against_root(const LINE& line, const FIELD& field);

   std::optional<std::string> m_root;
   FINDING_SINK m_sink;
   LOG_ITEM m_item;
};

/// Checks a whole database. What is plain is passed over quickly.
void check_database(INPUT& input, const std::optional<std::string>& partition_root, const FINDING_SINK& sink);

#endif
