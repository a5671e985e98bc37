#include "unit/api/ServiceCase.h"

#include "support/CapturedErrors.h"
#include "support/FailingOpen.h"
#include "support/Textless.h"

namespace
{

using service_case::externalStores;
using service_case::testNameOf;
using support::apiError;
using support::thrownBy;

class UnwritableLookUp : public service_case::ExternalStoreCase
{
};

INSTANTIATE_TEST_SUITE_P(Of, UnwritableLookUp, testing::ValuesIn(externalStores), testNameOf);

struct FailureRow {
    const char* sentence;
    void (*fail)();
    bool isFileLeft;
    /// What the traced line contains after the tier and the certificate's word.
    std::string traced;
    const char* reason;
};

// Intended: the file is removed only after a standard exception.
const FailureRow rows[] = {
    {"a standard exception", [] { throw std::out_of_range("why"); }, false, ": why\n", "why"},
    {"a standard exception without a text", [] { throw support::Textless<>(); }, false,
     ": Unknown error\n", "Unknown error"},
    {"any other type", [] { throw 1; }, true, ".\n", ""},
};

std::string tierOf(const FailureRow& row)
{
    return row.isFileLeft ? "Generic" : "Standard";
}

TEST_P(UnwritableLookUp, ThrowsReturnCode1AndRemovesItsFileAfterAStandardException)
{
    for (const FailureRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        const support::CapturedTrace trace;
        const support::FailingOpen failure(".crt", row.fail);
        EXPECT_EQ(thrownBy([&] { store.idOfText(web, "text"); }), apiError(1));
        EXPECT_EQ(std::filesystem::exists(failure.path()), row.isFileLeft);
        EXPECT_EQ(trace.text(), tierOf(row) + " exception caught while getting Id for " +
                                    store.certificate + row.traced);
        std::filesystem::remove(failure.path());
    }
}

TEST_P(UnwritableLookUp, TracesAFileThatItCannotRemove)
{
    const support::CapturedTrace trace;
    const support::FailingOpen failure(".crt", rows[0].fail, support::FailingOpen::LeaveNoFile);
    EXPECT_EQ(thrownBy([&] { store.idOfText(web, "text"); }), apiError(1));
    EXPECT_EQ(trace.text(), "Failed to remove file '" + failure.path() +
                                "'.why\nStandard exception caught while getting Id for " +
                                store.certificate + ": why\n");
}

TEST_P(UnwritableLookUp, ReportsTheTextOfTheExceptionAsTheReason)
{
    for (const FailureRow& row : rows) {
        const support::FailingOpen failure(".crt", row.fail);
        EXPECT_EQ(support::callErrorOf([&] { store.idOfText(web, "text"); }).getReason(),
                  row.reason)
            << row.sentence;
    }
}

} // namespace
