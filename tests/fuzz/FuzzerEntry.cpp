// The function that libFuzzer calls: hands the input to the one target of this program.

#include "FuzzInput.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    fuzz::targets().begin()->second(std::as_bytes(std::span(data, size)));
    return 0;
}
