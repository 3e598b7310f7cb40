// An engine module for another version of the interface.
#include "camera/kit/EngineModule.h"

extern "C" __attribute__((visibility("default")))
const DetectionEngineModule detectionEngineModule = {DetectionEngineModule::kVersion + 1, 0, 0, 0, nullptr, nullptr};
