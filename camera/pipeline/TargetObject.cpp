#include "camera/pipeline/TargetObject.h"

#include "camera/pipeline/ControlAnswer.h"

#include <utility>

namespace camera::pipeline {

TargetObject::TargetObject(const std::shared_ptr<bus::Session>& session, TargetClient& client,
                           serviceapi::ControlThread& control, std::function<std::string()> whose)
    : OnvifAnalyticServiceServer(session->connection(), onControl(session, control)),
      _client(client),
      _whose(std::move(whose))
{
    takeName();
}

std::tuple<std::int32_t, std::uint8_t> TargetObject::setConfiguration(const std::string& xml)
{
    const auto acceptance = _client.acceptConfiguration(xml);
    return {acceptance.result, acceptance.failed};
}

std::int32_t TargetObject::restoreDefaultSettings()
{
    _client.restoreDefaultSettings();
    return 0;
}

std::int32_t TargetObject::readFramesFromFile(const std::string& engine, const std::string& path, bool flag)
{
    _client.readFramesFromFile(engine, path, flag);
    return 0;
}

std::int32_t TargetObject::writeFramesToFile(const std::string& engine, const std::string& path, std::uint32_t count)
{
    _client.writeFramesToFile(engine, path, count);
    return 0;
}

} // namespace camera::pipeline
