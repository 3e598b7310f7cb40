#pragma once

#include "camera/base/RunOptions.h"
#include "camera/pipeline/RunCounts.h"
#include "camera/pipeline/RunSummary.h"
#include "camera/video/Overlay.h"
#include "camera/video/View.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace camera::pipeline {

/**
 * The files that a run writes: metadata, overlay and picture.
 *
 * A new run begins new files. A process that goes on after a restart adds its metadata to what is there, and its
 * overlay is one more file with a number in its name: "o.mp4", "o.2.mp4". What has failed once in a run stays as it is.
 *
 * Thread: the frame thread.
 */
class RunOutputs {
public:
    /// @param options  borrowed. @param failed  gets one sentence for each file that fails while the run goes on.
    RunOutputs(const base::RunOptions& options, std::shared_ptr<RunCounts> counts, video::Overlay::Failed failed);

    std::string metadataFile() const; ///< empty: none is wanted, or it has failed
    bool metadataGoesOn() const { return _counts->metadataBegun; }
    void metadataBegins() { _counts->metadataBegun = true; }

    /// @throws std::runtime_error with one sentence when one cannot be written; after a restart that is told, and the
    ///         run goes on without.
    void openOverlay(video::PictureSize picture, double framesPerSecond);

    bool draws() const { return _overlay.has_value(); }
    void draw(const video::Frame& upright, const video::Drawing& drawing, const std::string& caption);

    /// While the source is gone, at that time.
    void drawGone(std::int64_t time);

    /// Completes overlay and picture.
    void finish();

    /// Every file that this run has written and that is there.
    std::vector<WrittenFile> files() const;

private:
    std::string videoFile(std::uint32_t number) const;
    bool beginVideo();

    const base::RunOptions& _options;
    const std::shared_ptr<RunCounts> _counts;
    const video::Overlay::Failed _failed;
    std::optional<video::Overlay> _overlay;
};

} // namespace camera::pipeline
