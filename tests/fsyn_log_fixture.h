#ifndef FSYN_LOG_FIXTURE_H
#define FSYN_LOG_FIXTURE_H

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "fsyn_model.h"
#include "fsyn_samples.h"
#include "logdb_fsyn_log_file.h"
#include "recording_host.h"

/// The words for tests of the physical-synthesis log. The working directory is the fixture's folder, so that a
/// plain lower-case name is a file in it: names are lowered on their way into a log object.
class FSYN_LOG_TEST : public HOST_TEST {
protected:
   FSYN_LOG_TEST() : m_old_directory(std::filesystem::current_path()) {
      std::filesystem::current_path(m_directory);
   }
   ~FSYN_LOG_TEST() override {
      std::error_code ignored;
      std::filesystem::current_path(m_old_directory, ignored);
   }

   /// Makes a file in place of the one of this name. Removing first is quick; file systems write a file through
   /// to the disk that is truncated and filled again.
   static void write_file(const std::string& path, const std::string& bytes) {
      std::filesystem::remove(path);
      HOST_TEST::write_file(path, bytes);
   }

   /// The texts of the reports so far; the test fails when one does not come from the log's source.
   std::vector<std::string> take_reports() { return m_host.take_report_texts("logdb_fsyn_database"); }

   /// What writing a record adds to an empty log.
   static std::string written(LOGDB_FSYN_LOG_ENTRY& record) {
      std::filesystem::remove("written.fsyn");
      LOGDB_FSYN_LOG_FILE log("written.fsyn");
      log.init(true);
      log.write_fsyn_log_entry(&record);
      return std::filesystem::exists("written.fsyn") ? read_file("written.fsyn") : "no file";
   }

   /// What reading these bytes gives, up to the first null.
   FSYN_READING reading(const std::string& bytes) {
      write_file("reading.fsyn", bytes);
      return reading_of_file("reading.fsyn");
   }

   FSYN_READING reading_of_file(const char* name) {
      m_host.take_events();
      LOGDB_FSYN_LOG_FILE log(name);
      FSYN_READING reading;
      while (const FSYN_RECORD record = FSYN_RECORD(log.read_fsyn_log_entry())) {
         reading.m_records.push_back(fsyn_description(*record));
      }
      reading.m_events = m_host.take_events();
      return reading;
   }

   /// The first record in these bytes, which must be of this class.
   template <class RECORD> std::unique_ptr<RECORD> first_record(const std::string& bytes) {
      write_file("reading.fsyn", bytes);
      LOGDB_FSYN_LOG_FILE log("reading.fsyn");
      return next_record<RECORD>(log);
   }

   /// The next record of a log, which must be of this class.
   template <class RECORD> static std::unique_ptr<RECORD> next_record(LOGDB_FSYN_LOG_FILE& log) {
      std::unique_ptr<RECORD> record = fsyn_as<RECORD>(FSYN_RECORD(log.read_fsyn_log_entry()));
      if (record == nullptr) {
         ADD_FAILURE() << "no " << FSYN_KIND<RECORD>::suffix << " record";
         record = std::make_unique<RECORD>();
      }
      return record;
   }

   /// All words of a log, the one at the end not included.
   static std::vector<std::string> words(LOGDB_FSYN_LOG_FILE& log) {
      std::vector<std::string> all;
      for (std::string word = log.read_line(); word != "LOGDB_FSYN_EOF"; word = log.read_line()) {
         all.push_back(word);
      }
      return all;
   }

private:
   std::filesystem::path m_old_directory;
};

#endif
