#include "support/FaultyAllocator.h"

#include <cstdlib>
#include <new>

// All forms of new and delete are replaced, so that any of them can free what another allocated.
// They live in a source of their own: a compiler that sees new and free() together warns of a
// mismatch.

namespace support
{

namespace
{

// The armed failure of this thread, and the number of allocations that pass before it.
thread_local Failure dueFailure = nullptr;
thread_local std::size_t passingAllocations = 0;

void* allocate(std::size_t size) noexcept
{
    return std::malloc(size != 0 ? size : 1);
}

void* allocateOrFail(std::size_t size)
{
    if (dueFailure != nullptr && passingAllocations-- == 0) {
        const Failure failure = dueFailure;
        dueFailure = nullptr;
        failure();
    }
    void* const memory = allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void armAllocationFault(std::size_t passing, Failure failure)
{
    passingAllocations = passing;
    dueFailure = failure;
}

bool disarmAllocationFault()
{
    const bool wasReached = dueFailure == nullptr;
    dueFailure = nullptr;
    return wasReached;
}

} // namespace support

void* operator new(std::size_t size)
{
    return support::allocateOrFail(size);
}

void* operator new[](std::size_t size)
{
    return support::allocateOrFail(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*noThrow*/) noexcept
{
    return support::allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*noThrow*/) noexcept
{
    return support::allocate(size);
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
