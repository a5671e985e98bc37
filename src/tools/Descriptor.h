#pragma once

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace ostrel
{

/// An open file descriptor, closed with its owner. Move-only.
/// Every descriptor of the library is close-on-exec: a program that forks and
/// executes while a call runs leaks nothing.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other) {
            close();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    ~Descriptor() { close(); }

    /// Opens `path`; check isOpen(), and errno for the reason, afterwards.
    static Descriptor open(const std::string& path, int flags, mode_t mode = 0)
    {
        return Descriptor(::open(path.c_str(), flags | O_CLOEXEC, mode));
    }

    bool isOpen() const { return m_fd != -1; }
    int get() const { return m_fd; }

    void close()
    {
        if (isOpen()) {
            ::close(std::exchange(m_fd, -1));
        }
    }

private:
    int m_fd = -1;
};

/// Writes all of `bytes`; false at the first write that fails.
inline bool writeAll(const Descriptor& file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace ostrel
