#include "store/JsonText.h"

#include <cxxtools/jsondeserializer.h>
#include <cxxtools/utf8codec.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace ostrel
{

namespace
{

using cxxtools::Char;
using cxxtools::JsonDeserializer;

// cxxtools recurses once for each level: a few hundred levels overflow a stack of
// 128 KiB. An info file has two levels.
constexpr std::size_t deepestNesting = 64;

// The first byte of a character makes the codec expect at most eight bytes.
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

// Decodes into a small buffer: the strings of cxxtools grow character by character, which
// would take as long as the parsing.
template <class Take>
void decode(const std::string& text, Take take)
{
    const cxxtools::Utf8Codec codec;
    cxxtools::MBState state;
    Char characters[64];
    const char* from = text.data();
    auto result = cxxtools::Utf8Codec::ok;
    do {
        const char* const begin = from;
        Char* end = characters;
        result = codec.in(state, begin, text.data() + text.size(), from, characters,
                          std::end(characters), end);
        const bool isStuck = result == cxxtools::Utf8Codec::partial && from == begin;
        require(result != cxxtools::Utf8Codec::error && !isStuck);
        std::for_each(characters, end, take);
    } while (result == cxxtools::Utf8Codec::partial);
}

// The number of levels above the current one, which are those of the tree's latest
// branch. Counting brackets would be wrong, because the parser accepts some that close
// nothing.
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

// Returns the parser's result for a character: 1 when it ends the document.
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
    document.begin();
    int end = 0;
    // The codec silently drops a character that the end of its input cuts off. Line feeds
    // after it make it an error, as in the middle of the text.
    decode(text + std::string(longestCharacter, '\n'), [&](Char character) {
        if (end == 0) {
            end = advance(document, character);
        } else {
            require(isBlank(character));
        }
    });
    require(end == 1);
}

} // namespace ostrel
