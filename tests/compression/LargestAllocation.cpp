// SPDX-License-Identifier: GPL-2.0-or-later
// In a file of its own, so that no compiler sees `new` become `malloc` where it is called.
#include "LargestAllocation.h"

#include <algorithm>
#include <cstdlib>
#include <new>

std::size_t vantorel::test::largestAllocation = 0;

void* operator new(std::size_t size)
{
    vantorel::test::largestAllocation = std::max(vantorel::test::largestAllocation, size);
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
