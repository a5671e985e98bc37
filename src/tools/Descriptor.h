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

/// Owns a file descriptor and closes it at its end. Move-only; one thread at a time.
/// Every descriptor of the library is close-on-exec, so a program that an application
/// starts during a call inherits none.
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

    /// Opens `path`. After a failure, isOpen() is false and errno is the reason.
    [[nodiscard]] static Descriptor open(const std::string& path, int flags, mode_t mode = 0)
    {
        return Descriptor(::open(path.c_str(), flags | O_CLOEXEC, mode));
    }

    [[nodiscard]] bool isOpen() const { return m_fd != -1; }
    /// The descriptor, still owned by this object; -1 when it is not open.
    [[nodiscard]] int get() const { return m_fd; }

    void close()
    {
        if (isOpen()) {
            ::close(std::exchange(m_fd, -1));
        }
    }

private:
    int m_fd = -1;
};

/// Writes all of `bytes`, by several writes if necessary. Returns false, with the reason in
/// errno, when a write fails. A signal is no failure.
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
