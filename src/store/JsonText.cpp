#include "store/JsonText.h"

#include <cxxtools/jsondeserializer.h>
#include <cxxtools/utf8codec.h>

#include <algorithm>
#include <stdexcept>

namespace ostrel
{

namespace
{

using cxxtools::Char;
using cxxtools::JsonDeserializer;

// cxxtools takes one recursion for each level: a few hundred levels overflow a
// stack of 128 KiB. An info file has two.
constexpr std::size_t deepestNesting = 64;

// What the codec takes for the beginning of a character claims eight at most.
constexpr std::size_t longestCharacter = 8;

void require(bool condition)
{
    if (!condition) {
        throw std::runtime_error("not one complete document");
    }
}

bool isBlank(Char character)
{
    return character == Char(' ') || character == Char('\t') || character == Char('\r') ||
           character == Char('\n');
}

// The codec silently drops a character that the end of its input cuts off.
// With the bytes of the longest one behind it, it is an error as anywhere else.
cxxtools::String decoded(const std::string& text)
{
    return cxxtools::Utf8Codec::decode(text + std::string(longestCharacter, '\n'));
}

// The levels above the one that is being read: those of the tree's latest
// branch. The brackets alone do not tell, because the parser passes over some
// that close nothing.
std::size_t nestingOf(const JsonDeserializer& document)
{
    std::size_t level = 0;
    const cxxtools::SerializationInfo* node = &document.si();
    while (node != document.current() && node->memberCount() > 0) {
        node = &node->getMember(static_cast<unsigned>(node->memberCount() - 1));
        ++level;
    }
    return level;
}

// What cxxtools answers to a character: 1 when it ends the document.
int advance(JsonDeserializer& document, Char character)
{
    const int end = document.advance(character);
    if (character == Char('[') || character == Char('{')) {
        require(nestingOf(document) < deepestNesting);
    }
    return end;
}

} // namespace

void readJsonText(const std::string& text, JsonDeserializer& document)
{
    const cxxtools::String characters = decoded(text);
    document.begin();
    auto next = characters.begin();
    int end = 0;
    while (end == 0 && next != characters.end()) {
        end = advance(document, *next++);
    }
    require(end == 1 && std::all_of(next, characters.end(), isBlank));
}

} // namespace ostrel
