#include "bench/RawStore.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench
{

namespace
{

/// The bytes of a file, in memory that is not initialised first.
struct Bytes {
    std::unique_ptr<char[]> memory;
    std::size_t length = 0;

    std::string_view view() const { return {memory.get(), length}; }
};

Bytes readByHand(const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (file == -1 || ::fstat(file, &status) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    const std::size_t room = static_cast<std::size_t>(status.st_size) + 1;
    Bytes bytes{std::unique_ptr<char[]>(new char[room])};
    ssize_t count = 0;
    while ((count = ::read(file, bytes.memory.get() + bytes.length, room - bytes.length)) > 0) {
        bytes.length += static_cast<std::size_t>(count);
    }
    ::close(file);
    return bytes;
}

template <class Visit>
void forEachLine(std::string_view text, Visit visit)
{
    while (!text.empty()) {
        const void* end = std::memchr(text.data(), '\n', text.size());
        const std::size_t length =
            end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text.data())
                           : text.size();
        visit(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
}

void putInOrder(std::vector<std::string>& ids)
{
    if (std::adjacent_find(ids.begin(), ids.end(), std::greater_equal<>()) != ids.end()) {
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    }
}

/// Calls `visit` for each line of a map with the id, and whether its common name is `cn`.
template <class Visit>
void forEachId(std::string_view map, std::string_view cn, Visit visit)
{
    forEachLine(map, [&](std::string_view line) {
        const std::size_t space = line.find(' ');
        if (space != std::string_view::npos) {
            const std::size_t name = line.find_first_not_of(" \t", space);
            visit(line.substr(0, space), line.substr(std::min(name, line.size())) == cn);
        }
    });
}

/// Takes the ids in one pass, which is enough for a map that the daemon wrote. Returns
/// false if the map is not in order.
bool takeOrdered(std::string_view map, std::string_view cn, std::vector<std::string>& ids)
{
    bool isOrdered = true;
    bool isFirst = true;
    std::string_view former;
    forEachId(map, cn, [&](std::string_view id, bool isNamed) {
        isOrdered = isOrdered && (isFirst || former < id);
        isFirst = false;
        former = id;
        if (isNamed) {
            ids.emplace_back(id);
        }
    });
    return isOrdered;
}

std::vector<std::string> takeSorted(std::string_view map, std::string_view cn)
{
    std::map<std::string_view, bool> isNamedById;
    forEachId(map, cn,
              [&](std::string_view id, bool isNamed) { isNamedById.emplace(id, isNamed); });
    std::vector<std::string> ids;
    for (const auto& entry : isNamedById) {
        if (entry.second) {
            ids.emplace_back(entry.first);
        }
    }
    return ids;
}

/// The text between the begin line and the end line.
std::string_view certificateIn(const Bytes& bytes)
{
    constexpr std::string_view begin = "-----BEGIN CERTIFICATE-----\n";
    const std::size_t start = bytes.view().find(begin);
    if (start == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = bytes.view().substr(start + begin.size());
    return rest.substr(0, rest.find("-----END CERTIFICATE-----\n"));
}

} // namespace

std::size_t lengthByHand(const std::string& path)
{
    return readByHand(path).length;
}

std::vector<std::string> idsByHand(const std::string& listPath)
{
    const Bytes bytes = readByHand(listPath);
    std::vector<std::string> ids;
    forEachLine(bytes.view(), [&](std::string_view line) {
        if (!line.empty()) {
            ids.emplace_back(line);
        }
    });
    putInOrder(ids);
    return ids;
}

std::vector<std::string> idsByCNByHand(const std::string& mapPath, const std::string& cn)
{
    const Bytes bytes = readByHand(mapPath);
    std::vector<std::string> ids;
    if (!takeOrdered(bytes.view(), cn, ids)) {
        ids = takeSorted(bytes.view(), cn);
    }
    return ids;
}

std::string idOfCertificateByHand(const std::string& listPath, const std::string& directory,
                                  const std::string& path)
{
    const std::vector<std::string> ids = idsByHand(listPath);
    const Bytes wanted = readByHand(path);
    for (const std::string& id : ids) {
        const Bytes stored = readByHand(directory + id);
        if (certificateIn(stored) == certificateIn(wanted)) {
            return id;
        }
    }
    return {};
}

} // namespace bench
