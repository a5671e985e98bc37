#include "protocol/Reply.h"

#include <ostrelApi/CallError.h>

#include "support/CapturedErrors.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

namespace
{

using ostrelApi::OstrelApiException;
using ostrelApi::payloadOf;

struct PayloadRow {
    const char* sentence;
    std::string reply;
    std::string expected;
};

const PayloadRow goodReplies[] = {
    {"a code, a blank and a payload", "0 payload", "payload"},
    {"an empty payload", "0 ", ""},
    {"without a blank, the whole reply", "0", "0"},
    {"a payload with blanks", "0 a b  c ", "a b  c "},
    {"a payload that starts with a blank", "0  a", " a"},
    {"a payload of blanks", "0   ", "  "},
    {"a payload of several lines", "0 a\nb\n", "a\nb\n"},
    {"a payload that looks like another reply", "0 1 Action Failed", "1 Action Failed"},
    {"a payload with a NUL", std::string("0 a\0b", 5), std::string("a\0b", 3)},
    {"several zeros", "000 a", "a"},
    {"a plus sign", "+0 a", "a"},
    {"a minus sign", "-0 a", "a"},
    {"a tab before the code", "\t0 a", "a"},
    {"line ends before the code", "\r\n\v\f0 a", "a"},
    {"letters after the code", "0abc a", "a"},
    {"a hexadecimal code is read up to its x", "0x10 a", "a"},
    {"a decimal fraction is read up to its point", "0.9 a", "a"},
    {"a line feed instead of the blank", "0\na", "0\na"},
    {"a line feed before the first blank", "0\na b", "b"},
};

TEST(PayloadOf, ReturnsTheTextAfterTheFirstBlankOfASuccess)
{
    const support::CapturedTrace trace;
    for (const PayloadRow& row : goodReplies) {
        EXPECT_EQ(payloadOf(row.reply), row.expected) << row.sentence;
    }
    EXPECT_EQ(trace.text(), "");
}

struct ReasonRow {
    const char* sentence;
    std::string reply;
    int daemonReturnCode;
    std::string reason;
};

TEST(PayloadOf, ThrowsTheDaemonsReturnCodeAndReason)
{
    const std::string notUnderstood = "the daemon's reply does not start with a return code: ";
    const ReasonRow rows[] = {
        {"a refusal", "33 already there", 33, "already there"},
        {"a refusal without a reason", "33 ", 33, ""},
        {"a refusal without a blank", "33", 33, ""},
        {"a reason of two lines", "1 a\nb", 1, "a b"},
        {"no reply", "", 0, "the daemon closed the reply FIFO without a reply"},
        {"a blank before the code", " 33 a", 0, notUnderstood + " 33 a"},
        {"a word before the code", "no 33", 0, notUnderstood + "no 33"},
    };
    for (const ReasonRow& row : rows) {
        const ostrelApi::CallError error = support::callErrorOf([&] { payloadOf(row.reply); });
        EXPECT_EQ(error.getDaemonReturnCode(), row.daemonReturnCode) << row.sentence;
        EXPECT_EQ(error.getReason(), row.reason) << row.sentence;
    }
}

struct FailureRow {
    const char* sentence;
    std::string reply;
    int returnCode;
    std::string trace;
};

const std::string refused = "Action failed while sending command to server.\n";
const std::string noNumber = "Standard logic error caught while sending command to server: stoi\n";
const std::string leadingBlank = "Standard exception caught while sending command to server: "
                                 "Error -1: Generic exception (1 - Action Failed)\n";

const FailureRow badReplies[] = {
    {"a code with a text", "7 This target doesn't exist", 7, refused},
    {"a code with an empty payload", "33 ", 33, refused},
    {"only a code", "1", 1, refused},
    {"a code before a line feed", "2\n", 2, refused},
    {"a code unknown to the library", "99 a", 99, refused},
    {"a negative code", "-5 a", -5, refused},
    {"zeros before a code", "007 a", 7, refused},
    {"a sign before a code", "+11 a", 11, refused},
    {"letters after a code", "12abc a", 12, refused},
    {"the greatest code", "2147483647 a", 2147483647, refused},
    {"the least code", "-2147483648 a", -2147483647 - 1, refused},
    {"one above the greatest", "2147483648 a", 1, noNumber},
    {"one below the least", "-2147483649 a", 1, noNumber},
    {"twenty digits", "99999999999999999999", 1, noNumber},
    {"an empty reply", "", 1, noNumber},
    {"no number", "abc", 1, noNumber},
    {"no number, a blank and a payload", "abc 0", 1, noNumber},
    {"only a sign", "- 0", 1, noNumber},
    {"a sign separated from its number", "+\t0 a", 1, noNumber},
    {"only a line feed", "\n", 1, noNumber},
    {"a tab and a blank", "\t 0", 1, noNumber},
    {"a NUL before the code",
     std::string("\0"
                 "0 a",
                 4),
     1, noNumber},
    {"only a blank", " ", 1, leadingBlank},
    {"a blank before a success", " 0 a", 1, leadingBlank},
    {"a blank before a failure", " 7 a", 1, leadingBlank},
    {"a blank before a word", " abc", 1, leadingBlank},
};

TEST(PayloadOf, ThrowsTheReturnCodeOfAFailureAndOneForAMalformedReply)
{
    for (const FailureRow& row : badReplies) {
        SCOPED_TRACE(row.sentence);
        const support::CapturedTrace trace;
        try {
            payloadOf(row.reply);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const OstrelApiException& caught) {
            EXPECT_EQ(caught.getErrorMessage(),
                      OstrelApiException(row.returnCode).getErrorMessage());
            EXPECT_EQ(caught.getErrorId(), OstrelApiException(row.returnCode).getErrorId());
        }
        EXPECT_EQ(trace.text(), row.trace);
    }
}

TEST(PayloadOf, IncludesTheTextOfTheReturnCodeInTheMessage)
{
    try {
        payloadOf("7 any text");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const OstrelApiException& caught) {
        EXPECT_STREQ(caught.what(), "Error -1: Generic exception (7 - This target doesn't exist "
                                    "for this service)");
    }
}

TEST(PayloadOf, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    for (const FailureRow& row : badReplies) {
        EXPECT_THROW(payloadOf(row.reply), OstrelApiException) << row.sentence;
    }
    EXPECT_EQ(errors.text(), "");
}

TEST(PayloadOf, ReadsEveryPrefixOfAReplyByTheSameRules)
{
    const std::string reply = "0 payload";
    EXPECT_THROW(payloadOf(""), OstrelApiException);
    EXPECT_EQ(payloadOf("0"), "0");
    for (std::size_t length = 2; length <= reply.size(); ++length) {
        EXPECT_EQ(payloadOf(reply.substr(0, length)), reply.substr(2, length - 2)) << length;
    }
}

} // namespace
