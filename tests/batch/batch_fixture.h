#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/media_probe.h"
#include "support/paths.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace batch_test {

namespace fs = std::filesystem;

/// Size of every clip used here.
constexpr int kWidth = 320;
constexpr int kHeight = 180;
/// Mosaic cell of the clips: 180 / 50.
constexpr int kCell = 3;

struct Rect {
    int x, y, w, h;
};

/// Frames of the wave clip.
constexpr int kWaveFrames = 60;

/// A clip of waves twelve pixels long, which a mosaic changes everywhere and which move from frame to frame.
inline std::string waveClip() {
    static const test::TempFolder folder;
    static const std::string path = [] {
        const std::string clip = folder.file("waves.mp4");
        test::outputOf("ffmpeg -f lavfi -i \"nullsrc=s=320x180:r=25,format=yuv420p,"
                       "geq=lum='126+90*sin(PI*X/6+N)*cos(PI*Y/6+N/2)':cb=128:cr=128\" -frames:v 60 "
                       "-c:v libx264 -crf 8 -bf 0 " +
                       test::quoted(wxString::FromUTF8(clip)));
        return clip;
    }();
    return path;
}

/// Grey pictures of a clip, decoded by the command-line tool.
class Pictures {
public:
    explicit Pictures(const std::string& path) : bytes_(test::decodeAll(wxString::FromUTF8(path), "gray")) {}

    int count() const { return static_cast<int>(bytes_.size() / kSize); }

    /// `frame` from 1.
    int at(int frame, int x, int y) const {
        return bytes_[static_cast<std::size_t>(frame - 1) * kSize + static_cast<std::size_t>(y * kWidth + x)];
    }

    /// Mean absolute difference of one frame of two clips inside a rectangle.
    static double difference(const Pictures& a, int frameA, const Pictures& b, int frameB, const Rect& rect) {
        double sum = 0;
        for (int y = rect.y; y < rect.y + rect.h; ++y)
            for (int x = rect.x; x < rect.x + rect.w; ++x)
                sum += std::abs(a.at(frameA, x, y) - b.at(frameB, x, y));
        return sum / (rect.w * rect.h);
    }

    /// Mean absolute difference from the mosaic of `source` inside a rectangle.
    static double differenceFromMosaic(const Pictures& a, const Pictures& source, int frame,
                                       const Rect& rect) {
        double sum = 0;
        for (int y = rect.y; y < rect.y + rect.h; ++y)
            for (int x = rect.x; x < rect.x + rect.w; ++x)
                sum += std::abs(a.at(frame, x, y) - source.at(frame, x / kCell * kCell, y / kCell * kCell));
        return sum / (rect.w * rect.h);
    }

private:
    static constexpr std::size_t kSize = std::size_t{kWidth} * kHeight;
    std::vector<uint8_t> bytes_;
};

/// Runs the real program in an empty folder of the test's own.
class BatchTest : public testing::Test {
protected:
    static std::string media(const std::string& name) { return test::mediaDir() + "/" + name; }

    test::ProcessStart start(const std::vector<std::string>& arguments) const {
        test::ProcessStart start;
        start.program = test::binDir() + "/tarvex_shroud_batch";
        start.arguments = arguments;
        start.folder = folder_.path().u8string();
        return start;
    }
    test::ProcessResult run(const std::vector<std::string>& arguments) const {
        return test::run(start(arguments));
    }
    /// Runs to success and says nothing.
    void expectSuccess(const std::vector<std::string>& arguments) const {
        const test::ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.output, "");
    }
    /// Fails with that one line and leaves the folder as it was.
    void expectFailure(const std::vector<std::string>& arguments, const std::string& line) const {
        const std::string before = folder_.listing();
        const test::ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.error, "tarvex_shroud_batch: " + line + "\n");
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(folder_.listing(), before);
    }

    test::TempFolder folder_;
};

} // namespace batch_test
