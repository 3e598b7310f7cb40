#include "camera/framework/SinksAndSources.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace camera::framework {

namespace {

using korva::meridan::Buffer;
using korva::meridan::BufferFormat;

// One of several owners of a buffer that can only have one.
class SharedView final : public Buffer {
public:
    explicit SharedView(std::shared_ptr<Buffer> buffer) : _buffer(std::move(buffer)) {}
    std::size_t GetLength() const override { return _buffer->GetLength(); }
    const BufferFormat& GetFormat() const override { return _buffer->GetFormat(); }
    std::uint8_t* GetData() const override { return _buffer->GetData(); }
    const std::uint32_t* GetTimestamp() const override { return _buffer->GetTimestamp(); }

private:
    std::shared_ptr<Buffer> _buffer;
};

} // namespace

void FanOutSource::connect(korva::meridan::Sink* sink)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (sink != nullptr && std::find(_sinks.begin(), _sinks.end(), sink) == _sinks.end()) {
        _sinks.push_back(sink);
    }
}

void FanOutSource::disconnect(const korva::meridan::Sink* sink)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _sinks.erase(std::remove(_sinks.begin(), _sinks.end(), sink), _sinks.end());
}

void FanOutSource::Push(Buffer* buffer)
{
    std::unique_ptr<Buffer> owned(buffer);
    std::vector<korva::meridan::Sink*> sinks;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        sinks = _sinks;
    }
    if (sinks.size() == 1) {
        sinks.front()->PutBuffer(owned.release());
    } else if (!sinks.empty() && owned) {
        const std::shared_ptr<Buffer> shared(std::move(owned));
        for (korva::meridan::Sink* sink : sinks) {
            sink->PutBuffer(std::make_unique<SharedView>(shared).release());
        }
    }
}

void DiscardingSink::PutBuffer(Buffer* buffer)
{
    const std::unique_ptr<Buffer> owned(buffer);
}

} // namespace camera::framework

namespace korva::meridan {

void Source::PushBuffer(Buffer* buffer)
{
    Push(buffer);
}

} // namespace korva::meridan
