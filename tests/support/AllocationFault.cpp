#include "support/AllocationFault.h"

#include "support/Thrown.h"

#include <new>
#include <stdexcept>

namespace support
{

namespace
{

/// Arms a fault while the object lives.
class ArmedFault
{
public:
    ArmedFault(std::size_t passing, Failure failure, bool& wasReached) : m_wasReached(wasReached)
    {
        armAllocationFault(passing, failure);
    }
    ~ArmedFault() { m_wasReached = disarmAllocationFault(); }
    ArmedFault(const ArmedFault&) = delete;
    ArmedFault& operator=(const ArmedFault&) = delete;

private:
    bool& m_wasReached;
};

} // namespace

void failAsOutOfMemory()
{
    throw std::bad_alloc();
}

void failWithRuntimeError()
{
    throw std::runtime_error("injected");
}

void failWithNonStandardException()
{
    throw 1;
}

std::set<std::string> thrownWithoutMemory(const std::function<void()>& work, Failure failure)
{
    std::set<std::string> thrown;
    for (std::size_t passing = 0;; ++passing) {
        bool wasReached = false;
        const std::string text = thrownBy([&] {
            const ArmedFault fault(passing, failure, wasReached);
            work();
        });
        if (!wasReached) {
            return thrown;
        }
        thrown.insert(text);
    }
}

} // namespace support
