#include "camera/engines/MotionEngine.h"

#include "camera/engines/EngineNames.h"
#include "camera/engines/MotionRegions.h"

namespace camera::engines {

MotionEngine::MotionEngine(void* logContext) : ReferenceEngine(logContext, kMotionRegionTypes)
{
}

std::vector<std::string> MotionEngine::getEventTopics()
{
    return {kMotionTopic};
}

std::unique_ptr<RuleProgram> MotionEngine::compile(const Components& components)
{
    return std::make_unique<MotionRegionProgram>(components, _tracker);
}

} // namespace camera::engines
