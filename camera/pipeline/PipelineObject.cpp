#include "camera/pipeline/PipelineObject.h"

#include "camera/framework/EngineFactory.h"
#include "camera/pipeline/ControlAnswer.h"
#include "camera/pipeline/Device.h"
#include "camera/serviceapi/ServiceApi.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace camera::pipeline {

namespace {

// What the engines evaluate is read on the thread that calls them, and a recording is answered when it is written.
// Everything else is answered while they keep their threads, too.
bus::Dispatch dispatch(const std::shared_ptr<bus::Session>& session, serviceapi::ControlThread& control,
                       const std::shared_ptr<Recordings>& recordings)
{
    return [onControl = onControl(session, control), weak = std::weak_ptr<bus::Session>(session),
            recordings](const std::shared_ptr<bus::Request>& request) {
        const std::string_view method(request->method());
        if (method == "engines") {
            onControl(request);
        } else if (method == "picture" || method == "record") {
            request->perform();
            const auto answer = [session = weak.lock(), request](const std::string& failure) {
                if (failure.empty()) {
                    request->answer();
                } else {
                    request->refuse(bus::error::kRefused, failure);
                }
            };
            if (!recordings->accept(answer)) {
                request->answer(); // that it was refused
            }
        } else {
            bus::atOnce(request);
        }
    };
}

double milliseconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

constexpr double kLongestRecording = 86400; ///< seconds

std::string noDocument(std::int64_t sequence)
{
    return "no good document number " + std::to_string(sequence) + " of this key is kept";
}

} // namespace

PipelineObject::PipelineObject(const std::shared_ptr<bus::Session>& session, Device& device, Report report)
    : PipelineServer(session->connection(), dispatch(session, device.control(), report.recordings)),
      _device(device),
      _report(std::move(report))
{
    takeName();
}

std::vector<PipelineObject::EngineRow> PipelineObject::engines()
{
    std::vector<EngineRow> rows;
    const std::vector<ActiveRules> active = _device.activeRules();
    for (std::size_t i = 0; i < active.size(); ++i) {
        const framework::EngineRecord& record = *_device.engines().records()[i];
        const framework::FrameTimes times = record.frameTimes();
        const double mean = milliseconds(times.sum) / static_cast<double>(std::max<std::uint64_t>(times.count, 1));
        rows.emplace_back(active[i].engine, active[i].preset(), active[i].rules(), active[i].modules(), record.calls(),
                          record.exceptions(), times.count, mean, milliseconds(times.longest),
                          std::vector<std::uint64_t>(times.histogram.begin(), times.histogram.end()));
    }
    return rows;
}

std::string PipelineObject::document(const std::string& key, std::int64_t sequence)
{
    auto text = _device.serviceApi().settings.fromHistory(key, sequence);
    if (!text) {
        throw bus::Refusal(noDocument(sequence));
    }
    return std::move(*text);
}

std::vector<PipelineObject::VersionRow> PipelineObject::history(const std::string& key)
{
    std::vector<VersionRow> rows;
    for (const auto& version : _device.serviceApi().settings.history(key)) {
        rows.emplace_back(version.sequence, version.storedAt, version.sizeBytes, version.good);
    }
    if (rows.empty()) {
        throw bus::Refusal("nothing is stored under this key");
    }
    return rows;
}

void PipelineObject::picture(sdbus::UnixFd file, const std::string& name)
{
    _report.recordings->order({base::FileDescriptor(file.release()), name});
}

void PipelineObject::record(sdbus::UnixFd file, const std::string& name, double seconds, sdbus::UnixFd client)
{
    if (!(seconds > 0 && seconds <= kLongestRecording)) {
        throw bus::Refusal("a recording takes more than 0 and at most 86400 seconds");
    }
    const auto length = std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
    _report.recordings->order({base::FileDescriptor(file.release()), name,
                               std::max(length, std::chrono::nanoseconds(1)), base::FileDescriptor(client.release())});
}

void PipelineObject::restore(const std::string& key, std::int64_t sequence)
{
    if (!_device.serviceApi().settings.restore(key, sequence)) {
        throw bus::Refusal(noDocument(sequence));
    }
}

std::vector<std::string> PipelineObject::storedKeys()
{
    return _device.serviceApi().settings.keys();
}

bool PipelineObject::showsElsewhere(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom)
{
    ptz::Position position;
    position.pan = pan;
    position.tilt = tilt;
    position.zoom = zoom;
    return _report.showsElsewhere && _report.showsElsewhere(position);
}

PipelineObject::PictureRow PipelineObject::pictureFormat()
{
    const PictureStatus picture = _report.status().picture;
    return {picture.width, picture.height, picture.framesPerSecond};
}

std::int64_t PipelineObject::startTime()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(_device.startTime().time_since_epoch()).count();
}

std::uint32_t PipelineObject::pid()
{
    return static_cast<std::uint32_t>(::getpid());
}

} // namespace camera::pipeline
