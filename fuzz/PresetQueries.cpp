// Preset names of any bytes: what goes in with a configuration comes back from every query, before and after a
// restart, and goes when the preset is removed. Records: '=' configures the preset of that name with everything
// escaped, '~' with line ends and tabs as they are, 'p' moves the camera there, 'r' removes the preset, '?' asks for
// it, 'b' restarts.

#include "kit/QuietPlatform.h"
#include "kit/XmlText.h"
#include "support/Check.h"
#include "support/Device.h"
#include "support/Records.h"

#include <pugixml.hpp>

#include <algorithm>
#include <set>

namespace {

bool holdsPreset(const std::string& configuration, const std::string& preset)
{
    pugi::xml_document document;
    document.load_string(configuration.c_str());
    static const pugi::xpath_query items("//*[local-name()='SimpleItem' and @Name='PtzPreset']");
    for (const pugi::xpath_node& item : items.evaluate_node_set(document)) {
        if (item.node().attribute("Value").value() == preset) {
            return true;
        }
    }
    return false;
}

/// What the device must remember, in the words of its keys: one preset's configuration can be another engine's too.
class PresetModel {
public:
    void run(const std::string& record)
    {
        const std::string name = record.size() < 2 ? std::string() : std::string(record.c_str() + 1);
        switch (record.empty() ? '\0' : record.front()) {
        case '=':
            configure(name, kit::escapedAttribute(name));
            break;
        case '~':
            configure(kit::normalised(name), kit::plainAttribute(name));
            break;
        case 'p':
            reach(name);
            break;
        case 'r':
            _device.deletePreset(name);
            _keys.erase("Motion" + name);
            _keys.erase("MotionPlus" + name);
            break;
        case 'b':
            restart();
            break;
        default:
            ask(name);
        }
    }

    void restart()
    {
        _device.restart();
        _keys = _stored;
        _named.clear();
        checkAll();
    }

    void checkAll()
    {
        fuzz::check(_device.usedPresets() == std::vector<std::string>(_named.begin(), _named.end()),
                    "every preset that was named is listed once, in byte order");
        for (const std::string& name : _everNamed) {
            ask(name);
        }
    }

private:
    void configure(const std::string& name, const std::string& attribute)
    {
        const bool taken = _device.setConfiguration(
            "<tt:VideoAnalyticsConfiguration><tt:RuleEngineConfiguration><tt:Rule Name=\"R\" Type=\"tt:MotionRule\">"
            "<tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"" +
            attribute + "\"/></tt:Parameters></tt:Rule></tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>");
        if (!name.empty()) {
            _named.insert(name);
            _everNamed.insert(name);
        }
        // The engine makes no more rule sets at some point, and words in a name can make it refuse.
        if (taken) {
            _keys.insert("Motion" + name);
            _stored = _keys;
        }
    }

    void ask(const std::string& name)
    {
        if (!name.empty()) {
            const bool known = _keys.count("Motion" + name) != 0;
            fuzz::check(holdsPreset(_device.presetConfiguration(name), name) == known,
                        "a preset's configuration is there until the preset is removed");
        }
    }

    void reach(const std::string& name)
    {
        _device.target().handlePresetStateEvent(2, name);
        if (!name.empty()) {
            fuzz::checkSame(_device.presetConfiguration(name), _device.currentConfiguration(),
                            "where the camera stands its preset's configuration is the current one");
        }
    }

    fuzz::Device _device;
    std::set<std::string> _keys;   ///< with a configuration
    std::set<std::string> _stored; ///< as of the last document that was stored
    std::set<std::string> _named;  ///< since the start
    std::set<std::string> _everNamed;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kit::resetQuietly();
    PresetModel model;
    for (const std::string& record : fuzz::splitRecords(data, size)) {
        model.run(record);
    }
    model.checkAll();
    model.restart();
    return 0;
}
