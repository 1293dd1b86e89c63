#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/mp4_boxes.h"

/// Judges an export by its pixels, frame by frame, both files decoded by the ffmpeg program.
/// usage: judge_export SOURCE EXPORT WIDTH HEIGHT CELL blur|unblur RECTANGLES
///
/// Names every fault of the export's boxes too: whatever a file must not hold but its one video track.
///
/// RECTANGLES is a text file with a line "FRAME X Y W H" for each rectangle, frames from 1. In blur mode the
/// rectangles must be hidden and all else clear, in unblur mode the other way round. Says the worst figures,
/// in grey levels, and every cell that is wrong; ends with 1 when there is one. CELL is even.
///
/// Each cell of the mosaic is judged by the part of it that must be hidden and the part that must be clear.
/// What is hidden has one colour, that of the cell's top-left pixel, and nothing of what was there; what is
/// clear is like the source.
namespace {

/// Mean differences, in grey levels. The codec's own loss stays below kNear.
constexpr double kNear = 12.0;
constexpr double kFlat = 12.0;
/// A part with this contrast to its mosaic tells one from the other.
constexpr double kTelling = 20.0;
/// Fewer samples are not judged: the codec blends them with what lies around.
constexpr int kFewest = 36;

using Plane = std::vector<uint8_t>;

struct Rect {
    int x, y, w, h;
};

class Pictures {
public:
    Pictures(const std::string& path, int width, int height)
        : size_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
          pipe_(popen(("ffmpeg -nostdin -loglevel error -i '" + path +
                       "' -an -f rawvideo -pix_fmt yuv420p -fps_mode passthrough pipe:1")
                          .c_str(),
                      "r")) {}

    /// Luma and both chroma planes of the next frame.
    bool next(std::vector<Plane>& planes) {
        planes = {Plane(size_), Plane(size_ / 4), Plane(size_ / 4)};
        return std::all_of(planes.begin(), planes.end(), [this](Plane& plane) {
            return std::fread(plane.data(), 1, plane.size(), pipe_.get()) == plane.size();
        });
    }

private:
    struct Close {
        void operator()(std::FILE* pipe) const { pclose(pipe); }
    };
    std::size_t size_;
    std::unique_ptr<std::FILE, Close> pipe_;
};

/// What is found in the part of one cell.
struct Part {
    int count = 0;
    double fromSource = 0;
    double fromMosaic = 0;
    double spread = 0;
    /// Of the source to its mosaic.
    double contrast = 0;
};

struct Worst {
    double clear = 0;
    double mosaic = 0;
    double spread = 0;
    int64_t clearParts = 0;
    int64_t hiddenParts = 0;
    int64_t tellingParts = 0;
};

class Judge {
public:
    Judge(int width, int height, int cell, bool isUnblur)
        : width_(width), height_(height), cell_(cell), isUnblur_(isUnblur) {}

    void judge(int frame, const std::vector<Plane>& source, const std::vector<Plane>& result,
               const std::vector<Rect>& rectangles) {
        std::vector<uint8_t> hidden(static_cast<std::size_t>(width_ * height_), isUnblur_);
        for (const Rect& rect : rectangles)
            for (int y = std::max(rect.y, 0); y < std::min(rect.y + rect.h, height_); ++y)
                for (int x = std::max(rect.x, 0); x < std::min(rect.x + rect.w, width_); ++x)
                    hidden[static_cast<std::size_t>(y * width_ + x)] = !isUnblur_;
        for (int y = 0; y < height_; y += cell_)
            for (int x = 0; x < width_; x += cell_)
                for (const bool isHidden : {false, true}) {
                    judgeLuma(frame, x, y, isHidden, partOf(source[0], result[0], hidden, x, y, isHidden));
                    if (isHidden)
                        for (const int plane : {1, 2})
                            judgeChroma(frame, x, y, plane, result[static_cast<std::size_t>(plane)], hidden);
                }
    }

    bool report() const {
        std::printf("clear parts %lld, mean difference from the source at most %.1f\n",
                    static_cast<long long>(worst_.clearParts), worst_.clear);
        std::printf("hidden parts %lld (%lld telling), from the mosaic at most %.1f, spread at most %.1f\n",
                    static_cast<long long>(worst_.hiddenParts), static_cast<long long>(worst_.tellingParts),
                    worst_.mosaic, worst_.spread);
        std::printf("wrong parts %lld\n", static_cast<long long>(wrong_));
        return wrong_ == 0;
    }

private:
    Part partOf(const Plane& source, const Plane& result, const std::vector<uint8_t>& hidden, int left,
                int top, bool isHidden) const {
        Part part;
        const int sample = source[static_cast<std::size_t>(top * width_ + left)];
        double sum = 0;
        double squares = 0;
        for (int y = top; y < std::min(top + cell_, height_); ++y)
            for (int x = left; x < std::min(left + cell_, width_); ++x) {
                const auto at = static_cast<std::size_t>(y * width_ + x);
                if (static_cast<bool>(hidden[at]) != isHidden)
                    continue;
                ++part.count;
                sum += result[at];
                squares += result[at] * result[at];
                part.fromSource += std::abs(result[at] - source[at]);
                part.fromMosaic += std::abs(result[at] - sample);
                part.contrast += std::abs(source[at] - sample);
            }
        if (part.count > 0) {
            for (double* mean : {&part.fromSource, &part.fromMosaic, &part.contrast, &sum, &squares})
                *mean /= part.count;
            part.spread = std::sqrt(std::max(squares - sum * sum, 0.0));
        }
        return part;
    }

    void judgeLuma(int frame, int x, int y, bool isHidden, const Part& part) {
        if (part.count < kFewest)
            return;
        if (!isHidden) {
            ++worst_.clearParts;
            worst_.clear = std::max(worst_.clear, part.fromSource);
            if (part.fromSource > kNear)
                complain(frame, x, y, "is not clear", part);
            return;
        }
        ++worst_.hiddenParts;
        worst_.mosaic = std::max(worst_.mosaic, part.fromMosaic);
        worst_.spread = std::max(worst_.spread, part.spread);
        if (part.fromMosaic > kNear || part.spread > kFlat)
            complain(frame, x, y, "is not of one colour", part);
        if (part.contrast < kTelling)
            return;
        ++worst_.tellingParts;
        if (part.fromSource < part.contrast / 2)
            complain(frame, x, y, "shows what was there", part);
    }

    /// The chroma samples whose four pixels are all hidden.
    void judgeChroma(int frame, int left, int top, int plane, const Plane& result,
                     const std::vector<uint8_t>& hidden) {
        int count = 0;
        double sum = 0;
        double squares = 0;
        for (int y = top; y < std::min(top + cell_, height_); y += 2)
            for (int x = left; x < std::min(left + cell_, width_); x += 2) {
                const auto at = static_cast<std::size_t>(y * width_ + x);
                const auto below = at + static_cast<std::size_t>(width_);
                if (!hidden[at] || !hidden[at + 1] || !hidden[below] || !hidden[below + 1])
                    continue;
                const int value = result[static_cast<std::size_t>(y / 2 * (width_ / 2) + x / 2)];
                ++count;
                sum += value;
                squares += value * value;
            }
        if (count < kFewest / 4)
            return;
        const double spread = std::sqrt(std::max(squares / count - sum / count * (sum / count), 0.0));
        worst_.spread = std::max(worst_.spread, spread);
        if (spread <= kFlat)
            return;
        ++wrong_;
        std::printf("frame %d, cell at %d, %d: chroma plane %d is not of one colour, spread %.1f\n", frame,
                    left, top, plane, spread);
    }

    void complain(int frame, int x, int y, const char* what, const Part& part) {
        if (++wrong_ > 40)
            return;
        std::printf(
            "frame %d, cell at %d, %d (%d pixels) %s: from source %.1f, from mosaic %.1f, spread %.1f, "
            "contrast %.1f\n",
            frame, x, y, part.count, what, part.fromSource, part.fromMosaic, part.spread, part.contrast);
    }

    int width_, height_, cell_;
    bool isUnblur_;
    Worst worst_;
    int64_t wrong_ = 0;
};

std::map<int, std::vector<Rect>> readRectangles(const std::string& path) {
    std::map<int, std::vector<Rect>> rectangles;
    std::ifstream file(path);
    int frame = 0;
    for (Rect rect{}; file >> frame >> rect.x >> rect.y >> rect.w >> rect.h;)
        rectangles[frame].push_back(rect);
    return rectangles;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 8)
        return 2;
    const int width = std::atoi(argv[3]);
    const int height = std::atoi(argv[4]);
    auto rectangles = readRectangles(argv[7]);
    Judge judge(width, height, std::atoi(argv[5]), argv[6] == std::string("unblur"));
    Pictures sources(argv[1], width, height);
    Pictures results(argv[2], width, height);

    int frames = 0;
    std::vector<Plane> source;
    std::vector<Plane> result;
    bool hasSource = sources.next(source);
    bool hasResult = results.next(result);
    for (; hasSource && hasResult; hasSource = sources.next(source), hasResult = results.next(result)) {
        ++frames;
        judge.judge(frames, source, result, rectangles[frames]);
    }
    std::printf("frames %d\n", frames);
    const bool isRight = judge.report();
    if (hasSource != hasResult)
        std::printf("one of the files has more frames\n");
    const std::vector<std::string> faults = test::privacyFaults(argv[2]);
    for (const std::string& fault : faults)
        std::printf("privacy: %s\n", fault.c_str());
    return frames > 0 && isRight && hasSource == hasResult && faults.empty() ? 0 : 1;
}
