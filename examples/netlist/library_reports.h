#ifndef LIBRARY_REPORTS_H
#define LIBRARY_REPORTS_H

#include <string>
#include <vector>

#include "host_standalone.h"

/// \file
/// What the library reports while a stage runs. The library goes on after a report; a stage that wants to
/// stop must collect the reports and look.

/// Collects internal errors while it lives, instead of having them printed.
class LIBRARY_REPORTS {
public:
   LIBRARY_REPORTS();
   ~LIBRARY_REPORTS();
   LIBRARY_REPORTS(const LIBRARY_REPORTS&) = delete;
   LIBRARY_REPORTS& operator=(const LIBRARY_REPORTS&) = delete;

   /// The texts since the last call, oldest first.
   std::vector<std::string> take();

   /// \throw NETLIST_ERROR  the first text, if there is one
   void throw_if_any();

private:
   std::vector<std::string> m_texts;
   HOST_INTERNAL_ERROR_HANDLER m_old_handler;
};

#endif
