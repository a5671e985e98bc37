#include <ostrelApi/OverwrittenData.h>

#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
#include "store/Rewrite.h"
#include "tools/KeyValueText.h"
#include "tools/TextFile.h"

#include <ctime>
#include <string_view>

#include <sys/stat.h>

namespace ostrelApi
{

namespace
{

using ostrel::KeyValueMap;

constexpr std::string_view keyCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";

// The rules are the regular expressions ([a-zA-Z0-9]|-|_)+ for a whole key and (\n|\r|\t)
// for a whole value. They are checked without std::regex, which recurses for each
// character and can overflow the stack.
bool isKey(const std::string& key)
{
    return !key.empty() && key.find_first_not_of(keyCharacters) == std::string::npos;
}

// Intended: a longer value may contain any of these.
bool isRefusedValue(const std::string& value)
{
    return value == "\n" || value == "\r" || value == "\t";
}

// The new text of the file: first the keys that it has, with their changes, and then the
// new keys.
std::string mergedText(const KeyValueMap& fileData, const KeyValueMap& pendingData)
{
    std::string text;
    const auto append = [&](const std::string& key, const std::string& value) {
        text.append(key).append(" ").append(value) += '\n';
    };
    for (const auto& line : fileData) {
        const auto pending = pendingData.find(line.first);
        if (pending == pendingData.end()) {
            append(line.first, line.second);
        } else if (!pending->second.empty()) {
            append(line.first, pending->second);
        }
    }
    for (const auto& pending : pendingData) {
        if (fileData.count(pending.first) == 0 && !pending.second.empty()) {
            append(pending.first, pending.second);
        }
    }
    return text;
}

} // namespace

OverwrittenData::OverwrittenData(const std::string& path) : m_filePath(path) {}

void OverwrittenData::setData(const std::string& key, const std::string& value)
{
    if (!isKey(key)) {
        fail(ActionFailed, "a key is made of letters, digits, - and _, not '" + key + "'");
    }
    if (isRefusedValue(value)) {
        fail(ActionFailed, "the value is a single line feed, carriage return or tab");
    }
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
    rewriteFile(m_filePath, mergedText(m_fileData, m_pendingData));
    // Intended: within the second of the write this reads nothing, and the object keeps the
    // former values.
    update();
    m_pendingData.clear();
}

void OverwrittenData::update()
{
    if (!isUpToDate()) {
        const ostrel::TextFile file = ostrel::readTextFile(m_filePath);
        if (!file.isComplete) {
            fail(ActionFailed, "cannot read", m_filePath, file.error);
        }
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
