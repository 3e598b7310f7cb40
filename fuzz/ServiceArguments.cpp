// What clients of the analytics service send: the same checks on the way in and out as its methods make, and the same
// calls on the control thread. Records: the first byte says which method, then one argument, or items between tabs.

#include "camera/base/Log.h"
#include "camera/base/Utf8.h"
#include "camera/pipeline/TargetClient.h"
#include "camera/serviceapi/ControlThread.h"
#include "camera/serviceapi/ServedTargets.h"
#include "kit/QuietPlatform.h"
#include "support/Check.h"
#include "support/Device.h"
#include "support/Records.h"

#include <algorithm>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Lines of the camera itself go nowhere; the module's go to the fuzzed platform.
namespace camera::base {

Log& Log::instance()
{
    static Log& log = *new Log;
    return log;
}

void Log::write(LogLevel /*level*/, const std::string& /*component*/, const std::string& /*text*/)
{
}

} // namespace camera::base

namespace {

using camera::base::isSendable;
using camera::base::sendable;
using camera::pipeline::Answer;
using camera::pipeline::TargetClient;
using Texts = std::vector<std::string>;

constexpr const char* kService = "onvif_analytic_service";

void checkText(const std::string& text)
{
    const std::string out = sendable(text);
    fuzz::check(isSendable(out), "what is sent can be sent");
    fuzz::check((out == text) == isSendable(text), "a text changes only when it cannot be sent");
    fuzz::check(out.size() <= 3 * text.size(), "a replacement takes three bytes");
}

Texts itemsOf(const std::string& record)
{
    Texts items;
    for (std::size_t begin = 0; begin <= record.size();) {
        const std::size_t end = std::min(record.find('\t', begin), record.size());
        items.push_back(record.substr(begin, end - begin));
        begin = end + 1;
    }
    return items;
}

void checkOut(const Texts& texts)
{
    for (const std::string& text : texts) {
        fuzz::check(isSendable(sendable(text)), "an answer can be sent");
    }
}

void change(TargetClient& client, char method, const Texts& items)
{
    using Change = Answer (TargetClient::*)(const Texts&);
    constexpr Change kChanges[] = {&TargetClient::createRules,   &TargetClient::modifyRules,
                                   &TargetClient::deleteRules,   &TargetClient::createEngines,
                                   &TargetClient::modifyEngines, &TargetClient::deleteEngines};
    if (!std::all_of(items.begin(), items.end(), isSendable)) {
        return; // the method refuses it
    }
    const Answer answer = (client.*kChanges[static_cast<unsigned char>(method) % std::size(kChanges)])(items);
    const auto word = static_cast<unsigned int>(answer.outcome);
    fuzz::check(word == 0 || word == 1 || word == 4 || word == 5, "the status word is a known one");
}

void askOne(TargetClient& client, char method, const std::string& text)
{
    if (!isSendable(text)) {
        return;
    }
    switch (method) {
    case 'C':
        client.acceptConfiguration(text);
        break;
    case 'P':
        checkOut({client.presetConfiguration(text)});
        break;
    case 'W':
        client.writeFramesToFile(text, text, static_cast<unsigned int>(text.size()));
        break;
    default:
        client.readFramesFromFile(text, text, text.size() % 2 == 0);
    }
}

void play(TargetClient& client, const std::string& record)
{
    if (record.empty()) {
        client.restoreDefaultSettings();
        return;
    }
    checkText(record);
    const std::string rest = record.substr(1);
    if (record[0] >= 'A' && record[0] <= 'Z') {
        askOne(client, record[0], rest);
    } else {
        change(client, record[0], itemsOf(rest));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static camera::serviceapi::ControlThread& control = *new camera::serviceapi::ControlThread;
    kit::resetQuietly();
    fuzz::Device device;
    camera::serviceapi::ServedTargets targets;
    // The device owns its target.
    targets.add(kService, boost::shared_ptr<RavelApiAnalyticsTargetImplBase>(&device.target(), [](auto*) {}));
    TargetClient client(control, targets, kService, [] {});
    for (const std::string& record : fuzz::splitRecords(data, size)) {
        play(client, record);
    }
    checkOut(client.currentRules());
    checkOut(client.currentEngines());
    checkOut(client.usedPtzPresets());
    checkOut({client.currentConfiguration()});
    return 0;
}
