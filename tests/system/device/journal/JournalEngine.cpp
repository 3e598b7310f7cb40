// An engine that detects nothing and writes down what it is told, a line each, into the file that JOURNAL_FILE names.
#include "camera/kit/EngineModule.h"
#include "kit/FakeEngine.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

/// FNV-1a of what is seen, without what pads the rows.
std::uint64_t pixels(const analytics_lib::YuvFrame& frame)
{
    std::uint64_t hash = 14695981039346656037U;
    for (std::uint64_t row = 0; row < frame.height + frame.height / 2; ++row) {
        for (std::uint64_t column = 0; column < frame.width; ++column) {
            hash = (hash ^ frame.data[row * frame.bytesPerRow + column]) * 1099511628211U;
        }
    }
    return hash;
}

class JournalEngine final : public kit::FakeEngine {
public:
    JournalEngine() : FakeEngine("Journal")
    {
        const char* const file = std::getenv("JOURNAL_FILE");
        _file.reset(std::fopen(file == nullptr ? "/dev/null" : file, "ae"));
        frameScript = [this](const analytics_lib::YuvFrame& frame, MetadataBuffers& outputs) {
            outputs.drawingBufferUsed = 0;
            write("frame %u.%09u %llux%llu %u %d %u %016llx\n", frame.timestamp[0], frame.timestamp[1],
                  static_cast<unsigned long long>(frame.width), static_cast<unsigned long long>(frame.height),
                  frame.pan, frame.tilt, frame.zoom,
                  static_cast<unsigned long long>(frame.data == nullptr ? 0 : pixels(frame)));
            return true;
        };
    }

    void onWindowBlankingChange(bool enabled, const analytics_lib::ColorYuv& color) override
    {
        write("blanking %s %d %d %d\n", enabled ? "on" : "off", color.y, color.u, color.v);
    }
    void onOrientationChanged(unsigned int degrees) override { write("orientation %u\n", degrees); }

    bool readFramesFromFile(const char* path, bool flag) override
    {
        write("read %s %d\n", path, flag ? 1 : 0);
        return true;
    }
    bool writeFramesToFile(const char* path, unsigned int count) override
    {
        write("write %s %u\n", path, count);
        return true;
    }

private:
    // One write a line: the control thread and the frame thread both come here, and a reader waits for lines.
    template <class... Values>
    void write(const char* format, Values... values)
    {
        if (_file) {
            std::fprintf(_file.get(), format, values...);
            std::fflush(_file.get());
        }
    }

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> _file;
};

} // namespace

DETECTION_ENGINE_MODULE("Journal",
                        [](void* /*log*/, std::shared_ptr<analytics_lib::IAnalyticsPtz> /*ptz*/)
                            -> std::shared_ptr<analytics_lib::IOnvifAnalytics> {
                            return std::make_shared<JournalEngine>();
                        })
