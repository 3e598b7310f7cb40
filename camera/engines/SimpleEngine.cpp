#include "camera/engines/SimpleEngine.h"

#include "camera/engines/CellMotionRules.h"
#include "camera/engines/EngineNames.h"

namespace camera::engines {

SimpleEngine::SimpleEngine(void* logContext) : ReferenceEngine(logContext, kCellMotionTypes)
{
}

std::vector<std::string> SimpleEngine::getEventTopics()
{
    return {kCellMotionTopic};
}

std::unique_ptr<RuleProgram> SimpleEngine::compile(const Components& components)
{
    return std::make_unique<CellMotionProgram>(components);
}

} // namespace camera::engines
