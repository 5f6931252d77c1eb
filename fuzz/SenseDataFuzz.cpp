// SPDX-License-Identifier: GPL-2.0-or-later
// Any bytes as sense data: what is read lies in them, and the registers come only with room for them.
#include "machines/linux/channels/SenseData.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto sense = vantorel::channels::readSense({data, size});
    constexpr std::size_t shortestWithRegisters = 14; // of the fixed form
    const bool isSound = !sense || (sense->key <= 0x0F && (!sense->registers || size >= shortestWithRegisters));
    if (!isSound)
        std::abort();
    return 0;
}
