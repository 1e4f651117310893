#include "Allocations.h"

#include <cstdlib>
#include <new>

static thread_local long allocations = 0;

long allocationsOfThread()
{
    return allocations;
}

void *operator new(std::size_t size)
{
    ++allocations;
    if (void *memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}
