#include "plugin/analytics/ColorYuv.h"
#include "plugin/analytics/MetadataBuffers.h"
#include "plugin/analytics/YuvFrame.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

// Engines are built apart from the plug-in: a field that moves or changes its width breaks them without a word.
namespace {

using analytics_lib::ColorYuv;
using analytics_lib::YuvFrame;

static_assert(std::is_same_v<decltype(YuvFrame::timestamp), std::uint32_t[2]>);
static_assert(std::is_same_v<decltype(YuvFrame::data), std::uint8_t*>);
static_assert(std::is_same_v<decltype(YuvFrame::width), std::uint64_t>);
static_assert(std::is_same_v<decltype(YuvFrame::height), std::uint64_t>);
static_assert(std::is_same_v<decltype(YuvFrame::bytesPerRow), std::uint32_t>);
static_assert(std::is_same_v<decltype(YuvFrame::pan), std::uint32_t>);
static_assert(std::is_same_v<decltype(YuvFrame::tilt), std::int32_t>);
static_assert(std::is_same_v<decltype(YuvFrame::zoom), std::uint32_t>);
static_assert(std::is_same_v<decltype(YuvFrame::horizontalAngleOfView), std::uint32_t>);
static_assert(std::is_same_v<decltype(YuvFrame::verticalAngleOfView), std::uint32_t>);
static_assert(std::is_standard_layout_v<YuvFrame>);
static_assert(offsetof(YuvFrame, timestamp) == 0);
static_assert(offsetof(YuvFrame, data) == 8);
static_assert(offsetof(YuvFrame, width) == 16);
static_assert(offsetof(YuvFrame, height) == 24);
static_assert(offsetof(YuvFrame, bytesPerRow) == 32);
static_assert(offsetof(YuvFrame, pan) == 36);
static_assert(offsetof(YuvFrame, tilt) == 40);
static_assert(offsetof(YuvFrame, zoom) == 44);
static_assert(offsetof(YuvFrame, horizontalAngleOfView) == 48);
static_assert(offsetof(YuvFrame, verticalAngleOfView) == 52);
static_assert(sizeof(YuvFrame) == 56);

static_assert(std::is_same_v<decltype(MetadataBuffers::drawingBuffer), std::uint8_t*>);
static_assert(std::is_same_v<decltype(MetadataBuffers::drawingBufferSize), std::uint32_t>);
static_assert(std::is_same_v<decltype(MetadataBuffers::drawingBufferUsed), std::uint32_t>);
static_assert(std::is_same_v<decltype(MetadataBuffers::motionBuffer), std::uint8_t*>);
static_assert(std::is_same_v<decltype(MetadataBuffers::motionBufferSize), std::uint32_t>);
static_assert(std::is_same_v<decltype(MetadataBuffers::motionBufferUsed), std::uint32_t>);
static_assert(std::is_same_v<decltype(MetadataBuffers::metadataXml), std::string>);
static_assert(std::is_standard_layout_v<MetadataBuffers>);
static_assert(offsetof(MetadataBuffers, drawingBuffer) == 0);
static_assert(offsetof(MetadataBuffers, drawingBufferSize) == 8);
static_assert(offsetof(MetadataBuffers, drawingBufferUsed) == 12);
static_assert(offsetof(MetadataBuffers, motionBuffer) == 16);
static_assert(offsetof(MetadataBuffers, motionBufferSize) == 24);
static_assert(offsetof(MetadataBuffers, motionBufferUsed) == 28);
static_assert(offsetof(MetadataBuffers, metadataXml) == 32);
static_assert(sizeof(MetadataBuffers) == 32 + sizeof(std::string));

static_assert(std::is_same_v<decltype(ColorYuv::y), std::uint8_t>);
static_assert(offsetof(ColorYuv, y) == 0 && offsetof(ColorYuv, u) == 1 && offsetof(ColorYuv, v) == 2);
static_assert(sizeof(ColorYuv) == 3);

TEST(RecordLayout, everyRecordStartsZeroed)
{
    const YuvFrame frame;
    EXPECT_EQ(frame.timestamp[0], 0U);
    EXPECT_EQ(frame.timestamp[1], 0U);
    EXPECT_EQ(frame.data, nullptr);
    EXPECT_EQ(frame.width, 0U);
    EXPECT_EQ(frame.height, 0U);
    EXPECT_EQ(frame.bytesPerRow, 0U);
    EXPECT_EQ(frame.pan, 0U);
    EXPECT_EQ(frame.tilt, 0);
    EXPECT_EQ(frame.zoom, 0U);
    EXPECT_EQ(frame.horizontalAngleOfView, 0U);
    EXPECT_EQ(frame.verticalAngleOfView, 0U);

    const MetadataBuffers buffers;
    EXPECT_EQ(buffers.drawingBuffer, nullptr);
    EXPECT_EQ(buffers.drawingBufferSize, 0U);
    EXPECT_EQ(buffers.drawingBufferUsed, 0U);
    EXPECT_EQ(buffers.motionBuffer, nullptr);
    EXPECT_EQ(buffers.motionBufferSize, 0U);
    EXPECT_EQ(buffers.motionBufferUsed, 0U);
    EXPECT_EQ(buffers.metadataXml, "");

    const ColorYuv color;
    EXPECT_EQ(color.y, 0);
    EXPECT_EQ(color.u, 0);
    EXPECT_EQ(color.v, 0);
}

} // namespace
