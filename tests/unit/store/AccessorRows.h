#pragma once

// Shared by the tests of both accessors: rows of paths, and a device whose
// directories the rows can name.

#include "support/Device.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace accessor_rows
{

/// A path that an accessor returns, and the expected path.
struct PathRow {
    const char* sentence;
    std::string path;
    std::string expected;
};

inline void expectPaths(const std::vector<PathRow>& rows)
{
    for (const PathRow& row : rows) {
        EXPECT_EQ(row.path, row.expected) << row.sentence;
    }
}

/// Configures the daemon for these two directories, which need not exist.
inline void configure(const std::string& ostrelDirectory, const std::string& namePipesDirectory)
{
    support::Device::writeDaemonConfiguration(
        "ostrelDirectory " + ostrelDirectory + "\nnamePipesDirectory " + namePipesDirectory +
        "\nserviceConfigDirectory /etc/ostrel/services\nscriptsDirectory /s\n"
        "notificationGroup g\ndaemonUser u\nlockFile /l\npidFile /p\n");
}

} // namespace accessor_rows
