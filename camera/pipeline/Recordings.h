#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/video/Overlay.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace camera::pipeline {

/**
 * Pictures and videos that clients ask of the camera while it runs: what overlay and picture of the run show, written
 * to the client's own files.
 *
 * Thread: order() and accept() on the bus thread, the others on the frame thread.
 */
class Recordings {
public:
    struct Order {
        base::FileDescriptor file;          ///< a regular file, open for writing
        std::string name;                   ///< of the file; says the format of a picture
        std::chrono::nanoseconds length{0}; ///< of a video; 0: the next frame as a picture
        base::FileDescriptor client = {};   ///< the reading end of a pipe that ends with the client; none: not watched
    };

    /// Called once, on the frame thread, with why it was not written, or with nothing.
    using Done = std::function<void(const std::string& failure)>;

    /// Takes an order. @throws bus::Refusal when the camera has no pictures, too much is recorded already, or the file
    /// is none. accept() then lets it begin; without a new order it returns false.
    void order(Order order);
    bool accept(Done done);

    void begin(double framesPerSecond); ///< pictures will come
    bool wanted();                      ///< whether draw() has anything to do
    void draw(const video::Frame& upright, const video::Drawing& drawing, const std::string& caption);
    void drawGone(std::int64_t time, const std::string& caption); ///< while the source is gone
    void end();                                                   ///< no more pictures will come

private:
    struct Recording {
        Recording(Order&& given, Done&& whenDone) : order(std::move(given)), done(std::move(whenDone)) {}

        Order order;
        Done done;
        std::optional<video::Overlay> overlay;
        std::int64_t first = 0; ///< the time of its first frame
        std::string failure;

        bool isPicture() const { return order.length.count() == 0; }
        bool over(std::int64_t time) const;
        void open(const video::Frame& upright, double framesPerSecond);
        void finish();
    };

    void forEach(const std::function<bool(Recording&)>& goesOn);

    std::mutex _mutex;
    bool _accepts = false;         ///< of the mutex, like the next two
    std::list<Recording> _waiting; ///< accepted, and not seen by the frame thread yet
    std::size_t _unfinished = 0;   ///< accepted, and not done yet
    std::optional<Order> _ordered; ///< bus thread
    std::list<Recording> _running; ///< frame thread, like the next one
    double _framesPerSecond = 0;
};

} // namespace camera::pipeline
