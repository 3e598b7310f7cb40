// Lists of rules and modules that are created, modified and deleted while the camera moves and the store fails.

#include "support/Session.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Session::play(data, size);
    return 0;
}
