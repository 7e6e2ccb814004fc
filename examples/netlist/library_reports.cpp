#include "library_reports.h"

#include <utility>

#include "netlist_error.h"

LIBRARY_REPORTS::LIBRARY_REPORTS()
    : m_old_handler(
          host_set_internal_error_handler([this](const char* text, const char* /*domain*/, const char* /*file*/,
                                                 int /*line*/) { m_texts.push_back(text); })) {}

LIBRARY_REPORTS::~LIBRARY_REPORTS() {
   host_set_internal_error_handler(std::move(m_old_handler));
}

std::vector<std::string> LIBRARY_REPORTS::take() {
   return std::exchange(m_texts, {});
}

void LIBRARY_REPORTS::throw_if_any() {
   if (!m_texts.empty()) {
      throw NETLIST_ERROR("the library reports: " + take().front());
   }
}
