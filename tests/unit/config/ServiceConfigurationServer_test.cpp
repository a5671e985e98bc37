#include <ostrel/ServiceConfiguration.h>

#include "support/CapturedErrors.h"
#include "support/Thrown.h"
#include "unit/config/ServiceFile.h"

#include <gtest/gtest.h>

namespace
{

using ostrel::ServiceConfiguration;
using service_file::ServiceFile;
using support::thrownBy;

const std::string server = "server yes\ncnfFile /cnf\n";

// Intended: this text names the hook file "cnf File".
const std::string noCnfFile =
    "std::runtime_error: Invalid config parameter: cnf File or cnfFile must be defined";
const std::string selfSignedRange = "std::runtime_error: Invalid config parameter: selfsigned "
                                    "validity offset should be less than validity.";
// Intended: no full stop, unlike the self-signed text.
const std::string caSignedRange = "std::runtime_error: Invalid config parameter: CA-signed "
                                  "validity offset should be less than validity";

TEST(ServerSection, IsReadIntoItsMembers)
{
    const ServiceFile file;
    const ServiceConfiguration service = file.read("server yes\n"
                                                   "cnfFile /etc/web.cnf\n"
                                                   "cnfHookFile /etc/web.hook\n"
                                                   "selfSignedValidity 100\n"
                                                   "selfSignedValidityOffset 10\n"
                                                   "CAServiceId authority 7\n"
                                                   "CASignedValidity 200\n"
                                                   "CASignedValidityOffset 20\n");
    EXPECT_EQ(service.m_cnfFile, "/etc/web.cnf");
    EXPECT_EQ(service.m_cnfHookFile, "/etc/web.hook");
    EXPECT_EQ(service.m_selfSignedValidity, 100U);
    EXPECT_EQ(service.m_selfSignedValidityOffset, 10U);
    EXPECT_EQ(service.m_CAServiceId, "authority 7");
    EXPECT_EQ(service.m_CASignedValidity, 200U);
    EXPECT_EQ(service.m_CASignedValidityOffset, 20U);
}

TEST(ServerSection, HasAFlagForEachOfTheseKeys)
{
    const struct {
        const char* key;
        bool ServiceConfiguration::*flag;
    } rows[] = {
        {"selfSignedGeneration", &ServiceConfiguration::m_selfSignedGeneration},
        {"selfSignedOnExpiration", &ServiceConfiguration::m_selfSignedOnExpiration},
        {"CASignedGeneration", &ServiceConfiguration::m_CASignedGeneration},
        {"CASignedOnExpiration", &ServiceConfiguration::m_CASignedOnExpiration},
        {"networkInvalidRevokePKIcert", &ServiceConfiguration::m_networkInvalidRevokePKIcert},
        {"opensslEngine", &ServiceConfiguration::m_opensslEngine},
        {"includeFQDN", &ServiceConfiguration::m_includeFQDN},
    };
    const ServiceFile file;
    for (const auto& row : rows) {
        const ServiceConfiguration service = file.read(server + row.key + " yes\n");
        for (const auto& other : rows) {
            EXPECT_EQ(service.*other.flag, other.key == row.key)
                << other.key << " when only " << row.key << " is set";
        }
        EXPECT_FALSE(file.read(server + row.key + " Yes\n").*row.flag) << row.key;
    }
}

TEST(ServerSection, NeedsACnfFileOrAHookFile)
{
    const struct {
        const char* sentence;
        const char* text;
        std::string expected;
    } rows[] = {
        {"neither", "server yes\n", noCnfFile},
        {"both without a value", "server yes\ncnfFile\ncnfHookFile # x\n", noCnfFile},
        {"neither, before any number", "server yes\nselfSignedValidityOffset 99\n", noCnfFile},
        {"the file", "server yes\ncnfFile /cnf\n", "nothing"},
        {"the hook file", "server yes\ncnfHookFile /hook\n", "nothing"},
        {"neither, but the section is disabled", "server no\n", "nothing"},
        {"neither, but the section is missing", "ca yes\n", "nothing"},
    };
    const ServiceFile file;
    for (const auto& row : rows) {
        file.write(row.text);
        const support::CapturedTrace errors;
        EXPECT_EQ(thrownBy([] { ServiceConfiguration("web"); }), row.expected) << row.sentence;
        const std::string refusal = "Error: cnfHookFile or cnfFile must be defined\n";
        EXPECT_EQ(errors.text(), "value for CertDailyExpiryChkTimeOffsetSecs :0\n" +
                                     (row.expected == noCnfFile ? refusal : ""))
            << row.sentence;
    }
}

/// The two pairs of a validity and its offset.
struct Signer {
    const char* validityKey;
    const char* offsetKey;
    std::uint32_t ServiceConfiguration::*validity;
    std::uint32_t ServiceConfiguration::*offset;
    std::string rangeError;
};

const Signer signers[] = {
    {"selfSignedValidity", "selfSignedValidityOffset", &ServiceConfiguration::m_selfSignedValidity,
     &ServiceConfiguration::m_selfSignedValidityOffset, selfSignedRange},
    {"CASignedValidity", "CASignedValidityOffset", &ServiceConfiguration::m_CASignedValidity,
     &ServiceConfiguration::m_CASignedValidityOffset, caSignedRange},
};

std::string line(const char* key, const char* value)
{
    return value == nullptr ? "" : std::string(key) + ' ' + value + '\n';
}

struct ValidityRow {
    const char* sentence;
    const char* validity;
    const char* offset;
    std::uint32_t expectedValidity;
    std::uint32_t expectedOffset;
};

TEST(Validity, DefaultsToThirtyDaysWithoutAnOffset)
{
    const ValidityRow rows[] = {
        {"both absent", nullptr, nullptr, 30, 0},
        {"both present", "365", "30", 365, 30},
        {"a validity of one", "1", nullptr, 1, 0},
        {"a validity of zero", "0", nullptr, 30, 0},
        {"a negative validity", "-5", nullptr, 30, 0},
        {"a validity without digits", "abc", nullptr, 30, 0},
        {"a validity with trailing text", "90 days", nullptr, 90, 0},
        {"an offset just below the default validity", nullptr, "29", 30, 29},
        {"an offset just below the validity", "10", "9", 10, 9},
        {"an offset of zero", nullptr, "0", 30, 0},
        {"a negative offset", nullptr, "-5", 30, 0},
        {"an offset without digits", nullptr, "abc", 30, 0},
        {"the largest that fits", "4294967295", "4294967294", 4294967295U, 4294967294U},
        // Intended: only the low 32 bits of a 64-bit number are stored.
        {"one more than 32 bits", "4294967297", nullptr, 1, 0},
        {"a multiple of 32 bits", "4294967296", nullptr, 0, 0},
        {"more than 64 bits", "99999999999999999999", nullptr, 4294967295U, 0},
        {"less than 64 bits", "-99999999999999999999", nullptr, 30, 0},
        {"an offset of more than 32 bits", nullptr, "4294967298", 30, 2},
    };
    const ServiceFile file;
    for (const Signer& signer : signers) {
        for (const ValidityRow& row : rows) {
            SCOPED_TRACE(std::string(signer.validityKey) + ": " + row.sentence);
            const ServiceConfiguration service =
                file.read(server + line(signer.validityKey, row.validity) +
                          line(signer.offsetKey, row.offset));
            EXPECT_EQ(service.*signer.validity, row.expectedValidity);
            EXPECT_EQ(service.*signer.offset, row.expectedOffset);
        }
    }
}

TEST(Validity, RefusesAnOffsetThatIsNotSmaller)
{
    const ValidityRow rows[] = {
        {"the default validity", nullptr, "30", 0, 0},
        {"equal", "10", "10", 0, 0},
        {"larger", "10", "11", 0, 0},
        {"the largest", "10", "99999999999999999999", 0, 0},
        {"a validity whose low bits are zero", "4294967296", "0", 0, 0},
        {"a validity that falls back to the default", "-5", "31", 0, 0},
    };
    const ServiceFile file;
    for (const Signer& signer : signers) {
        for (const ValidityRow& row : rows) {
            file.write(server + line(signer.validityKey, row.validity) +
                       line(signer.offsetKey, row.offset));
            EXPECT_EQ(thrownBy([] { ServiceConfiguration("web"); }), signer.rangeError)
                << signer.validityKey << ": " << row.sentence;
        }
    }
}

TEST(ServerSection, ReportsTheFirstOfSeveralFaults)
{
    const std::string expiry = "CertDailyExpiryChkTimeOffsetSecs 86400\n";
    const std::string selfSigned = "selfSignedValidityOffset 30\n";
    const std::string caSigned = "CASignedValidityOffset 30\n";
    const ServiceFile file;
    const struct {
        std::string text;
        std::string expected;
    } rows[] = {
        {caSigned + selfSigned + "server yes\n" + expiry,
         "std::runtime_error: Invalid config parameter: certificate expiry check offset time "
         "should be greater than zero and less than seconds in one day."},
        {caSigned + selfSigned + "server yes\n", noCnfFile},
        {caSigned + selfSigned + server, selfSignedRange},
        {caSigned + server, caSignedRange},
    };
    for (const auto& row : rows) {
        file.write(row.text);
        EXPECT_EQ(thrownBy([] { ServiceConfiguration("web"); }), row.expected);
    }
}

} // namespace
