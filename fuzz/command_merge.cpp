// Never may two logs make merge crash, go on for ever or leave another way than with the status 0, 1 for decisions that
// differ, or 3 for a log that check finds an error in, and never may the one log that comes out hold other items than those
// that its way with conflicts leaves, or have an error.

#include <algorithm>
#include <set>

#include "fuzz_command.h"
#include "logdb.h"

namespace {

using JSON = nlohmann::json;
using ITEMS = std::vector<JSON>;

FUZZ_ANSWER merge(const std::string& on_conflict, const std::string& format,
                  const std::vector<const char*>& paths) {
   std::vector<std::string> arguments = {"--on-conflict", on_conflict, "--as", format};
   arguments.insert(arguments.end(), paths.begin(), paths.end());
   return fuzz_run(add_merge, arguments);
}

/// What a merged log holds; it is sound.
ITEMS items_of(const FUZZ_ANSWER& merged, const std::string& format) {
   FUZZ_HOLDS(merged.m_status == 0);
   const FUZZ_FILE file(merged.m_output);
   FUZZ_HOLDS(fuzz_is_sound(file.path(), format));
   return fuzz_items(file.path(), format);
}

/// What an entry decides about: its kind and its nodes, or, where it has none, everything but what was found out.
JSON key_of(const JSON& entry) {
   const auto& kind = entry.at("kind").get_ref<const std::string&>();
   const LOGDB_ENTRY_TYPE_ENUM type = logdb_get_logdb_entry_type_enum_by_string(kind.c_str());
   const JSON& fields = entry.at("fields");
   JSON key = {{"kind", kind}};
   for (std::size_t position = 0; position < fields.size(); ++position) {
      if (LOGDB_DATABASE::get_enum_datatype_by_vec_position(type, static_cast<unsigned int>(position)) ==
          NODE_NAME) {
         key[std::to_string(position)] = fields[position];
      }
   }
   if (key.size() == 1) {
      key["fields"] = fields;
      if (fields.size() > 1) {
         key["fields"].erase(fields.size() - 1);
      }
   }
   return key;
}

std::set<JSON> keys_of(const ITEMS& entries) {
   std::set<JSON> keys;
   for (const JSON& entry : entries) {
      keys.insert(key_of(entry));
   }
   return keys;
}

/// Entries but those that others have in common with them, and then the other ones.
template <class IS_LEFT_OUT> ITEMS joined(ITEMS left, const ITEMS& right, const IS_LEFT_OUT& is_left_out) {
   std::remove_copy_if(right.begin(), right.end(), std::back_inserter(left), is_left_out);
   return left;
}

void check_databases(const std::vector<const char*>& paths) {
   const std::string format = "logdb";
   const ITEMS left = fuzz_items(paths[0], format);
   const ITEMS right = fuzz_items(paths[1], format);
   const std::set<JSON> said(left.begin(), left.end());
   const std::set<JSON> decided = keys_of(left);
   const std::set<JSON> decided_last = keys_of(right);
   const auto is_repeated = [&](const JSON& entry) { return said.count(entry) != 0; };
   const auto is_decided = [&](const JSON& entry) {
      return is_repeated(entry) || decided.count(key_of(entry)) != 0;
   };
   const bool has_conflict = std::any_of(
       right.begin(), right.end(), [&](const JSON& entry) { return is_decided(entry) && !is_repeated(entry); });
   const FUZZ_ANSWER all = merge("all", format, paths);
   FUZZ_HOLDS(items_of(all, format) == joined(left, right, is_repeated));
   FUZZ_HOLDS(items_of(merge("first", format, paths), format) == joined(left, right, is_decided));
   const auto is_decided_again = [&](const JSON& entry) { return decided_last.count(key_of(entry)) != 0; };
   const ITEMS kept = joined({}, left, is_decided_again);
   FUZZ_HOLDS(items_of(merge("last", format, paths), format) ==
              joined(kept, right, [](const JSON&) { return false; }));
   const FUZZ_ANSWER plain = merge("fail", format, paths);
   FUZZ_HOLDS(plain.m_status == (has_conflict ? 1 : 0));
   FUZZ_HOLDS(plain.m_output == all.m_output || has_conflict);
}

bool is_end(const JSON& item) {
   return item.at("kind") == "END_OF_LOG" || item.at("kind") == "END_OF_LOG_PRINT";
}

/// All records in their order, without the ends but the last, and without the beginnings but the first. In which phase
/// the records of the second log are depends on the first one.
void check_logs(const std::vector<const char*>& paths) {
   const std::string format = "fsyn";
   ITEMS wanted;
   bool has_revision = false;
   bool has_end = false;
   for (const char* path : paths) {
      for (JSON& item : fuzz_items(path, format)) {
         const bool is_revision = item.at("kind") == "REVISION_NUMBER";
         has_end = has_end || is_end(item);
         if (!is_end(item) && !(is_revision && has_revision)) {
            item.erase("phase");
            wanted.push_back(item);
         }
         has_revision = has_revision || is_revision;
      }
   }
   ITEMS found = items_of(merge("fail", format, paths), format);
   for (JSON& item : found) {
      item.erase("phase");
   }
   FUZZ_HOLDS(has_end == (!found.empty() && is_end(found.back())));
   while (!found.empty() && is_end(found.back())) {
      found.pop_back();
   }
   FUZZ_HOLDS(found == wanted);
}

/// A log alone stays as it is, and once more changes nothing.
void check_one(const char* path, const std::string& format, std::string_view bytes) {
   const FUZZ_ANSWER alone = merge("fail", format, {path});
   FUZZ_HOLDS((alone.m_status == 0) == fuzz_is_sound(path, format));
   if (alone.m_status != 0) {
      return;
   }
   const FUZZ_FILE file(alone.m_output);
   FUZZ_HOLDS(merge("fail", format, {file.path()}).m_output == alone.m_output);
   if (format == "logdb") {
      FUZZ_HOLDS(alone.m_output == "v1\n" + std::string(fuzz_behind_version(bytes)));
      FUZZ_HOLDS(merge("fail", format, {path, file.path()}).m_output == alone.m_output);
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
   FUZZ_HOST host;
   const FUZZ_LEAK_CHECK leak_check;
   const auto [left_bytes, right_bytes] = fuzz_two_logs({reinterpret_cast<const char*>(data), size});
   if (fuzz_may_be_packed(left_bytes) || fuzz_may_be_packed(right_bytes)) {
      return 0;
   }
   const FUZZ_FILE left(left_bytes);
   const FUZZ_FILE right(right_bytes);
   const std::vector<const char*> paths = {left.path(), right.path()};
   for (const std::string& format : fuzz_formats()) {
      check_one(left.path(), format, left_bytes);
      const FUZZ_ANSWER both = merge("all", format, paths);
      const bool is_sound = fuzz_is_sound(left.path(), format) && fuzz_is_sound(right.path(), format);
      FUZZ_HOLDS(both.m_status == (is_sound ? 0 : 3));
      if (is_sound) {
         format == "logdb" ? check_databases(paths) : check_logs(paths);
      }
   }
   FUZZ_HOLDS(left.bytes() == left_bytes && right.bytes() == right_bytes);
   return 0;
}

FUZZ_MUTATOR(fuzz_mutate_two_logs)
