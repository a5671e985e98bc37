#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <stdlib.h>
#include <sys/stat.h>

namespace support
{

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory()
    : m_path((fs::temp_directory_path() / "ostrl-test.XXXXXX").string())
{
    if (::mkdtemp(m_path.data()) == nullptr) {
        throw std::runtime_error("no temporary directory " + m_path);
    }
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void writeText(const std::string& path, const std::string& text)
{
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string readText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void makeUnopenable(const std::string& path)
{
    fs::create_directories(fs::path(path).parent_path());
    // A socket without a listener, because permissions do not stop root.
    if (::mknod(path.c_str(), S_IFSOCK | 0600, 0) != 0) {
        throw std::runtime_error("cannot make " + path);
    }
}

std::size_t openDescriptorCount()
{
    const auto count = std::distance(fs::directory_iterator("/proc/self/fd"), {});
    return static_cast<std::size_t>(count);
}

} // namespace support
