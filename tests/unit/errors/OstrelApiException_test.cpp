#include <ostrelApi/OstrelApiException.h>

#include "support/CapturedErrors.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <memory>
#include <type_traits>
#include <vector>

namespace
{

using ostrelApi::OstrelApiException;

static_assert(std::is_base_of<std::exception, OstrelApiException>::value,
              "caught like any standard exception");
static_assert(std::has_virtual_destructor<OstrelApiException>::value, "deleted through its base");
static_assert(
    std::is_same<std::underlying_type<OstrelApiException::ErrorId>::type, std::int32_t>::value,
    "an ErrorId is a signed 32-bit number");
static_assert(noexcept(std::declval<const OstrelApiException&>().what()), "what() throws nothing");

// Exactly the two members of the contract, in their order.
struct TwoMembers : std::exception {
    std::int32_t errorId;
    std::string message;
};
static_assert(sizeof(OstrelApiException) == sizeof(TwoMembers), "has no third member");

// Intended: neither constructor is explicit.
static_assert(std::is_convertible<int, OstrelApiException>::value, "a return code converts");
static_assert(std::is_convertible<OstrelApiException::ErrorId, OstrelApiException>::value,
              "a category converts");

const std::map<int, std::string> errorIds = {
    {-1, "Generic exception"},
    {0, "Too many certificates"},
    {1, "Invalid file format"},
    {2, "Not a certificate"},
    {3, "Not a certificate authority"},
    {4, "No CSR pending"},
    {5, "CSR mismatch"},
    {6, "Already present"},
    {7, "Operation forbidden"},
};

const std::map<int, std::string> returnCodes = {
    {0, "Action Successfull"},
    {1, "Action Failed"},
    {2, "Api is locked"},
    {3, "Access denied"},
    {4, "Bad command"},
    {5, "Command unexpected ending"},
    {6, "Bad service Id"},
    {7, "This target doesn't exist for this service"},
    {8, "Bad configuration"},
    {9, "Bad certificate format"},
    {10, "Daemon terminate"},
    {11, "Daemon is off"},
    {12, "Daemon error"},
    {13, "Daemon is already running"},
    {14, "Error during external command execution"},
    {15, "Error during start of handler"},
    {16, "Error during start of timer"},
    {20, "The server certificate doesn't exist"},
    {21, "The CSR doesn't exist"},
    {22, "The private key doesn't exist"},
    {23, "CSR not goof"},
    {24, "Error during key generation"},
    {25, "CNF not good"},
    {26, "Certificate and CSR are not matching"},
    {27, "Error during certificate signature"},
    {28, "Error during CSR generation"},
    {30, "Bad CA"},
    {31, "Error adding CA"},
    {32, "Too many CA"},
    {33, "The certificate authority already exist"},
    {40, "Bad certificate for trusted client"},
    {41, "Error adding certificate for trusted client"},
    {42, "Too many certificate for trusted client"},
    {43, "The trusted client certificate already exist"},
};

const std::map<int, int> idsOfReturnCodes = {
    {3, 7}, {9, 1}, {21, 4}, {26, 5}, {32, 0}, {33, 6}, {42, 0}, {43, 6},
};

/// Every number in and next to the tables, and the extreme ones.
std::vector<int> numbers()
{
    std::vector<int> result = {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX, 256, 65536 + 7};
    for (int number = -300; number <= 300; ++number) {
        result.push_back(number);
    }
    return result;
}

template <class Value>
Value valueOr(const std::map<int, Value>& table, int key, const Value& otherwise)
{
    const auto found = table.find(key);
    return found != table.end() ? found->second : otherwise;
}

const std::string unknown = "Unknown";

TEST(ErrorIdToString, NamesNineCategoriesAndCallsTheRestUnknown)
{
    for (const int id : numbers()) {
        EXPECT_EQ(ostrelApi::errorIdToString(id), valueOr(errorIds, id, unknown)) << id;
    }
}

TEST(GlobalOstrelMessage, NamesTheDaemonsReturnCodesAndCallsTheRestUnknown)
{
    for (const int code : numbers()) {
        EXPECT_EQ(ostrelApi::globalOstrelMessage(code), valueOr(returnCodes, code, unknown))
            << code;
    }
}

TEST(ReturnCodeToErrorId, MapsEightReturnCodesAndCallsTheRestGeneric)
{
    const OstrelApiException any(OstrelApiException::AlreadyPresent);
    for (const int code : numbers()) {
        EXPECT_EQ(any.returnCodeToErrorId(code), valueOr(idsOfReturnCodes, code, -1)) << code;
    }
}

TEST(OstrelApiException, ForACategoryContainsItsNumberAndText)
{
    for (const int number : numbers()) {
        const OstrelApiException exception(static_cast<OstrelApiException::ErrorId>(number));
        EXPECT_EQ(exception.getErrorId(), number);
        EXPECT_EQ(exception.getErrorMessage(),
                  "Error " + std::to_string(number) + ": " + valueOr(errorIds, number, unknown));
        EXPECT_EQ(exception.what(), exception.getErrorMessage());
    }
}

TEST(OstrelApiException, ForAReturnCodeAddsTheCodeAndItsText)
{
    for (const int code : numbers()) {
        const OstrelApiException exception(code);
        const int id = valueOr(idsOfReturnCodes, code, -1);
        EXPECT_EQ(exception.getErrorId(), id) << code;
        EXPECT_EQ(exception.getErrorMessage(),
                  "Error " + std::to_string(id) + ": " + errorIds.at(id) + " (" +
                      std::to_string(code) + " - " + valueOr(returnCodes, code, unknown) + ")");
        EXPECT_EQ(exception.what(), exception.getErrorMessage());
    }
}

struct MessageRow {
    const char* sentence;
    OstrelApiException exception;
    const char* expected;
};

TEST(OstrelApiException, HasTheFixedFormOfText)
{
    using Id = OstrelApiException::ErrorId;
    const MessageRow rows[] = {
        {"a category", OstrelApiException(OstrelApiException::AlreadyPresent),
         "Error 6: Already present"},
        {"the generic category", OstrelApiException(OstrelApiException::GenericException),
         "Error -1: Generic exception"},
        {"a category without a return code",
         OstrelApiException(OstrelApiException::NotACertificate), "Error 2: Not a certificate"},
        {"a number outside the categories", OstrelApiException(Id(9)), "Error 9: Unknown"},
        {"a return code with a category", OstrelApiException(33),
         "Error 6: Already present (33 - The certificate authority already exist)"},
        {"a return code without a category", OstrelApiException(7),
         "Error -1: Generic exception (7 - This target doesn't exist for this service)"},
        {"success used as an error", OstrelApiException(0),
         "Error -1: Generic exception (0 - Action Successfull)"},
        {"a code above the table", OstrelApiException(44),
         "Error -1: Generic exception (44 - Unknown)"},
        {"a negative code", OstrelApiException(-5), "Error -1: Generic exception (-5 - Unknown)"},
    };
    for (const MessageRow& row : rows) {
        EXPECT_STREQ(row.exception.what(), row.expected) << row.sentence;
    }
}

TEST(OstrelApiException, IsCaughtAsAStandardExceptionWithItsMessage)
{
    try {
        throw OstrelApiException(11);
    } catch (const std::exception& caught) {
        EXPECT_STREQ(caught.what(), "Error -1: Generic exception (11 - Daemon is off)");
    }
}

class Translated : public OstrelApiException
{
public:
    Translated() : OstrelApiException(2) {}
    const char* what() const noexcept override { return "verrouillé"; }
    std::string getErrorMessage() const override { return what(); }
};

TEST(OstrelApiException, LetsAnApplicationOverrideItsTexts)
{
    const Translated translated;
    const OstrelApiException& exception = translated;
    EXPECT_STREQ(exception.what(), "verrouillé");
    EXPECT_EQ(exception.getErrorMessage(), "verrouillé");
}

TEST(OstrelApiException, KeepsItsTextInACopyThatOutlivesIt)
{
    auto original = std::make_unique<OstrelApiException>(21);
    const OstrelApiException copy = *original;
    original.reset();
    EXPECT_STREQ(copy.what(), "Error 4: No CSR pending (21 - The CSR doesn't exist)");
    EXPECT_EQ(copy.getErrorId(), OstrelApiException::NoCsrPending);
}

TEST(OstrelApiException, WritesNothingToAnyStream)
{
    const support::CapturedTrace trace;
    testing::internal::CaptureStdout();
    const OstrelApiException exception(3);
    ostrelApi::globalOstrelMessage(99);
    EXPECT_EQ(trace.text(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

} // namespace
