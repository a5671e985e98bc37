#pragma once

#include "tools/Descriptor.h"

#include <string>

#include <sys/stat.h>
#include <sys/types.h>

namespace ostrel
{

/// A file in a directory where other users may create and replace files. It stays the same
/// file when its name is replaced. It is not a link's target, and pinning it neither waits
/// nor acts on it, as opening a FIFO or a device can. Move-only; one thread at a time.
///
/// Its functions report a failure by their result and errno.
class PinnedFile
{
public:
    /// The file that `path` names, a link included.
    explicit PinnedFile(const std::string& path);

    /// A file that the process has just created. Fails with EPERM for a file that it cannot
    /// have created: a file of another user, a file with a second name, or anything but a
    /// regular file or a FIFO.
    [[nodiscard]] static PinnedFile own(const std::string& path);

    [[nodiscard]] bool isOpen() const { return m_file.isOpen(); }
    [[nodiscard]] bool isLink() const { return S_ISLNK(m_mode); }
    [[nodiscard]] uid_t owner() const { return m_owner; }

    [[nodiscard]] Descriptor open(int flags) const;
    [[nodiscard]] bool changeGroup(gid_t gid) const;
    [[nodiscard]] bool changeMode(mode_t mode) const;

private:
    Descriptor m_file;
    mode_t m_mode = 0;
    uid_t m_owner = 0;
    nlink_t m_names = 0;
    // Why the file is not open.
    int m_error = 0;
};

/// Tools::changeGroup() for PinnedFile::own(`path`), with the same texts.
[[nodiscard]] bool changeGroupOfOwnFile(const PinnedFile& file, const std::string& path,
                                        const std::string& groupName);

} // namespace ostrel
