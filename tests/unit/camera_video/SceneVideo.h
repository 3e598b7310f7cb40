#pragma once

#include "camera/video/Mp4Writer.h"
#include "camera/video/Scene.h"
#include "camera/video/Timestamp.h"

#include <string>

namespace camera::video {

/// Encodes a generated scene as an MP4 file, so that no test needs a video from elsewhere.
inline void writeSceneVideo(const std::string& path, const std::string& scene, const std::string& encoder = "")
{
    Scene source(scene);
    Mp4Writer writer(path, source.width(), source.height(), source.framesPerSecond(), encoder);
    RgbPicture picture;
    while (const auto frame = source.next()) {
        toRgb(*frame, picture);
        writer.add(picture, nanosecondsOf(*frame));
    }
    writer.finish();
}

} // namespace camera::video
