#pragma once

#include "target/OnvifTarget.h"

#include "support/builders/Configuration.h"
#include "support/builders/ServiceLists.h"
#include "support/fakes/PlatformTest.h"

#include <memory>
#include <string>
#include <vector>

/// Tests over a service target with engines of the test's choice, on a fixed camera with no device
/// service until the test says otherwise.
class OnvifTargetTest : public support::PlatformTest {
protected:
    ~OnvifTargetTest() override { target.reset(); }

    std::shared_ptr<support::FakeEngine> addEngine(const std::string& name)
    {
        auto engine = std::make_shared<support::FakeEngine>(name);
        engines.push_back(engine);
        return engine;
    }

    void construct()
    {
        target = std::make_unique<korva::meridan::OnvifTarget>(support::platform().logHandle(), engines);
    }

    /// Builds the target; afterwards the journal is empty.
    void build()
    {
        construct();
        support::journal().clear();
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
        return support::takeList(list);
    }

    std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>> engines;
    std::unique_ptr<korva::meridan::OnvifTarget> target;
};
