#include "support/SmallStack.h"

#include <stdexcept>

#include <pthread.h>

namespace support
{

namespace
{

constexpr std::size_t smallStack = 128 * 1024;

void* run(void* work)
{
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

} // namespace

void onSmallStack(const std::function<void()>& work)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, smallStack);
    pthread_t thread;
    const int error =
        ::pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work));
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::runtime_error("no thread");
    }
    ::pthread_join(thread, nullptr);
}

} // namespace support
