#include "unit/docs/EffectiveKeys.h"

#include "support/TextFiles.h"

#include <filesystem>
#include <regex>

namespace
{

void addWordsOf(const std::string& source, std::set<std::string>& words)
{
    static const std::regex literal("\"([A-Za-z0-9]+)\"");
    const std::sregex_iterator end;
    for (std::sregex_iterator found(source.begin(), source.end(), literal); found != end; ++found) {
        words.insert((*found)[1]);
    }
}

} // namespace

std::set<std::string> wordsOfConfigurationSources()
{
    std::set<std::string> words;
    for (const auto& entry : std::filesystem::directory_iterator(OSTREL_CONFIGURATION_SOURCES)) {
        addWordsOf(support::readText(entry.path()), words);
    }
    return words;
}

std::set<std::string> keysAmong(const std::set<std::string>& words,
                                const std::function<std::string(const std::string&)>& readingOf)
{
    const std::string before = readingOf("");
    const auto changes = [&](const std::string& key) {
        // A text, a flag and a number: each kind of value changes under one of them.
        return readingOf(key + " another\n") != before || readingOf(key + " yes\n") != before ||
               readingOf(key + " 7\n") != before;
    };
    std::set<std::string> keys;
    for (const std::string& word : words) {
        if (changes(word)) {
            keys.insert(word);
        }
        if (changes(word + ".0")) {
            keys.insert(word + ".<i>");
        }
    }
    return keys;
}
