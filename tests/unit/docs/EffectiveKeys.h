#pragma once

#include <functional>
#include <set>
#include <string>

/// The words that stand as string literals in the sources of the configuration: every key
/// that the library reads is among them.
std::set<std::string> wordsOfConfigurationSources();

/// Those of `words` that are keys: a line with one in front of a configuration changes
/// the configuration that is read. `readingOf` reads the configuration with these lines
/// in front and returns the result as text, a failure included. The number of a network
/// interface stands as ".<i>".
std::set<std::string> keysAmong(const std::set<std::string>& words,
                                const std::function<std::string(const std::string&)>& readingOf);
