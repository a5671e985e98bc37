#pragma once

#include <functional>
#include <set>
#include <string>

/// The string literals of one word in the sources of the configuration. They include every
/// key that the library reads.
std::set<std::string> wordsOfConfigurationSources();

/// The keys among `words`: a line with a key before a configuration changes the result of
/// reading it. `readingOf` reads the configuration with these lines before it and returns
/// the result, or the failure, as text. ".<i>" stands for the number of a network
/// interface.
std::set<std::string> keysAmong(const std::set<std::string>& words,
                                const std::function<std::string(const std::string&)>& readingOf);
