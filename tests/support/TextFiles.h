#pragma once

#include <string>

namespace support
{

/// A directory of the test's own, removed with everything in it.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return m_path; }
    /// The path of `name` in it.
    std::string operator/(const std::string& name) const { return m_path + '/' + name; }

private:
    std::string m_path;
};

/// Makes the file `path`, and the directories above it, with `text` in it.
void writeText(const std::string& path, const std::string& text);

/// The text of the file `path`; fails the test when there is none.
std::string readText(const std::string& path);

/// Makes the file `path`, and the directories above it, which can be found but
/// not opened.
void makeUnopenable(const std::string& path);

/// How many descriptors the process has open.
std::size_t openDescriptorCount();

} // namespace support
