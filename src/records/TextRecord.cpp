#include "records/TextRecord.h"

#include "tools/Trace.h"

#include <cstdlib>

namespace ostrl
{

namespace
{

// Intended: with a "t", the daemon's spelling.
const char* const extensionKey = "v3Extention";

} // namespace

std::string valueText(std::int32_t number)
{
    return std::to_string(number);
}

std::string valueText(std::uint64_t number)
{
    return std::to_string(number);
}

std::string valueText(const std::string& text)
{
    return text;
}

std::string valueText(const CDistinguishedName& name)
{
    std::string text;
    name.to(text);
    return text;
}

// As atoi() of a platform where long has 64 bits. Where long has 32 bits, atoi()
// gives the largest int for a large number.
void takeValue(std::int32_t& number, const std::string& text)
{
    number = static_cast<std::int32_t>(std::strtoll(text.c_str(), nullptr, 10));
}

void takeValue(std::uint64_t& number, const std::string& text)
{
    // Intended: base 0, so "0x" starts a hexadecimal number and "0" an octal one.
    number = static_cast<std::uint64_t>(std::strtoll(text.c_str(), nullptr, 0));
}

void takeValue(std::string& member, const std::string& text)
{
    member = text;
}

void takeValue(CDistinguishedName& name, const std::string& text)
{
    name.from(text);
}

void appendExtensions(std::string& text, const std::vector<v3Ext>& extensions)
{
    std::string extensionText;
    for (std::size_t i = 0; i < extensions.size(); ++i) {
        extensions[i].to(extensionText);
        text.append(extensionKey + std::to_string(i) + ' ').append(extensionText) += '\n';
    }
}

void takeExtension(std::vector<v3Ext>& extensions, const std::string& key, const std::string& value)
{
    if (key.find(extensionKey) == std::string::npos) {
        return;
    }
    ostrel::trace(extensionKey, " key:", key);
    ostrel::trace(extensionKey, " value:", value);
    v3Ext extension;
    extension.from(value);
    extensions.push_back(extension);
}

} // namespace ostrl
