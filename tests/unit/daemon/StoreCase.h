#pragma once

// Shared by the tests of the daemon's stores without a daemon.

#include "integration/StoreOnDisk.h"
#include "support/Accounts.h"
#include "support/AllocationFault.h"
#include "support/Device.h"
#include "support/TestCertificate.h"

#include <ostrel/ServiceConfiguration.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include <unistd.h>

namespace store_case
{

/// Calls `change` until none of its allocations fails, each time with another one
/// that does. `check` gets whether the change was made.
inline void withoutMemory(const std::function<void()>& change,
                          const std::function<void(bool isMade)>& check)
{
    bool hasFailed = true;
    for (std::size_t passing = 0; hasFailed; ++passing) {
        SCOPED_TRACE(passing);
        bool isMade = true;
        support::armAllocationFault(passing, support::failAsOutOfMemory);
        try {
            change();
        } catch (const std::exception&) {
            isMade = false;
        }
        hasFailed = support::disarmAllocationFault();
        check(isMade);
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

/// The directories of the service "web", without files.
class WithStores : public testing::Test
{
protected:
    WithStores()
    {
        support::Accounts::addGroup("ostrel:x:" + std::to_string(::getegid()) + ":");
        support::writeText("/etc/ostrel/web.cnf", "[ req ]\nec_paramgen_curve = P-256\n"
                                                  "distinguished_name = name\nprompt = no\n"
                                                  "[ name ]\nCN = web.example\n");
        device.addService("web", "managmentGroup ostrel\nca yes\nserver yes\n"
                                 "cnfFile /etc/ostrel/web.cnf\n");
        std::filesystem::create_directories(device.storeDirectory() + "/web");
        configuration = std::make_unique<ostrel::ServiceConfiguration>("web");
    }

    const support::Accounts accounts;
    const support::Device device;
    std::unique_ptr<ostrel::ServiceConfiguration> configuration;
};

} // namespace store_case
