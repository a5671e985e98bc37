#include "process/Privileges.h"

#include "base/Files.h"
#include "base/Refusal.h"

#include <ostrel/DaemonConfiguration.h>

#include "tools/Descriptor.h"

#include <algorithm>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld::privileges
{

namespace
{

using ostrel::DaemonConfiguration;

constexpr gid_t sameGroup = static_cast<gid_t>(-1);
bool isGivenUp = false;

// A file that root does not own was made by a client, not by a former daemon. The file is
// pinned, because the user may own the directory and exchange its entries meanwhile.
void handOver(int directory, const std::string& name, uid_t user)
{
    const ostrel::Descriptor file(
        ::openat(directory, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {
    };
    if (::fstat(file.get(), &status) == 0 && status.st_uid == 0 &&
        (S_ISDIR(status.st_mode) || status.st_nlink == 1) &&
        ::fchownat(file.get(), "", user, sameGroup, AT_EMPTY_PATH) != 0) {
        failSystemCall("hand over", name);
    }
}

void handOverTree(int directory, const std::string& name, uid_t user)
{
    handOver(directory, name, user);
    DirectoryNames names(directory, name);
    while (const char* entry = names.isOpen() ? names.next() : nullptr) {
        handOverTree(names.directory(), entry, user);
    }
}

void makeDirectoryOf(const std::string& path)
{
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        failSystemCall("make the directory", path);
    }
}

// Hands over the persistent stores, where the group cannot replace a file during the walk.
// The daemon creates the contents of the volatile directory again.
void handOverStores(const std::string& service, uid_t user)
{
    const std::string stores = DaemonConfiguration::getOstrelDirectory() + '/' + service;
    const std::string pipes = DaemonConfiguration::getNamePipesDirectory() + '/' + service;
    makeDirectoryOf(stores);
    handOverTree(AT_FDCWD, stores, user);
    makeDirectoryOf(pipes);
    handOver(AT_FDCWD, pipes, user);
}

std::vector<gid_t> allGroups(const passwd& user, std::vector<gid_t> groups)
{
    int count = 65536;
    std::vector<gid_t> own(static_cast<std::size_t>(count));
    if (::getgrouplist(user.pw_name, user.pw_gid, own.data(), &count) >= 0) {
        groups.insert(groups.end(), own.begin(), own.begin() + count);
    }
    return groups;
}

void require(int result, const char* what)
{
    if (result != 0) {
        failSystemCall(what, "the daemon's user");
    }
}

} // namespace

void giveUp(const std::string& service, const std::vector<gid_t>& groups)
{
    const std::string name = DaemonConfiguration::getDaemonUser();
    const passwd* const user = ::geteuid() == 0 ? ::getpwnam(name.c_str()) : nullptr;
    if (::geteuid() != 0 || (user != nullptr && user->pw_uid == 0)) {
        return;
    }
    if (user == nullptr) {
        throw Refusal(BadConfiguration, "daemonUser '" + name + "' does not exist");
    }
    handOverStores(service, user->pw_uid);
    const std::vector<gid_t> all = allGroups(*user, groups);
    require(::setgroups(all.size(), all.data()), "join the groups of");
    require(::setresgid(user->pw_gid, user->pw_gid, user->pw_gid), "take the group of");
    require(::setresuid(user->pw_uid, user->pw_uid, user->pw_uid), "become");
    require(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "stay");
    isGivenUp = true;
}

bool areGivenUp()
{
    return isGivenUp;
}

bool areRight(const std::vector<gid_t>& groups)
{
    std::vector<gid_t> own(65536);
    const int count = ::getgroups(static_cast<int>(own.size()), own.data());
    const auto end = own.begin() + std::max(count, 0);
    return std::all_of(groups.begin(), groups.end(),
                       [&](gid_t group) { return std::find(own.begin(), end, group) != end; });
}

} // namespace ostreld::privileges
