#include "errors/Fail.h"

#include <ostrelApi/CallError.h>

#include "errors/Explained.h"
#include "support/Textless.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

namespace
{

using ostrelApi::CallError;
using support::callErrorOf;

CallError insteadOf(const std::function<void()>& failure)
{
    return callErrorOf([&] {
        try {
            failure();
        } catch (...) {
            ostrelApi::failInstead();
        }
    });
}

TEST(Fail, ThrowsACallErrorWithItsArguments)
{
    const CallError error = callErrorOf([] { ostrelApi::fail(30, "no such CA", 30); });
    EXPECT_EQ(error.getReturnCode(), 30);
    EXPECT_EQ(error.getReason(), "no such CA");
    EXPECT_EQ(error.getDaemonReturnCode(), 30);
}

TEST(Fail, NamesTheStepThePathAndTheTextOfErrno)
{
    const CallError error =
        callErrorOf([] { ostrelApi::fail(11, "cannot open", "/x.lock", ENOENT); });
    EXPECT_EQ(error.getReason(), "cannot open /x.lock: No such file or directory");
    EXPECT_EQ(error.getSystemError(), ENOENT);
}

struct ReasonRow {
    const char* sentence;
    std::string words;
    std::string expected;
};

TEST(Fail, KeepsTheReasonOnOneLine)
{
    const ReasonRow rows[] = {
        {"no words", "", ""},
        {"two lines", "a\nb\r\n", "a b  "},
        {"an escape character", "\x1b[2Ja\x7f", " [2Ja "},
        {"a NUL", std::string("a\0b", 3), "a b"},
        {"UTF-8 stays", "schl\xc3\xbcssel", "schl\xc3\xbcssel"},
        {"the longest reason", std::string(8192, 'x'), std::string(8192, 'x')},
        {"one character more is cut off", std::string(8193, 'x'), std::string(8192, 'x')},
    };
    for (const ReasonRow& row : rows) {
        const CallError error = callErrorOf([&] { ostrelApi::fail(1, row.words); });
        EXPECT_EQ(error.getReason(), row.expected) << row.sentence;
    }
}

struct InFlightRow {
    const char* sentence;
    std::function<void()> failure;
    const char* reason;
    int daemonReturnCode;
};

TEST(FailInstead, ThrowsReturnCode1AndKeepsTheReason)
{
    const InFlightRow rows[] = {
        {"a CallError", [] { throw CallError(33, "already there", 33); }, "already there", 33},
        {"an explained failure", [] { throw ostrelApi::Explained("fixed text", {"why"}); }, "why",
         0},
        {"any standard exception", [] { throw std::runtime_error("a text"); }, "a text", 0},
        {"an application's own OstrelApiException", [] { throw ostrelApi::OstrelApiException(21); },
         "Error 4: No CSR pending (21 - The CSR doesn't exist)", 0},
        {"a standard exception without a text", [] { throw support::Textless(); }, "Unknown error",
         0},
        {"any other type", [] { throw 1; }, "", 0},
    };
    for (const InFlightRow& row : rows) {
        const CallError error = insteadOf(row.failure);
        EXPECT_EQ(error.getReturnCode(), 1) << row.sentence;
        EXPECT_EQ(error.getReason(), row.reason) << row.sentence;
        EXPECT_EQ(error.getDaemonReturnCode(), row.daemonReturnCode) << row.sentence;
    }
}

TEST(GroupReason, NamesTheGroupTheFileAndTheCause)
{
    EXPECT_EQ(ostrelApi::groupReasonOf("/x", "root", EPERM).text,
              "cannot give to the group 'root' the file /x: Operation not permitted");
    EXPECT_EQ(ostrelApi::groupReasonOf("/x", "no such", 0).text,
              "cannot give to the group 'no such' the file /x: no such group");
}

} // namespace
