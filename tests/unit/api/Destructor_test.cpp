#include "unit/api/ServiceCase.h"

#include "support/AllocationFault.h"
#include "support/FileWatch.h"

#include <cstdlib>
#include <memory>
#include <new>

#include <sys/wait.h>
#include <unistd.h>

namespace
{

using service_case::OstrelService;

class Destructor : public testing::Test
{
protected:
    Destructor()
    {
        m_device.addService("web", "managmentGroup root\n");
        support::writeText(m_pipes + "/web.lock", "");
    }

    const support::Device m_device;
    const std::string m_pipes = m_device.pipesDirectory() + "/web";
};

std::unique_ptr<OstrelService> global;

// The daemon configuration, a static of the library, is constructed after `global`
// and so destroyed before it.
TEST_F(Destructor, OpensTheLockFileAfterTheDaemonsConfigurationIsDestroyed)
{
    const support::FileWatch watch({m_pipes});
    const pid_t child = ::fork();
    if (child == 0) {
        global = std::make_unique<OstrelService>("web");
        std::exit(EXIT_SUCCESS);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(watch.touched(), std::set<std::string>{"web.lock"});
}

TEST_F(Destructor, DoesNotEndTheProgramWithoutMemory)
{
    bool isReached = true;
    std::size_t passing = 0;
    for (; isReached; ++passing) {
        auto service = std::make_unique<OstrelService>("web");
        support::armAllocationFault(passing, support::failAsOutOfMemory);
        service.reset();
        isReached = support::disarmAllocationFault();
    }
    EXPECT_GT(passing, 1U) << "the destructor allocates";
}

} // namespace
