#include "recording_host.h"

#include <unistd.h>

#include <fstream>
#include <iterator>

#include "logdb.h"

RECORDING_HOST::RECORDING_HOST() {
   m_old_error_handler =
       host_set_internal_error_handler([this](const char* text, const char* domain, const char* file, int line) {
          m_reports.push_back({text, domain, file, line});
          m_events.push_back(std::string("report: ") + text);
       });
   m_old_message_handler = host_set_debug_message_handler([this](const char* domain, const char* text) {
      EXPECT_STREQ(domain, "LOGDB");
      m_messages.emplace_back(text);
      m_events.emplace_back(text);
      return true;
   });
}

RECORDING_HOST::~RECORDING_HOST() {
   host_set_internal_error_handler(m_old_error_handler);
   host_set_debug_message_handler(m_old_message_handler);
   for (const RECORDED_REPORT& report : m_reports) {
      ADD_FAILURE() << "unexpected report: " << report.m_text << " (" << report.m_file << ":" << report.m_line
                    << ")";
   }
}

std::vector<RECORDED_REPORT> RECORDING_HOST::take_reports() {
   std::vector<RECORDED_REPORT> reports;
   reports.swap(m_reports);
   return reports;
}

std::vector<std::string> RECORDING_HOST::take_report_texts(const std::string& file) {
   std::vector<std::string> texts;
   for (const RECORDED_REPORT& report : take_reports()) {
      EXPECT_EQ(report.m_domain, "LOGDB") << report.m_text;
      EXPECT_EQ(report.m_file, file) << report.m_text;
      EXPECT_GT(report.m_line, 0) << report.m_text;
      texts.push_back(report.m_text);
   }
   return texts;
}

std::vector<std::string> RECORDING_HOST::take_messages() {
   std::vector<std::string> messages;
   messages.swap(m_messages);
   return messages;
}

std::vector<std::string> RECORDING_HOST::take_events() {
   m_reports.clear();
   m_messages.clear();
   std::vector<std::string> events;
   events.swap(m_events);
   return events;
}

HOST_TEST::HOST_TEST() {
   std::string pattern = (std::filesystem::temp_directory_path() / "logdb_test_XXXXXX").string();
   if (mkdtemp(pattern.data()) == nullptr) {
      ADD_FAILURE() << "no folder for the test: " << pattern;
   }
   m_directory = pattern;
   host_set_project_directory(pattern.c_str());
   LOGDB_DATABASE::initialize("", LOGDB_DB_TYPE_NONE);
   logdb_revision_name.shrink_to_fit();
   m_blocks_before = host_memory_statistics("LOGDB").m_live_blocks;
}

HOST_TEST::~HOST_TEST() {
   host_set_project_directory(nullptr);
   std::error_code ignored;
   std::filesystem::remove_all(m_directory, ignored);
}

void HOST_TEST::TearDown() {
   LOGDB_DATABASE::unload_database();
   LOGDB_DATABASE::initialize("", LOGDB_DB_TYPE_NONE);
   logdb_revision_name.shrink_to_fit();
   EXPECT_EQ(host_memory_statistics("LOGDB").m_live_blocks, m_blocks_before) << "tracked blocks were leaked";
}

std::string HOST_TEST::path(const std::string& name) const {
   return (m_directory / name).string();
}

std::string HOST_TEST::read_file(const std::string& path) {
   std::ifstream file(path, std::ios::binary);
   EXPECT_TRUE(file.is_open()) << path;
   return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void HOST_TEST::write_file(const std::string& path, const std::string& bytes) {
   std::ofstream file(path, std::ios::binary | std::ios::trunc);
   file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
   file.close();
   EXPECT_TRUE(file.good()) << path;
}
