#include "bench/RawWrites.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench
{

namespace
{

constexpr mode_t fileMode = 0640;

void check(bool isDone, const std::string& what)
{
    if (!isDone) {
        throw std::system_error(errno, std::generic_category(), "write by hand: " + what);
    }
}

void sync(const std::string& directory)
{
    const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    check(::fsync(descriptor) == 0, directory);
    ::close(descriptor);
}

void writeOne(const RawFile& file, const std::string& path)
{
    const bool isPersistent = file.way == RawFile::Way::ReplacePersistent;
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const auto count = ::write(descriptor, file.text.data(), file.text.size());
    check(count == static_cast<ssize_t>(file.text.size()), path);
    check(::fchmod(descriptor, fileMode) == 0, path);
    check(!isPersistent || ::fsync(descriptor) == 0, path);
    ::close(descriptor);
}

} // namespace

void writeByHand(const std::vector<RawFile>& files, const std::string& scratch)
{
    for (const RawFile& file : files) {
        const std::string path = file.directory + '/' + file.name;
        const bool isPersistent = file.way == RawFile::Way::ReplacePersistent;
        if (file.way == RawFile::Way::Create) {
            writeOne(file, path);
            continue;
        }
        const std::string other = (isPersistent ? scratch : file.directory) + "/.new";
        writeOne(file, other);
        check(::rename(other.c_str(), path.c_str()) == 0, path);
        if (isPersistent) {
            sync(file.directory);
        }
    }
}

} // namespace bench
