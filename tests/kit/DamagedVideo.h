#pragma once

#include <cstddef>
#include <string>

namespace kit {

/// The MP4 video with the content of some pictures from the middle of it inverted; its structure stays.
inline std::string withDamagedPictures(std::string video)
{
    std::size_t box = video.find("mdat", video.size() / 3);
    for (int picture = 0; picture < 5 && box != std::string::npos; ++picture) {
        const std::size_t next = video.find("moof", box);
        for (std::size_t i = box + 10; i < next - 4 && i < video.size(); ++i) {
            video[i] = static_cast<char>(~video[i]);
        }
        box = video.find("mdat", next);
    }
    return video;
}

/// The MP4 video without its index.
inline std::string withoutIndex(std::string video)
{
    return video.replace(video.find("moov"), 4, "free");
}

} // namespace kit
