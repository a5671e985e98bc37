#pragma once

#include "tools/Descriptor.h"

#include <string>

#include <sys/types.h>

namespace ostreld
{

/// Refers to the reply FIFO of one caller (O_PATH) without opening it, so that a later file
/// of the same name is not mistaken for it. Move-only.
class PinnedReply
{
public:
    PinnedReply() = default;

    /// Pins the file `path`. If it is not a FIFO with one name, isPinned() is false and errno
    /// is set (ENXIO): another name could belong to another user's FIFO.
    static PinnedReply pin(const std::string& path);

    bool isPinned() const { return m_file.isOpen(); }

    /// Whether it still has a name. A caller that gives up removes the name.
    bool isLinked() const;

    /// Whether it has the name `path`.
    bool isAt(const std::string& path) const;

    bool isSameAs(const PinnedReply& other) const;

    uid_t owner() const { return m_owner; }

    /// Opens it without blocking.
    [[nodiscard]] ostrel::Descriptor open(int flags) const;

    /// A path that opens this FIFO, even if its name belongs to another file.
    std::string path() const;

private:
    ostrel::Descriptor m_file;
    uid_t m_owner = 0;
};

} // namespace ostreld
