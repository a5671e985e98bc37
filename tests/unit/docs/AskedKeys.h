#pragma once

#include <set>
#include <string>

/// The keys of a configuration file that the library asks for while `read`
/// runs, the number of a network interface told as ".<i>". It is the library
/// itself that tells them: the linker has its own look-up pass by here.
std::set<std::string> keysAskedBy(void (*read)());
