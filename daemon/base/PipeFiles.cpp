#include "base/PipeFiles.h"

#include "base/Files.h"
#include "base/Log.h"

#include "tools/ErrorText.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

namespace fs = std::filesystem;
using ostrel::Descriptor;

namespace
{

constexpr char asideMark[] = ".removed-";

// A directory can be full, and somebody can be filling it: to give it another
// name frees its own at once. An empty directory can be replaced by it.
std::string renamedAside(const std::string& path)
{
    std::string aside = path + asideMark + "XXXXXX";
    if (::mkdtemp(aside.data()) == nullptr) {
        return {};
    }
    if (::rename(path.c_str(), aside.c_str()) == 0) {
        return aside;
    }
    const int error = errno;
    ::rmdir(aside.c_str());
    errno = error;
    return {};
}

void removeTree(const std::string& path)
{
    std::error_code error;
    fs::remove_all(path, error);
    if (error) {
        logEvent("{} cannot be removed: {}", path, error.message());
    }
}

} // namespace

Descriptor requireOpen(Descriptor descriptor, const std::string& attempt, const std::string& what)
{
    if (!descriptor.isOpen()) {
        failSystemCall(attempt, what);
    }
    return descriptor;
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

bool isThere(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0;
}

bool freeName(const std::string& path)
{
    if (::unlink(path.c_str()) == 0 || errno == ENOENT) {
        return true;
    }
    const std::string aside = renamedAside(path);
    if (aside.empty()) {
        logEvent("{} cannot be removed: {}", path, ostrel::errorText(errno));
        return false;
    }
    removeTree(aside);
    return true;
}

void removeSetAside(const std::string& path)
{
    const fs::path whole = path;
    const std::string start = whole.filename().string() + asideMark;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(whole.parent_path(), ignored)) {
        if (entry.path().filename().string().compare(0, start.size(), start) == 0) {
            removeTree(entry.path().string());
        }
    }
}

void removeUnlessOwn(const std::string& path, mode_t type)
{
    struct stat status {
    };
    const bool isThere = ::lstat(path.c_str(), &status) == 0;
    if (isThere && !isOwn(status, type) && freeName(path)) {
        logEvent("{} is not the daemon's own: removed", path);
    }
}

} // namespace ostreld
