#pragma once

#include "target/OnvifTarget.h"

#include "kit/Configuration.h"
#include "kit/PlatformTest.h"
#include "kit/ServiceLists.h"

#include <memory>
#include <string>
#include <vector>

/// Tests over a service target with engines of the test's choice, on a fixed camera with no device
/// service until the test says otherwise.
class OnvifTargetTest : public kit::PlatformTest {
protected:
    ~OnvifTargetTest() override { target.reset(); }

    std::shared_ptr<kit::FakeEngine> addEngine(const std::string& name)
    {
        auto engine = std::make_shared<kit::FakeEngine>(name);
        engines.push_back(engine);
        return engine;
    }

    void construct() { target = std::make_unique<korva::meridan::OnvifTarget>(kit::platform().logHandle(), engines); }

    /// Builds the target; afterwards the journal is empty.
    void build()
    {
        construct();
        kit::journal().clear();
    }

    /// Hands a whole configuration in; true when the target took it.
    bool configure(const std::string& xml)
    {
        unsigned char failed = 9;
        const int result = target->setConfiguration(xml.c_str(), &failed);
        return result == 0 && failed == 0;
    }

    Lines rulesNow()
    {
        char** list = nullptr;
        target->getCurrentRules(&list);
        return kit::takeList(list);
    }

    std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> engines;
    std::unique_ptr<korva::meridan::OnvifTarget> target;
};
