#include "camera/pipeline/RunOutputs.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace camera::pipeline {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kMostVideoBits = 64;

std::uint64_t bitOf(std::uint32_t number)
{
    return std::uint64_t{1} << std::min(number - 1, kMostVideoBits - 1);
}

} // namespace

RunOutputs::RunOutputs(const base::RunOptions& options, std::shared_ptr<RunCounts> counts,
                       video::Overlay::Failed failed)
    : _options(options), _counts(std::move(counts)), _failed(std::move(failed))
{
}

std::string RunOutputs::metadataFile() const
{
    return _counts->metadataFailed ? std::string() : _options.metadata;
}

std::string RunOutputs::videoFile(std::uint32_t number) const
{
    fs::path path = _options.overlay;
    const std::string extension = path.extension().string();
    return number < 2 ? path.string() : path.replace_extension(std::to_string(number) + extension).string();
}

// False when no overlay is wanted, or when one has failed in this run. A file that got no frame is begun again.
bool RunOutputs::beginVideo()
{
    if (_options.overlay.empty() || _counts->videosFailed != 0) {
        return false;
    }
    if (_counts->videos == 0 || _counts->videoFrames != 0) {
        ++_counts->videos;
    }
    _counts->videoFrames = 0;
    return true;
}

void RunOutputs::openOverlay(video::PictureSize picture, double framesPerSecond)
{
    video::OverlayFiles files;
    files.video = beginVideo() ? videoFile(_counts->videos) : "";
    files.picture = _options.picture;
    if (files.video.empty() && files.picture.empty()) {
        return;
    }
    try {
        _overlay.emplace(files, picture.width, picture.height, framesPerSecond, _failed);
    } catch (const std::runtime_error& error) {
        if (!_counts->restarted()) {
            throw;
        }
        _counts->videosFailed |= files.video.empty() ? 0 : bitOf(_counts->videos);
        _failed(error.what());
    }
}

void RunOutputs::draw(const video::Frame& upright, const video::Drawing& drawing, const std::string& caption)
{
    if (!_overlay) {
        return;
    }
    _overlay->add(upright, drawing, caption);
    if (_overlay->videoFailed()) {
        _counts->videosFailed |= bitOf(_counts->videos);
    } else {
        ++_counts->videoFrames;
    }
}

void RunOutputs::drawGone(std::int64_t time)
{
    if (_overlay) {
        _overlay->addDimmed(time, "waiting for the source");
    }
}

void RunOutputs::finish()
{
    if (_overlay) {
        _overlay->finish();
        _counts->videosFailed |= _overlay->videoFailed() ? bitOf(_counts->videos) : 0;
    }
}

std::vector<WrittenFile> RunOutputs::files() const
{
    std::vector<WrittenFile> wanted;
    if (_counts->metadataBegun) {
        wanted.push_back({_options.metadata, 0, !_counts->metadataFailed});
    }
    for (std::uint32_t number = 1; number <= _counts->videos; ++number) {
        const bool empty = number == _counts->videos && _counts->videoFrames == 0;
        wanted.push_back({videoFile(number), 0, !empty && (_counts->videosFailed & bitOf(number)) == 0});
    }
    if (_overlay && _overlay->pictureWritten()) {
        wanted.push_back({_options.picture, 0, true});
    }
    std::vector<WrittenFile> files;
    for (WrittenFile file : wanted) {
        std::error_code error;
        file.bytes = fs::file_size(file.path, error);
        if (!error) {
            files.push_back(file);
        }
    }
    return files;
}

} // namespace camera::pipeline
