// Whole configuration documents, one after another: each record is one.

#include "kit/QuietPlatform.h"
#include "support/Device.h"
#include "support/Records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kit::resetQuietly();
    fuzz::Device device;
    for (const std::string& record : fuzz::splitRecords(data, size)) {
        device.setConfiguration(record);
    }
    device.askEverything();
    device.restart();
    device.askEverything();
    return 0;
}
