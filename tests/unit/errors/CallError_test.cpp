#include <ostrelApi/CallError.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using ostrelApi::CallError;
using ostrelApi::OstrelApiException;

static_assert(std::is_base_of<OstrelApiException, CallError>::value, "caught as the fixed type");

TEST(CallError, ReturnsItsReturnCodeTheDaemonsReturnCodeAndTheReason)
{
    const CallError error(1, "already there", 33, 13);
    EXPECT_EQ(error.getReturnCode(), 1);
    EXPECT_EQ(error.getDaemonReturnCode(), 33);
    EXPECT_EQ(error.getReason(), "already there");
    EXPECT_EQ(error.getSystemError(), 13);
}

TEST(CallError, ReturnsZeroForADaemonThatDidNotReply)
{
    EXPECT_EQ(CallError(11, "no daemon").getDaemonReturnCode(), 0);
}

TEST(CallError, HasOnlyTheMessageAndTheCategoryOfItsReturnCode)
{
    const CallError error(1, "already there", 33);
    EXPECT_STREQ(error.what(), OstrelApiException(1).what());
    EXPECT_EQ(error.getErrorMessage(), OstrelApiException(1).getErrorMessage());
    EXPECT_EQ(error.getErrorId(), OstrelApiException::GenericException);
}

TEST(CallError, CanBeCopied)
{
    const CallError copy = [] { return CallError(CallError(7, "no store", 7)); }();
    EXPECT_EQ(copy.getReturnCode(), 7);
    EXPECT_EQ(copy.getDaemonReturnCode(), 7);
    EXPECT_EQ(copy.getReason(), "no store");
}

} // namespace
