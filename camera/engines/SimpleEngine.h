#pragma once

#include "camera/engines/ReferenceEngine.h"

namespace camera::engines {

/// The engine "Simple": motion in the cells of a grid. It keeps one configuration for all positions.
class SimpleEngine final : public ReferenceEngine {
public:
    explicit SimpleEngine(void* logContext);

    std::vector<std::string> getEventTopics() override;

private:
    std::unique_ptr<RuleProgram> compile(const Components& components) override;
};

} // namespace camera::engines
