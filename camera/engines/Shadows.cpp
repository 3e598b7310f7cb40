#include "camera/engines/Shadows.h"

#include <opencv2/imgproc.hpp>

namespace camera::engines {

namespace {

constexpr int kWindow = 7;
constexpr int kLeastPixels = 60;
constexpr float kDarkest = 0.4F;
constexpr float kBrightest = 0.93F;
constexpr float kLeastTexture = 2.0F; // variance of the background within the window
constexpr float kLeastCorrelation = 0.5F;

/// Means over the window from which the correlation of two pictures is computed.
struct Moments {
    Moments(const cv::Mat& picture, const cv::Mat& background)
    {
        cv::Mat p;
        cv::Mat b;
        picture.convertTo(p, CV_32F);
        background.convertTo(b, CV_32F);
        cv::boxFilter(p, meanPicture, CV_32F, {kWindow, kWindow});
        cv::boxFilter(b, meanBackground, CV_32F, {kWindow, kWindow});
        cv::boxFilter(p.mul(p), squarePicture, CV_32F, {kWindow, kWindow});
        cv::boxFilter(b.mul(b), squareBackground, CV_32F, {kWindow, kWindow});
        cv::boxFilter(p.mul(b), product, CV_32F, {kWindow, kWindow});
    }

    bool isShadow(int row, int column) const
    {
        const float p = meanPicture.at<float>(row, column);
        const float b = meanBackground.at<float>(row, column);
        const float texture = squareBackground.at<float>(row, column) - b * b;
        if (p < kDarkest * b || p > kBrightest * b || texture < kLeastTexture) {
            return false;
        }
        const float common = product.at<float>(row, column) - p * b;
        const float own = squarePicture.at<float>(row, column) - p * p;
        return common > 0 && common * common > kLeastCorrelation * kLeastCorrelation * own * texture;
    }

    cv::Mat meanPicture;
    cv::Mat meanBackground;
    cv::Mat squarePicture;
    cv::Mat squareBackground;
    cv::Mat product;
};

int clearShadows(cv::Mat mask, const Moments& moments)
{
    int cleared = 0;
    for (int row = 0; row < mask.rows; ++row) {
        auto* pixels = mask.ptr<std::uint8_t>(row);
        for (int column = 0; column < mask.cols; ++column) {
            if (pixels[column] != 0 && moments.isShadow(row, column)) {
                pixels[column] = 0;
                ++cleared;
            }
        }
    }
    return cleared;
}

} // namespace

void removeShadows(cv::Mat& mask, const cv::Mat& picture, const cv::Mat& background)
{
    cv::Mat labels;
    cv::Mat stats;
    cv::Mat centers;
    const int count = cv::connectedComponentsWithStats(mask, labels, stats, centers, 8, CV_32S);
    for (int label = 1; label < count; ++label) {
        const int* of = stats.ptr<int>(label);
        const cv::Rect box(of[cv::CC_STAT_LEFT], of[cv::CC_STAT_TOP], of[cv::CC_STAT_WIDTH], of[cv::CC_STAT_HEIGHT]);
        if (of[cv::CC_STAT_AREA] < kLeastPixels) {
            continue;
        }
        const int cleared = clearShadows(mask(box), Moments(picture(box), background(box)));
        if (cleared > kLeastPixels) {
            // Only the border of a shadow is left, where the window covered both sides.
            cv::Mat part = mask(box);
            cv::morphologyEx(part, part, cv::MORPH_OPEN, cv::getStructuringElement(cv::MORPH_ELLIPSE, {7, 7}));
        }
    }
}

} // namespace camera::engines
