#pragma once

#include "camera/engines/ReferenceEngine.h"
#include "camera/engines/Tracker.h"

namespace camera::engines {

/// The engine "Motion": moving objects, followed from frame to frame, and regions that they enter.
class MotionEngine final : public ReferenceEngine {
public:
    explicit MotionEngine(void* logContext);

    std::vector<std::string> getEventTopics() override;

private:
    std::unique_ptr<RuleProgram> compile(const Components& components) override;
    void forgetObjects() override { _tracker.forget(); }
    std::uint32_t nextObject() const override { return _tracker.nextId(); }
    void setNextObject(std::uint32_t id) override { _tracker.setNextId(id); }

    Tracker _tracker; ///< the frame thread's
};

} // namespace camera::engines
