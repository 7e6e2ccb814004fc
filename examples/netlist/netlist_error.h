#ifndef NETLIST_ERROR_H
#define NETLIST_ERROR_H

#include <stdexcept>

/// What is wrong with a netlist, a file, or a change that does not fit: a sentence for the user.
class NETLIST_ERROR : public std::runtime_error {
public:
   using std::runtime_error::runtime_error;
};

#endif
