#include <ostrelApi/OverwrittenData.h>

#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/ReturnCode.h>

#include "config/ConfigText.h"
#include "tools/Descriptor.h"
#include "tools/TextFile.h"

#include <ctime>
#include <string_view>

#include <sys/stat.h>

namespace ostrelApi
{

namespace
{

using ostrel::Descriptor;
using ostrel::KeyValueMap;

constexpr mode_t defaultFileMode = 0666;

constexpr std::string_view keyCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";

// The rules of keys and values are the regular expressions ([a-zA-Z0-9]|-|_)+
// and (\n|\r|\t) on the whole text, judged by hand: std::regex takes stack by
// the length of the text.
bool isKey(const std::string& key)
{
    return !key.empty() && key.find_first_not_of(keyCharacters) == std::string::npos;
}

// Intended: a longer value may hold any of these.
bool isRefusedValue(const std::string& value)
{
    return value == "\n" || value == "\r" || value == "\t";
}

void require(bool condition)
{
    if (!condition) {
        throw OstrelApiException(ActionFailed);
    }
}

// Each line is written at once.
void writeLine(const Descriptor& file, const std::string& key, const std::string& value)
{
    require(ostrel::writeAll(file, key + ' ' + value + '\n'));
}

// The order of the lines: the keys that the file has, with the changes made,
// and then the new ones.
void writeLines(const std::string& path, const KeyValueMap& fileData,
                const KeyValueMap& pendingData)
{
    const auto file = Descriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC, defaultFileMode);
    require(file.isOpen());
    for (const auto& line : fileData) {
        const auto pending = pendingData.find(line.first);
        if (pending == pendingData.end()) {
            writeLine(file, line.first, line.second);
        } else if (!pending->second.empty()) {
            writeLine(file, line.first, pending->second);
        }
    }
    for (const auto& pending : pendingData) {
        if (fileData.count(pending.first) == 0 && !pending.second.empty()) {
            writeLine(file, pending.first, pending.second);
        }
    }
}

} // namespace

OverwrittenData::OverwrittenData(const std::string& path) : m_filePath(path) {}

void OverwrittenData::setData(const std::string& key, const std::string& value)
{
    require(isKey(key));
    require(!isRefusedValue(value));
    m_pendingData[key] = value;
}

std::string OverwrittenData::getData(const std::string& key)
{
    update();
    const auto pending = m_pendingData.find(key);
    return pending != m_pendingData.end() ? pending->second : ostrel::valueOf(m_fileData, key);
}

std::string OverwrittenData::operator[](const std::string& key)
{
    return getData(key);
}

std::map<std::string, std::string> OverwrittenData::getMap()
{
    update();
    std::map<std::string, std::string> map = m_fileData;
    for (const auto& pending : m_pendingData) {
        if (pending.second.empty()) {
            map.erase(pending.first);
        } else {
            map[pending.first] = pending.second;
        }
    }
    return map;
}

bool OverwrittenData::isUpToDate()
{
    struct stat status {
    };
    return ::stat(m_filePath.c_str(), &status) != 0 || status.st_mtime <= m_lastUpdate;
}

void OverwrittenData::write()
{
    update();
    if (m_pendingData.empty()) {
        return;
    }
    writeLines(m_filePath, m_fileData, m_pendingData);
    // Intended: in the second of the writing this reads nothing, and the
    // values stay those from before.
    update();
    m_pendingData.clear();
}

void OverwrittenData::update()
{
    if (!isUpToDate()) {
        const ostrel::TextFile file = ostrel::readTextFile(m_filePath);
        require(file.isOpen);
        m_fileData = ostrel::rawMapOf(file.text);
    }
    m_lastUpdate = std::time(nullptr);
}

void OverwrittenData::discardAll()
{
    m_pendingData.clear();
}

void OverwrittenData::discard(const std::string& key)
{
    m_pendingData.erase(key);
}

OverwrittenData::~OverwrittenData() = default;

} // namespace ostrelApi
