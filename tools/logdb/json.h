#ifndef TOOL_JSON_H
#define TOOL_JSON_H

#include <string>
#include <string_view>

#include "log_item.h"

/// \file
/// Items as JSON, one a line.
///
/// Logs are bytes, JSON is text. A byte that is no UTF-8 becomes the character U+EF00 plus its value, which no
/// name of a design uses; where a log does use one of those characters, its own bytes are written so. Both come
/// back as the bytes that they were, and no tool in between has to know. A character on which a terminal would act is
/// written by its number.

/// Appends a text as a JSON string, with its quotes.
void append_json_string(std::string& json, std::string_view text);

/// The bytes that a text out of a JSON string stands for.
std::string bytes_of_json_text(std::string_view text);

/// Appends the members of an item without the braces: the kind and its fields.
void append_json_members(std::string& json, const LOG_ITEM& item);

/// Appends the value of a field with all of its elements, as append_json_members() writes it; "null" when the item
/// has no such field.
void append_json_field(std::string& json, const LOG_ITEM& item, std::string_view name);

/// Appends the value of one field or element.
void append_json_value(std::string& json, const FIELD& field);

/// Whether a member is a number in JSON. A mask is a string: 64 bits do not fit the numbers of many tools.
bool is_json_number(FIELD_TYPE type);

#endif
