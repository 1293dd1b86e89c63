// Opens one large video as the player does and prints what it costs; README.md.
// usage: large_measure VIDEO [RECTANGLES FRAMES]    RECTANGLES on each of the first FRAMES frames, too

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>
#include <wx/init.h>
#include <wx/log.h>

#include "blurprocessors.h"
#include "blurtrack.h"
#include "video_backend_ffmpeg.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Resident MiB.
double memory() {
    malloc_trim(0);
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / (1 << 20);
}

/// Seeks to `count` frames from `first` on, `step` apart.
void measureSeeks(Decoder_ffmpeg& decoder, const char* where, int64_t first, int64_t step, int count) {
    video::VideoInfo info;
    decoder.info(info);
    pxl::Image image(info.width, info.height);
    std::vector<double> times;
    int wrong = 0;
    for (int i = 0; i < count; ++i) {
        const int64_t frame = std::clamp<int64_t>(first + i * step, 1, info.frameCount);
        const auto start = Clock::now();
        const bool found = decoder.seek(static_cast<int>(frame)) && decoder.next() && decoder.convert(image);
        times.push_back(secondsSince(start) * 1000);
        if (!found || decoder.frameIndex() != frame)
            ++wrong;
    }
    std::sort(times.begin(), times.end());
    std::printf("seek at the %-7s %8.1f ms median, %8.1f ms worst, %d of %d wrong\n", where,
                times[times.size() / 2], times.back(), wrong, count);
}

/// What the playback thread does for each of up to `count` frames but waiting and handing it on.
void measurePlayback(Decoder_ffmpeg& decoder, int count) {
    video::VideoInfo info;
    decoder.info(info);
    std::vector<double> times;
    bool playing = decoder.seek(1);
    while (playing && static_cast<int>(times.size()) < count) {
        const auto start = Clock::now();
        pxl::Image image(info.width, info.height);
        playing = decoder.next() && decoder.convert(image);
        if (playing)
            times.push_back(secondsSince(start) * 1000);
    }
    if (times.empty())
        return;
    std::sort(times.begin(), times.end());
    std::printf("play %8zu frames    %8.1f ms median, %8.1f ms worst, a frame lasts %.1f ms\n", times.size(),
                times[times.size() / 2], times.back(), 1000 / info.fps);
}

void measureStore(const video::VideoInfo& info, int rectangles, int64_t frames) {
    const std::unique_lock<std::mutex> lock(blurtrack::store().mutex);
    const double before = memory();
    auto start = Clock::now();
    for (int64_t frame = 1; frame <= std::min(frames, info.frameCount); ++frame)
        for (int i = 0; i < rectangles; ++i)
            blurtrack::addBlur(frame, {static_cast<float>(i), static_cast<float>(i), 40, 40}, 100,
                               blurtrack::kAnonymousBlurId);
    std::printf("%d rectangles on %lld frames  %8.2f s, %8.1f MiB\n", rectangles,
                static_cast<long long>(frames), secondsSince(start), memory() - before);
}

void measureProcessor(const video::VideoInfo& info) {
    const pxl::Image image(info.width, info.height);
    Frameblur processor;
    processor.process(image, 1, 50);
    constexpr int kRounds = 20;
    const auto start = Clock::now();
    for (int i = 0; i < kRounds; ++i)
        processor.process(image, 1, 50);
    std::printf("anonymise frame 1       %8.1f ms\n", secondsSince(start) * 1000 / kRounds);
}

} // namespace

int main(int argc, char** argv) {
    const wxInitializer library;
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    wxLog::SetLogLevel(wxLOG_FatalError);
    if (argc != 2 && argc != 4)
        return 2;
    const double atStart = memory();
    Decoder_ffmpeg decoder;
    auto start = Clock::now();
    if (!decoder.open(wxString::FromUTF8(argv[1]))) {
        std::fprintf(stderr, "%s\n", decoder.lastError().utf8_string().c_str());
        return 1;
    }
    const double opened = memory();
    std::printf("open                    %8.3f s, %8.1f MiB\n", secondsSince(start), opened - atStart);
    start = Clock::now();
    video::Progress progress;
    decoder.scan(progress);
    video::VideoInfo info;
    decoder.info(info);
    const double scan = secondsSince(start);
    std::printf("scan %8lld frames    %8.2f s, %8.1f MiB, %8.0f frames/s\n",
                static_cast<long long>(info.frameCount), scan, memory() - opened,
                static_cast<double>(info.frameCount) / scan);
    measureSeeks(decoder, "start", 1, 7, 20);
    measureSeeks(decoder, "middle", info.frameCount / 2, 7, 20);
    measureSeeks(decoder, "end", info.frameCount - 140, 7, 20);
    measurePlayback(decoder, 300);

    const double before = memory();
    start = Clock::now();
    {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        blurtrack::initFrames(info.frameCount);
    }
    std::printf("empty store             %8.3f s, %8.1f MiB\n", secondsSince(start), memory() - before);
    if (argc == 4)
        measureStore(info, std::atoi(argv[2]), std::atoll(argv[3]));
    measureProcessor(info);
    start = Clock::now();
    const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
    blurtrack::clear();
    std::printf("clear the store         %8.3f s\n", secondsSince(start));
    return 0;
}
