#include "support/AllocationFault.h"

#include "support/Thrown.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

namespace support
{

namespace
{

// Of this thread: the failure that is due, and the allocations that pass before it.
thread_local Failure dueFailure = nullptr;
thread_local std::size_t passing = 0;

void failWhenDue()
{
    if (dueFailure != nullptr && passing-- == 0) {
        const Failure failure = dueFailure;
        dueFailure = nullptr;
        failure();
    }
}

void* allocate(std::size_t size)
{
    failWhenDue();
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

/// A failure that is due while the object lives, and no longer.
class ArmedFault
{
public:
    ArmedFault(std::size_t number, Failure failure, bool& wasReached) : m_wasReached(wasReached)
    {
        passing = number;
        dueFailure = failure;
    }
    ~ArmedFault()
    {
        m_wasReached = dueFailure == nullptr;
        dueFailure = nullptr;
    }
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

void failWithAStranger()
{
    throw 1;
}

std::set<std::string> thrownWithoutMemory(const std::function<void()>& work, Failure failure)
{
    std::set<std::string> thrown;
    for (std::size_t number = 0;; ++number) {
        bool wasReached = false;
        const std::string text = thrownBy([&] {
            const ArmedFault fault(number, failure, wasReached);
            work();
        });
        if (!wasReached) {
            return thrown;
        }
        thrown.insert(text);
    }
}

} // namespace support

// The whole family, so that what one of them allocates any of them frees.

void* operator new(std::size_t size)
{
    return support::allocate(size);
}

void* operator new[](std::size_t size)
{
    return support::allocate(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*noThrow*/) noexcept
{
    return std::malloc(size != 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*noThrow*/) noexcept
{
    return std::malloc(size != 0 ? size : 1);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
