#include "camera/pipeline/Recordings.h"

#include "camera/bus/Server.h"
#include "camera/video/Timestamp.h"

#include <poll.h>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>

namespace camera::pipeline {

namespace {

constexpr std::size_t kMostAtOnce = 8;

bool isRegularFile(int descriptor)
{
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

bool isGone(const base::FileDescriptor& client)
{
    pollfd ended{client.get(), POLLIN, 0};
    return client && ::poll(&ended, 1, 0) > 0;
}

} // namespace

// A frame must not wait for who reads a pipe, so only files are written.
void Recordings::order(Order order)
{
    if (!isRegularFile(order.file.get())) {
        throw bus::Refusal("cannot write '" + order.name + "': it is no regular file");
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_accepts) {
        throw bus::Refusal("the camera has no pictures now");
    }
    if (_unfinished >= kMostAtOnce) {
        throw bus::Refusal("the camera writes " + std::to_string(kMostAtOnce) +
                           " pictures and videos already; wait for one of them");
    }
    _ordered = std::move(order);
}

bool Recordings::accept(Done done)
{
    if (!_ordered) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_accepts) {
        _ordered.reset();
        done("the camera has ended");
        return true;
    }
    _waiting.emplace_back(std::move(*_ordered), std::move(done));
    _ordered.reset();
    ++_unfinished;
    return true;
}

void Recordings::begin(double framesPerSecond)
{
    _framesPerSecond = framesPerSecond;
    const std::lock_guard<std::mutex> lock(_mutex);
    _accepts = true;
}

bool Recordings::wanted()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _running.splice(_running.end(), _waiting);
    return !_running.empty();
}

void Recordings::draw(const video::Frame& upright, const video::Drawing& drawing, const std::string& caption)
{
    forEach([&](Recording& each) {
        if (!each.overlay) {
            each.open(upright, _framesPerSecond);
        }
        if (each.over(video::nanosecondsOf(upright))) {
            return false;
        }
        each.overlay->add(upright, drawing, caption);
        return each.failure.empty() && !each.isPicture();
    });
}

void Recordings::drawGone(std::int64_t time, const std::string& caption)
{
    forEach([&](Recording& each) {
        if (!each.overlay) {
            return !isGone(each.order.client);
        }
        if (each.over(time)) {
            return false;
        }
        each.overlay->addDimmed(time, caption);
        return each.failure.empty();
    });
}

void Recordings::end()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _accepts = false;
    }
    forEach([](Recording& each) {
        each.failure = each.isPicture() ? "the camera has ended"
                                        : "the camera has ended; '" + each.order.name + "' has what came until then";
        return false;
    });
}

void Recordings::forEach(const std::function<bool(Recording&)>& goesOn)
{
    if (!wanted()) {
        return;
    }
    for (auto each = _running.begin(); each != _running.end();) {
        bool more = false;
        try {
            more = goesOn(*each);
        } catch (const std::runtime_error& error) {
            each->failure = error.what();
        }
        if (more) {
            ++each;
            continue;
        }
        each->finish();
        each = _running.erase(each);
        const std::lock_guard<std::mutex> lock(_mutex);
        --_unfinished;
    }
}

bool Recordings::Recording::over(std::int64_t time) const
{
    return isGone(order.client) || (!isPicture() && time - first >= order.length.count());
}

void Recordings::Recording::open(const video::Frame& upright, double framesPerSecond)
{
    video::OverlayFiles files;
    (isPicture() ? files.picture : files.video) = order.name;
    files.descriptor = order.file.get();
    first = video::nanosecondsOf(upright);
    overlay.emplace(files, upright.width, upright.height, framesPerSecond,
                    [this](const std::string& sentence) { failure = sentence; });
}

void Recordings::Recording::finish()
{
    if (overlay) {
        overlay->finish();
        overlay.reset();
    }
    order.file.reset();
    done(failure);
}

} // namespace camera::pipeline
