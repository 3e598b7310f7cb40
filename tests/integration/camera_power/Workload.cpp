#include "integration/camera_power/Workload.h"

#include "camera/ptz/PositioningUnit.h"
#include "integration/camera_power/PowerFixture.h"

std::size_t Workload::below(std::size_t bound)
{
    return static_cast<std::size_t>(_random() >> 32) % bound;
}

// Every text is different, so that no document is like an earlier one.
std::string Workload::text()
{
    return "text " + std::to_string(++_count) + std::string(below(4) == 0 ? below(6000) : below(300), 'x');
}

std::vector<std::string> Workload::rules()
{
    std::vector<std::string> rules;
    const std::string place = preset();
    for (std::size_t count = 1 + below(4); count > 0; --count) {
        rules.push_back("<tt:Rule Name=\"" + ruleName() + "\" Type=\"tt:" + engine() +
                        "Rule\"><tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"" + place +
                        "\"/><tt:SimpleItem Name=\"Text\" Value=\"" + text() + "\"/></tt:Parameters></tt:Rule>");
    }
    return rules;
}

void Workload::removePreset(camera::pipeline::Device& device)
{
    const std::string name = preset();
    (void)device.positioning().removePreset(name);
    device.drain();
    (void)device.positioning().savePreset({name, {1000, 0, 100}});
    device.drain();
}

void Workload::step(camera::pipeline::Device& device)
{
    switch (below(10)) {
    case 0:
    case 1:
    case 2:
        (void)device.target().setConfiguration(configurationOf(engine(), preset(), ruleName(), text()));
        break;
    case 3:
    case 4:
        (void)device.target().createRules(rules());
        break;
    case 5:
    case 6:
        (void)device.target().modifyRules(rules());
        break;
    case 7:
        (void)device.target().deleteRules({ruleName()});
        break;
    case 8:
        (void)device.target().deleteRules({ruleName(), ruleName()});
        break;
    default:
        removePreset(device);
    }
}
