#include "camera/engines/ReferenceEngines.h"

#include "camera/engines/MotionEngine.h"
#include "camera/engines/SimpleEngine.h"

namespace camera::engines {

std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> referenceEngines(void* logContext)
{
    return {std::make_shared<SimpleEngine>(logContext), std::make_shared<MotionEngine>(logContext)};
}

} // namespace camera::engines
