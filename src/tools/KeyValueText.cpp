#include "tools/KeyValueText.h"

#include <ostrel/Tools.h>

#include "tools/TextFile.h"

#include <sstream>

namespace ostrel
{

namespace
{

constexpr std::string_view blanks = " \t\n";
constexpr auto npos = std::string_view::npos;

// Intended: the first character always stays, even a blank.
std::string_view withoutTrailingBlanks(std::string_view text)
{
    const std::size_t last = text.find_last_not_of(blanks);
    return text.substr(0, last == npos ? 1 : last + 1);
}

std::string_view cleanLine(std::string_view line)
{
    const std::size_t comment = line.find('#');
    // Intended: a line that contains a comment keeps its leading blanks.
    return withoutTrailingBlanks(comment == npos ? withoutLeadingBlanks(line)
                                                 : line.substr(0, comment));
}

std::string_view asItIs(std::string_view line)
{
    return line;
}

template <class LineRule>
KeyValueMap mapOf(std::string_view text, LineRule lineRule)
{
    KeyValueMap map;
    for (TextLines lines(text); !lines.isAtEnd();) {
        const std::string_view line = lineRule(lines.next());
        if (line.find(' ') != npos) {
            map.emplace(keyAndValueOf(line));
        }
    }
    return map;
}

} // namespace

std::string_view withoutLeadingBlanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

std::pair<std::string_view, std::string_view> keyAndValueOf(std::string_view line)
{
    const std::size_t space = line.find(' ');
    const std::string_view value = space == npos ? line : line.substr(space + 1);
    return {line.substr(0, space), withoutLeadingBlanks(value)};
}

KeyValueMap configMapOf(std::string_view text)
{
    return mapOf(text, cleanLine);
}

KeyValueMap rawMapOf(std::string_view text)
{
    return mapOf(text, asItIs);
}

std::string valueOf(const KeyValueMap& map, const std::string& key)
{
    const auto found = map.find(key);
    return found != map.end() ? found->second : std::string();
}

std::string Tools::removeSpaceAtBeginning(const std::string& text)
{
    return std::string(withoutLeadingBlanks(text));
}

std::string Tools::removeSpaceFromEnding(const std::string& text)
{
    return std::string(withoutTrailingBlanks(text));
}

std::string Tools::cleanConfigLine(const std::string& line)
{
    return std::string(cleanLine(line));
}

std::pair<std::string, std::string> Tools::getKeyAndValue(const std::string& line)
{
    return std::pair<std::string, std::string>(keyAndValueOf(line));
}

std::map<std::string, std::string> Tools::getConfigMap(std::istream& in)
{
    return configMapOf(readRest(in));
}

std::map<std::string, std::string> Tools::getMapFromStringStream(std::stringstream& in)
{
    return getConfigMap(in);
}

std::map<std::string, std::string> Tools::getMapKeyValue(std::istream& in)
{
    return rawMapOf(readRest(in));
}

} // namespace ostrel
