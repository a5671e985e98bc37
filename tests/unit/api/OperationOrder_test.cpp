// Programs that were built against an earlier release call the virtual
// operations by their slots.

#include "unit/api/Operations.h"

#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using ostrelApi::OstrelApiException;
using ostrelApi::OstrelService;
using service_case::Operation;
using service_case::operations;
using support::noSlot;
using support::slotOf;

/// The destructor takes two slots: one destroys the object, the other also
/// frees it.
constexpr int destructorSlots = 2;

struct Ordered {
    virtual ~Ordered() = default;
    virtual void first() {}
    virtual void second() {}
    void notVirtual() {}
};

struct MoreOrdered : Ordered {
    void second() override {}
    virtual void third() {}
};

TEST(SlotOf, NumbersTheVirtualFunctionsAfterTheDestructor)
{
    EXPECT_EQ(slotOf(&Ordered::first), destructorSlots);
    EXPECT_EQ(slotOf(&Ordered::second), destructorSlots + 1);
    EXPECT_EQ(slotOf(&MoreOrdered::second), destructorSlots + 1);
    EXPECT_EQ(slotOf(&MoreOrdered::third), destructorSlots + 2);
    EXPECT_EQ(slotOf(&Ordered::notVirtual), noSlot);
}

constexpr int virtualOperations = 52;

TEST(OstrelService, KeepsItsVirtualOperationsInTheirSlots)
{
    int place = destructorSlots;
    for (int i = 0; i < virtualOperations; ++i) {
        const Operation& operation = operations().at(static_cast<std::size_t>(i));
        EXPECT_EQ(operation.slot, place++) << operation.name;
    }
}

TEST(OstrelService, HasNoOtherVirtualOperation)
{
    for (std::size_t i = virtualOperations; i < operations().size(); ++i) {
        EXPECT_EQ(operations()[i].slot, noSlot) << operations()[i].name;
    }
    struct Derived : OstrelService {
        using OstrelService::OstrelService;
        virtual void next() {}
    };
    EXPECT_EQ(slotOf(&Derived::next), destructorSlots + virtualOperations);
}

static_assert(std::has_virtual_destructor_v<OstrelService>);
static_assert(std::is_polymorphic_v<OstrelService>);
static_assert(sizeof(OstrelService) == 5 * sizeof(void*),
              "a pointer to the table and four owning pointers");

/// Static operations: their addresses are those of plain functions.
template <class Result, class... Arguments>
constexpr bool isStatic(Result (* /*function*/)(Arguments...))
{
    return true;
}
template <class Member>
constexpr bool isStatic(Member OstrelService::* /*member*/)
{
    return false;
}

static_assert(isStatic(&OstrelService::getServiceList));
static_assert(isStatic(&OstrelService::getHealthStatus));
static_assert(isStatic(&OstrelService::getOperatingStatus));
static_assert(isStatic(&OstrelService::sendNotification));
static_assert(isStatic(&OstrelService::notifyNetwork));
static_assert(isStatic(&OstrelService::notifyTime));
static_assert(isStatic(&OstrelService::getCertificateDetails));
static_assert(!isStatic(&OstrelService::getCADetails));
static_assert(!isStatic(&OstrelService::getServerActiveCertificateId));
static_assert(!isStatic(&OstrelService::getCertificate));
static_assert(!isStatic(&OstrelService::getList));
static_assert(!isStatic(&OstrelService::getListByCN));
static_assert(!isStatic(&OstrelService::addCertificate));
static_assert(!isStatic(&OstrelService::addCertificateFile));
static_assert(!isStatic(&OstrelService::sendCommandToServer));

static_assert(std::is_same_v<decltype(OstrelService::getHealthStatus()), int>);
static_assert(std::is_same_v<decltype(OstrelService::getOperatingStatus()), int>);

static_assert(std::is_base_of_v<std::exception, OstrelApiException>);
static_assert(std::is_convertible_v<OstrelApiException*, std::exception*>);
static_assert(std::has_virtual_destructor_v<OstrelApiException>);

TEST(OstrelApiException, KeepsItsVirtualOperationsInTheirSlots)
{
    struct Derived : OstrelApiException {
        using OstrelApiException::OstrelApiException;
        virtual void next() {}
    };
    int place = destructorSlots;
    EXPECT_EQ(slotOf(&OstrelApiException::what), place++);
    EXPECT_EQ(slotOf(&OstrelApiException::getErrorMessage), place++);
    EXPECT_EQ(slotOf(&Derived::next), place);
    EXPECT_EQ(slotOf(&OstrelApiException::getErrorId), noSlot);
    EXPECT_EQ(slotOf(&OstrelApiException::returnCodeToErrorId), noSlot);
}

} // namespace
