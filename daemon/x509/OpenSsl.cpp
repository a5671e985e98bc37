#include "x509/OpenSsl.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace ostreld
{

namespace
{

thread_local bool isMemoryMissing = false;

void* reallocate(void* memory, std::size_t size, const char* /*file*/, int /*line*/)
{
    if (size == 0) {
        std::free(memory);
        return nullptr;
    }
    void* const moved = std::realloc(memory, size);
    isMemoryMissing = isMemoryMissing || moved == nullptr;
    return moved;
}

void* allocate(std::size_t size, const char* file, int line)
{
    return reallocate(nullptr, size, file, line);
}

void release(void* memory, const char* /*file*/, int /*line*/)
{
    std::free(memory);
}

// OpenSSL accepts its allocation functions only before it allocates. Its queue of
// errors does not contain every failed allocation.
[[maybe_unused]] const int isInstalled = CRYPTO_set_mem_functions(allocate, reallocate, release);

} // namespace

void requireMemory()
{
    ERR_clear_error();
    if (std::exchange(isMemoryMissing, false)) {
        throw std::bad_alloc();
    }
}

BioPointer readerOf(std::string_view text)
{
    return withMemory([&] {
        return BioPointer(
            BIO_new_mem_buf(text.empty() ? "" : text.data(), static_cast<int>(text.size())));
    });
}

} // namespace ostreld
