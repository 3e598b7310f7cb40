#include "support/Session.h"

#include "kit/QuietPlatform.h"
#include "support/Check.h"
#include "support/Records.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace fuzz {

namespace {

bool isListOperation(char operation)
{
    return operation != '\0' && std::strchr("cmdCMD", operation) != nullptr;
}

/// A record without its NULs' rest, as the service protocol would carry it.
std::string textOf(const std::string& record)
{
    return record.size() < 2 ? std::string() : std::string(record.c_str() + 1);
}

char operationOf(const std::string& record)
{
    return record.empty() ? '\0' : record.front();
}

} // namespace

void Session::play(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::string> records = splitRecords(data, size);
    kit::resetQuietly();
    if (operationOf(records.front()) == 'F') {
        kit::platform().positioning.available = false;
        kit::platform().targetIds.clear();
    }
    Session session;
    session.run(records);
}

void Session::run(const std::vector<std::string>& records)
{
    for (std::size_t i = 0; i < records.size(); ++i) {
        const char operation = operationOf(records[i]);
        if (!isListOperation(operation)) {
            perform(operation, textOf(records[i]));
            continue;
        }
        std::vector<std::string> items{textOf(records[i])};
        while (i + 1 < records.size() && operationOf(records[i + 1]) == '+') {
            items.push_back(textOf(records[++i]));
        }
        callList(operation, items);
    }
    Device::mendStore();
    _device.askEverything();
    _device.restart();
    _device.askEverything();
}

void Session::callList(char operation, const std::vector<std::string>& items)
{
    const bool modules = std::isupper(static_cast<unsigned char>(operation)) != 0;
    if (operation == 'd' || operation == 'D') {
        _device.remove(items, modules);
    } else {
        _device.createOrModify(items, modules, operation == 'm' || operation == 'M');
    }
}

void Session::perform(char operation, const std::string& text)
{
    switch (operation) {
    case 's':
        _device.setConfiguration(text);
        break;
    case 'q':
        checkSame(_device.presetConfiguration(text), _device.presetConfiguration(text), "asking changes nothing");
        break;
    case 'r':
        _device.deletePreset(text);
        break;
    case 'e':
        _device.raiseEvent(text);
        break;
    case 'f':
        Device::failNextWrite();
        break;
    case 'z':
        check(_device.target().restoreDefaultSettings() == 0, "the default settings answer 0");
        break;
    case 'b':
        _device.restart();
        break;
    case 'g':
        _device.target().readFramesFromFile(text.c_str(), text.c_str(), 1);
        _device.target().writeFramesToFile(text.c_str(), text.c_str(), 2);
        break;
    default:
        performFollowing(operation, text);
    }
}

bool Session::performFollowing(char operation, const std::string& text)
{
    korva::meridan::OnvifTarget& target = _device.target();
    const int number = std::atoi(text.c_str());
    switch (operation) {
    case 'p':
        target.handlePresetStateEvent(2, text);
        return true;
    case 'l':
        target.handlePresetStateEvent(0, text);
        return true;
    case 'x':
        target.handlePresetStateEvent(number, text);
        return true;
    case 'v':
        target.handlePositioningMotionStateEvent(number != 0);
        return true;
    case 't':
        target.handleTourStateEvent(number, number);
        return true;
    case 'k':
        target.handlePositioningCommandPriorityEvent(static_cast<unsigned int>(number));
        return true;
    case 'n':
        target.handleDayNightChangeEvent(number != 0);
        return true;
    case 'w':
        target.handleWindowBlankingEvent(number != 0);
        return true;
    case 'o':
        target.handleOrientationChangeEvent(static_cast<unsigned int>(number));
        check(target.getFrameOrientation() == static_cast<unsigned int>(number), "the orientation is kept");
        return true;
    default:
        return false;
    }
}

} // namespace fuzz
