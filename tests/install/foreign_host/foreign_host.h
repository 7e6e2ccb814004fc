#ifndef FOREIGN_HOST_H
#define FOREIGN_HOST_H

#include <string>
#include <vector>

// What this host has seen, for the program that it is linked to.
std::vector<std::string>& foreign_reports();
std::vector<std::string>& foreign_messages();
long foreign_blocks_in_use();
long foreign_blocks_served();
int foreign_domains();
int foreign_lines_split();

#endif
