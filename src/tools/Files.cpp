#include <ostrel/Tools.h>

#include "tools/Descriptor.h"
#include "tools/ErrorText.h"
#include "tools/InFlight.h"
#include "tools/PemText.h"
#include "tools/PinnedFile.h"
#include "tools/TextFile.h"
#include "tools/Trace.h"
#include "tools/UserDatabase.h"

#include <cerrno>
#include <cstdio>
#include <stdexcept>

#include <dirent.h>
#include <ftw.h>
#include <sys/stat.h>

namespace ostrel
{

namespace
{

constexpr int mostOpenDirectories = 64;
constexpr uid_t unchangedUser = static_cast<uid_t>(-1);
constexpr gid_t unchangedGroup = static_cast<gid_t>(-1);
const char groupUnchanged[] = "Impossible to change the group for ";

// Intended: "a" occurs again after "n", and "p" never.
const std::string& randomNameAlphabet()
{
    static const std::string alphabet =
        "abcdefghijklmnaoqrstuvwxyz1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    return alphabet;
}

void failUnless(int result, const char* text, const std::string& path)
{
    if (result != 0) {
        throw std::runtime_error(text + path);
    }
}

// `file`: the file that `path` names, or null for any file. Intended: this function replaces
// the text of a failure; changeUser() by name does not.
bool changeGroupByName(const PinnedFile* file, const std::string& path,
                       const std::string& groupName)
{
    try {
        const GroupEntry group = groupByName(groupName);
        if (group.isFound() && file != nullptr) {
            failUnless(file->changeGroup(group->gr_gid) ? 0 : -1, groupUnchanged, path);
        } else if (group.isFound()) {
            Tools::changeGroup(path, group->gr_gid);
        }
        return group.isFound();
    } catch (...) {
        const std::string suffix = " caught while changing group for file '" + path + "'";
        throw std::runtime_error(describeInFlight<std::runtime_error>(
            {"Runtime error" + suffix + ": ", "Std exception" + suffix + ": ",
             "Generic exception" + suffix + "."}));
    }
}

bool isDirectory(const std::string& path)
{
    return Descriptor::open(path, O_RDONLY | O_DIRECTORY).isOpen();
}

} // namespace

bool Tools::fileExist(const std::string& path)
{
    struct stat status {
    };
    return ::stat(path.c_str(), &status) == 0;
}

void Tools::createDirectory(const std::string& path, mode_t mode)
{
    if (isDirectory(path)) {
        // Intended: these texts say "Faied".
        orRuntimeError<std::runtime_error>(
            {"Caught runtime exception. Faied to change the mode. Reason: ",
             "Caught standard exception. Faied to change the mode. Reason: ",
             "Caught unknown exception while changing the mode"},
            [&] { changeMode(path, mode); });
    } else if (::mkdir(path.c_str(), mode) != 0) {
        // Intended: a new directory keeps the mode that the umask leaves; only the mode of an
        // existing one is changed.
        trace("Impossible to create ", path);
    }
}

int Tools::changeMode(const std::string& path, mode_t mode)
{
    failUnless(::chmod(path.c_str(), mode & 07777), "Impossible to change mode for ", path);
    return 0;
}

bool Tools::changeUser(const std::string& path, uid_t uid)
{
    failUnless(::chown(path.c_str(), uid, unchangedGroup), "Impossible to change the user for ",
               path);
    return true;
}

bool Tools::changeUser(const std::string& path, const std::string& userName)
{
    const UserEntry user = userByName(userName);
    return user.isFound() && changeUser(path, user->pw_uid);
}

bool Tools::changeGroup(const std::string& path, gid_t gid)
{
    failUnless(::chown(path.c_str(), unchangedUser, gid), groupUnchanged, path);
    return true;
}

bool Tools::changeGroup(const std::string& path, const std::string& groupName)
{
    return changeGroupByName(nullptr, path, groupName);
}

bool changeGroupOfOwnFile(const PinnedFile& file, const std::string& path,
                          const std::string& groupName)
{
    return changeGroupByName(&file, path, groupName);
}

Tools::Rights Tools::getRights(const std::string& path)
{
    struct stat status {
    };
    failUnless(::stat(path.c_str(), &status), "Impossible to open ", path);
    return {status.st_mode, status.st_uid, status.st_gid};
}

int Tools::removeFile(const std::string& path)
{
    if (!fileExist(path)) {
        trace("The file '", path, "' not found for removal.");
        return -1;
    }
    const int result = std::remove(path.c_str());
    if (result != 0 && errno != ENOENT) {
        trace("Failed to remove file '", path, "' : error: ", errorText(errno));
    }
    return result;
}

int Tools::removeFiles(const std::string& path)
{
    return ::nftw(path.c_str(), removeOnFile, mostOpenDirectories, FTW_DEPTH | FTW_PHYS);
}

int Tools::removeOnFile(const char* path, const struct ::stat* /*status*/, int /*typeFlag*/,
                        struct ::FTW* /*walk*/)
{
    const int result = std::remove(path);
    if (result != 0) {
        // Intended: printed also when gDebug is clear.
        std::perror(path);
    }
    return result;
}

bool Tools::isTheSameCertificate(const std::string& pathA, const std::string& pathB)
{
    return isSameCertificateText(readTextFile(pathA).text, readTextFile(pathB).text);
}

std::string Tools::getRandomName(unsigned int length)
{
    std::string name;
    const Descriptor device = Descriptor::open("/dev/urandom", O_RDONLY);
    if (!device.isOpen()) {
        trace("Failed to open random device file");
        return name;
    }
    while (name.size() < length) {
        std::uint32_t value = 0;
        if (::read(device.get(), &value, sizeof value) == -1) {
            trace("Failed to read random device file");
            break;
        }
        name += randomNameAlphabet()[value % randomNameAlphabet().size()];
    }
    return name;
}

} // namespace ostrel
