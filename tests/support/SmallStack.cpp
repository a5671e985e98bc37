#include "support/SmallStack.h"

#include <algorithm>
#include <stdexcept>

#include <pthread.h>
#include <sys/mman.h>

namespace support
{

namespace
{

#ifdef __SANITIZE_THREAD__
// The thread sanitizer keeps its own data of a thread on this stack, too.
constexpr std::size_t smallStack = (128 + 1024) * 1024;
#else
constexpr std::size_t smallStack = 128 * 1024;
#endif
constexpr std::size_t guard = 64 * 1024;
constexpr unsigned char unused = 0xA5;

/// The memory of a stack, filled with a pattern that shows the used part, above
/// a guard page.
class Stack
{
public:
    Stack()
        : m_memory(::mmap(nullptr, guard + smallStack, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (m_memory == MAP_FAILED || ::mprotect(m_memory, guard, PROT_NONE) != 0) {
            throw std::runtime_error("no memory for a stack");
        }
        std::fill_n(bottom(), smallStack, unused);
    }
    ~Stack() { ::munmap(m_memory, guard + smallStack); }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    unsigned char* bottom() const { return static_cast<unsigned char*>(m_memory) + guard; }

    std::size_t used() const
    {
        const unsigned char* const end = bottom() + smallStack;
        const unsigned char* const deepest =
            std::find_if(static_cast<const unsigned char*>(bottom()), end,
                         [](unsigned char byte) { return byte != unused; });
        return static_cast<std::size_t>(end - deepest);
    }

private:
    void* const m_memory;
};

void* run(void* work)
{
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

} // namespace

std::size_t onSmallStack(const std::function<void()>& work)
{
    const Stack stack;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack.bottom(), smallStack);
    pthread_t thread;
    const int error =
        ::pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work));
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        throw std::runtime_error("no thread");
    }
    ::pthread_join(thread, nullptr);
    return stack.used();
}

} // namespace support
