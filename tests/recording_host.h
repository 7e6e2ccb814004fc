#ifndef RECORDING_HOST_H
#define RECORDING_HOST_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host_standalone.h"

/// One internal error as the host received it.
struct RECORDED_REPORT {
   std::string m_text;
   std::string m_domain;
   std::string m_file;
   int m_line = 0;
};

/// The standalone host with its handlers set to record. While one lives, every report and every debug message
/// goes to it; a test that leaves a report untaken fails.
class RECORDING_HOST {
public:
   RECORDING_HOST();
   ~RECORDING_HOST();
   RECORDING_HOST(const RECORDING_HOST&) = delete;
   RECORDING_HOST& operator=(const RECORDING_HOST&) = delete;

   /// The reports since the last call, oldest first; they count as expected.
   std::vector<RECORDED_REPORT> take_reports();

   /// The same, texts alone. Fails the test when a report has another domain or file, or no line.
   std::vector<std::string> take_report_texts(const std::string& file);

   /// The debug messages since the last call, oldest first. Fails the test when one has another domain.
   std::vector<std::string> take_messages();

   /// Reports and messages in the order in which they came, reports marked "report: ", since the last call of
   /// this function; they count as taken.
   std::vector<std::string> take_events();

private:
   std::vector<RECORDED_REPORT> m_reports;
   std::vector<std::string> m_messages;
   std::vector<std::string> m_events;
   HOST_INTERNAL_ERROR_HANDLER m_old_error_handler;
   HOST_DEBUG_MESSAGE_HANDLER m_old_message_handler;
};

/// A fixture with a recording host and an empty folder of its own, which is the project-database directory. At
/// the end no report is left untaken, no database is loaded, and no tracked block is left.
class HOST_TEST : public ::testing::Test {
protected:
   HOST_TEST();
   ~HOST_TEST() override;
   void TearDown() override;

   /// The path of a file in the fixture's folder.
   std::string path(const std::string& name) const;

   /// The bytes of a file; fails the test when it cannot be read.
   static std::string read_file(const std::string& path);

   /// Makes a file with these bytes.
   static void write_file(const std::string& path, const std::string& bytes);

   std::filesystem::path m_directory;
   RECORDING_HOST m_host;

private:
   std::size_t m_blocks_before = 0;
};

#endif
