#include "store/ServerStore.h"
#include "support/Device.h"
#include "support/TextFiles.h"
#include "x509/Identity.h"
#include "x509/RequestProfile.h"

#include <ostrel/DaemonConfiguration.h>

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>

#include <unistd.h>

namespace
{

constexpr std::int64_t day = 86400;

TEST(SelfSignedDue, IsACertificateThatIsNotYetOrNotMuchLongerValid)
{
    const support::Device device;
    support::writeText("/etc/ostrel/web.cnf", "[ req ]\nec_paramgen_curve = P-256\n");
    device.addService("web", "server yes\ncnfFile /etc/ostrel/web.cnf\n"
                             "selfSignedOnExpiration yes\nselfSignedValidity 30\n"
                             "selfSignedValidityOffset 10\n");
    std::filesystem::create_directories(ostrel::DaemonConfiguration::getOstrelDirectory() + "/web");
    const ostrel::ServiceConfiguration service("web");
    ostreld::ServerStore store(service, ::getegid());
    store.rebuild();
    const ostreld::Identity made =
        ostreld::makeSelfSigned(service, ostreld::configurationFileText(service), 30);
    store.putInUse(ostreld::Certificate(made.pem), made.key.view(), made.network);
    const std::int64_t now = std::time(nullptr);
    const struct {
        const char* sentence;
        std::int64_t now;
        bool isDue;
    } rows[] = {
        {"just made", now, false},
        {"the clock went back by a day", now - day, true},
        {"before the offset", now + 19 * day, false},
        {"within the offset", now + 20 * day, true},
        {"expired", now + 31 * day, true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(store.isSelfSignedDue(row.now), row.isDue) << row.sentence;
    }
}

} // namespace
