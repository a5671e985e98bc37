// Compares the table of paths in docs/FILES.md with the accessors.

#include "support/Document.h"
#include "unit/store/AccessorRows.h"

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/InternalCertificatesAccessor.h>

#include <gtest/gtest.h>

#include <map>

namespace
{

using ostrel::ExternalCertificatesAccessor;
using ostrel::InternalCertificatesAccessor;
using support::Document;

using Paths = std::map<std::string, std::string>;

/// Every path of an accessor, by the name of its member.
Paths pathsOf(const ExternalCertificatesAccessor& paths)
{
    return {
        {"certificateDirectoryPath", paths.certificateDirectoryPath()},
        {"certPath", paths.certPath("<id>")},
        {"cachedDirectoryPath", paths.cachedDirectoryPath()},
        {"listPath", paths.listPath()},
        {"certOverwrittenDataPath", paths.certOverwrittenDataPath("<id>")},
        {"tmpDirectoryPath", paths.tmpDirectoryPath()},
        {"cnMapPath", paths.cnMapPath()},
        {"certInfoPath", paths.certInfoPath("<id>")},
        {"certDetailsPath", paths.certDetailsPath("<id>")},
    };
}

Paths pathsOf(const InternalCertificatesAccessor& paths)
{
    return {
        {"certificateDirectoryPath", paths.certificateDirectoryPath()},
        {"certPath", paths.certPath("<id>")},
        {"certKeyPath", paths.certKeyPath("<id>")},
        {"cachedDirectoryPath", paths.cachedDirectoryPath()},
        {"activePath", paths.activePath()},
        {"csrPath", paths.csrPath()},
        {"certNetworkPath", paths.certNetworkPath("<id>")},
        {"certOverwrittenDataPath", paths.certOverwrittenDataPath("<id>")},
        {"tmpDirectoryPath", paths.tmpDirectoryPath()},
        {"certInfoPath", paths.certInfoPath("<id>")},
        {"certDetailsPath", paths.certDetailsPath("<id>")},
        {"csrKeyPath", paths.csrKeyPath()},
        {"csrNetworkPath", paths.csrNetworkPath()},
    };
}

/// The paths that the document lists for the members in `column`.
Paths documented(std::size_t column)
{
    Paths paths;
    for (const Document::Row& row : support::readDocument("FILES.md").table("paths")) {
        if (!row[column].empty()) {
            paths[row[column]] = row[0];
        }
    }
    return paths;
}

TEST(FilesPaths, MatchTheAccessors)
{
    accessor_rows::configure("R", "D");
    EXPECT_EQ(pathsOf(ExternalCertificatesAccessor("S", "T")), documented(1));
    EXPECT_EQ(pathsOf(InternalCertificatesAccessor("S", "T")), documented(2));
}

} // namespace
