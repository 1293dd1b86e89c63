#include <random>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"
#include "support/log_capture.h"
#include "support/temp_folder.h"

namespace {

constexpr int kVariants = 60;
constexpr unsigned kSeed = 7;

class DamagedHeader : public testing::TestWithParam<std::string> {};

/// Sizes, rates, counts and tables of the container get random values.
TEST_P(DamagedHeader, NeitherCrashesNorHangsTheDecoder) {
    const test::LogCapture log;
    const test::TempFolder folder;
    const std::string whole = test::readFile(test::mediaDir() + "/" + GetParam());
    const std::size_t header = whole.find("moov");
    ASSERT_NE(header, std::string::npos);

    std::mt19937 random(kSeed);
    std::uniform_int_distribution<std::size_t> anyPlace(header + 4, whole.size() - 1);
    std::uniform_int_distribution<int> anyByte(0, 255);
    pxl::Image image(64, 36);
    for (int variant = 0; variant < kVariants; ++variant) {
        std::string bytes = whole;
        for (int change = 0; change < 1 + variant % 8; ++change)
            bytes[anyPlace(random)] = static_cast<char>(anyByte(random));
        const wxString path = wxString::FromUTF8(folder.write("damaged.mp4", bytes));

        Decoder_ffmpeg decoder;
        if (!decoder.open(path))
            continue;
        const int64_t frames = test::scanAll(decoder);
        EXPECT_EQ(test::frameCount(decoder), frames);
        EXPECT_FALSE(decoder.seek(static_cast<int>(frames) + 1));
        for (const int64_t frame : {frames, frames / 2, int64_t{1}})
            if (decoder.seek(static_cast<int>(frame)) && decoder.next())
                decoder.convert(image);
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, DamagedHeader,
                         testing::Values("one_frame.mp4", "two_frames.mp4", "fps_90000.mp4", "edit_list.mp4"),
                         [](const testing::TestParamInfo<std::string>& clip) {
                             return clip.param.substr(0, clip.param.find('.'));
                         });

} // namespace
