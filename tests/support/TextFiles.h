#pragma once

#include <string>

namespace support
{

/// A temporary directory. The destructor removes it with its contents.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return m_path; }
    /// The path of the file `name` in it.
    std::string operator/(const std::string& name) const { return m_path + '/' + name; }

private:
    std::string m_path;
};

/// Writes `text` to the file `path`, and creates missing directories.
void writeText(const std::string& path, const std::string& text);

/// Returns the text of the file `path`. Fails the test if it cannot be opened.
std::string readText(const std::string& path);

/// Creates a file `path` that exists but cannot be opened, and creates missing
/// directories.
void makeUnopenable(const std::string& path);

/// The number of descriptors that the process has open.
std::size_t openDescriptorCount();

} // namespace support
