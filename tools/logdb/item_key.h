#ifndef TOOL_ITEM_KEY_H
#define TOOL_ITEM_KEY_H

#include <cstdint>

#include "log_item.h"

/// What an item says: equal for items that the library reads as equal.
std::uint64_t content_hash(const LOG_ITEM& item);

/// What an item is about: its kind, its nodes and its terminal. Items of equal keys decide the same thing, perhaps
/// differently.
std::uint64_t key_hash(const LOG_ITEM& item);

#endif
