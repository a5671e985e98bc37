// What each operation that sends a command throws for each return code of the
// daemon.

#include "unit/api/StockedService.h"

namespace
{

using service_case::Does;
using service_case::Operation;
using service_case::OstrelService;
using service_case::StockedService;
using support::apiError;
using support::thrownBy;

constexpr int lastReturnCode = 43;

class ReturnCodes : public StockedService, public testing::WithParamInterface<Operation>
{
protected:
    /// An import throws 1 for every failure; the other operations throw the
    /// daemon's code.
    static std::string expectedFor(int code)
    {
        if (code == 0) {
            return "nothing";
        }
        return apiError(GetParam().does == Does::Import ? 1 : code);
    }

    OstrelService web{"web"};
    support::ScriptedPeer peer{device, "web"};
};

TEST_P(ReturnCodes, ReachTheCallerByTheRuleOfTheOperation)
{
    const std::string argument = argumentOf(GetParam());
    const std::set<std::string> filesBefore = pipeFiles();
    for (int code = 0; code <= lastReturnCode; ++code) {
        // The revocation of one certificate expects its id in the payload.
        peer.answer(std::to_string(code) + " 1");
        EXPECT_EQ(thrownBy([&] { GetParam().call(web, argument); }), expectedFor(code)) << code;
    }
    EXPECT_EQ(peer.messages().size(), static_cast<std::size_t>(lastReturnCode) + 1);
    EXPECT_EQ(pipeFiles(), filesBefore);
}

bool sendsACommand(const Operation& operation)
{
    return operation.does == Does::Request || operation.does == Does::Import;
}

std::string testNameOf(const testing::TestParamInfo<Operation>& info)
{
    const std::string name = info.param.name;
    const std::size_t bracket = name.find('(');
    return bracket == std::string::npos ? name
                                        : name.substr(0, bracket) + "_of_" +
                                              name.substr(bracket + 1, name.size() - bracket - 2);
}

INSTANTIATE_TEST_SUITE_P(Of, ReturnCodes,
                         testing::ValuesIn(service_case::operationsThat(sendsACommand)),
                         testNameOf);

} // namespace
