#ifndef TOOL_ITEM_PRINTER_H
#define TOOL_ITEM_PRINTER_H

#include <string>
#include <string_view>

#include "log_item.h"
#include "output.h"

/// \file
/// Items as people read them.

/// A field's name, with its index: "deleted_names[2]".
std::string field_label(const FIELD& field);

/// The whole item, a line a field.
void print_block(OUTPUT& output, const LOG_ITEM& item);

/// The item on one line: kind and fields.
void print_line(OUTPUT& output, const LOG_ITEM& item);

/// The same as a text without colours.
std::string line_of(const LOG_ITEM& item);

#endif
