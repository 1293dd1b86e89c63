#include "ffmpeg_handles.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <gtest/gtest.h>

#include "support/clip_decoding.h"
#include "support/footprint.h"
#include "support/temp_dir.h"

namespace {

std::string clip() {
    return test::clipPath("plain.mp4").utf8_string();
}

long openHandles() {
    return test::Footprint::now().handles;
}

} // namespace

TEST(FfmpegHandles, AnInputClosesItsFileWhoeverOpenedIt) {
    const long before = openHandles();
    for (const bool openedBefore : {false, true}) {
        AVFormatContext* context = avformat_alloc_context();
        if (openedBefore) {
            ASSERT_GE(avio_open(&context->pb, clip().c_str(), AVIO_FLAG_READ), 0);
        }
        ASSERT_EQ(avformat_open_input(&context, clip().c_str(), nullptr, nullptr), 0);
        ffmpeg::Input input(context);
        EXPECT_GT(openHandles(), before);
        input.reset();
        EXPECT_EQ(openHandles(), before) << openedBefore;
    }
}

TEST(FfmpegHandles, AnOutputClosesItsFileWhereItHasOne) {
    const test::TempDir dir;
    const std::string path = dir.file("clip.mp4").utf8_string();
    const long before = openHandles();
    AVFormatContext* context = nullptr;
    ASSERT_GE(avformat_alloc_output_context2(&context, nullptr, "mp4", path.c_str()), 0);
    ffmpeg::Output output(context);
    ASSERT_GE(avio_open(&context->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
    EXPECT_GT(openHandles(), before);
    output.reset();
    EXPECT_EQ(openHandles(), before);
    // One whose format opens files by itself, and one that has not come to have a format.
    ASSERT_GE(avformat_alloc_output_context2(&context, nullptr, "image2", "%d.jpg"), 0);
    output.reset(context);
    output.reset(avformat_alloc_context());
    output.reset();
    EXPECT_EQ(openHandles(), before);
}
