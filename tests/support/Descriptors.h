#pragma once

#include <set>
#include <string>
#include <utility>

// The open descriptors of this process, with their files.
std::set<std::pair<std::string, std::string>> Descriptors();
