#include "tools/InFlight.h"

#include "support/Textless.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

namespace
{

using support::Textless;
using support::thrownBy;

const ostrel::TierTexts texts = {"first: ", "second: ", "generic."};

struct TierRow {
    const char* sentence;
    void (*work)();
    const char* expected;
};

TEST(OrRuntimeError, UsesTheTextOfEachTier)
{
    const TierRow rows[] = {
        {"the first type", [] { throw std::runtime_error("a"); }, "first: a"},
        {"a type derived from the first type", [] { throw std::range_error("b"); }, "first: b"},
        {"another standard exception", [] { throw std::logic_error("c"); }, "second: c"},
        {"no standard exception", [] { throw 1; }, "generic."},
        {"an empty text stays empty", [] { throw std::logic_error(""); }, "second: "},
        {"the first type without a text", [] { throw Textless<std::runtime_error>("unused"); },
         "first: Unknown error"},
        {"a standard exception without a text", [] { throw Textless<>(); },
         "second: Unknown error"},
    };
    for (const TierRow& row : rows) {
        EXPECT_EQ(thrownBy([&] { ostrel::orRuntimeError<std::runtime_error>(texts, row.work); }),
                  std::string("std::runtime_error: ") + row.expected)
            << row.sentence;
    }
}

TEST(OrRuntimeError, CatchesTheTwoTypesThatTheCallerNames)
{
    const TierRow rows[] = {
        {"the first type", [] { throw std::invalid_argument("a"); }, "first: a"},
        {"the second type", [] { throw std::out_of_range("b"); }, "second: b"},
        {"any other type", [] { throw std::runtime_error("c"); }, "generic."},
    };
    for (const TierRow& row : rows) {
        EXPECT_EQ(thrownBy([&] {
                      ostrel::orRuntimeError<std::invalid_argument, std::out_of_range>(texts,
                                                                                       row.work);
                  }),
                  std::string("std::runtime_error: ") + row.expected)
            << row.sentence;
    }
}

TEST(OrRuntimeError, ReturnsTheResultOfTheWork)
{
    EXPECT_EQ(ostrel::orRuntimeError<std::runtime_error>(texts, [] { return 7; }), 7);
    bool isDone = false;
    ostrel::orRuntimeError<std::runtime_error>(texts, [&] { isDone = true; });
    EXPECT_TRUE(isDone);
}

TEST(DescribeInFlight, DoesNotConsumeTheException)
{
    try {
        throw std::out_of_range("a");
    } catch (const std::exception& caught) {
        EXPECT_EQ(ostrel::describeInFlight<std::logic_error>(texts), "first: a");
        EXPECT_STREQ(caught.what(), "a");
    }
}

} // namespace
