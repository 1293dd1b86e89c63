/// Measures playback at the video's own rate, and a burst of seeks against one bare seek.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <random>
#include <thread>

#include <wx/init.h>
#include <wx/log.h>

#include "report.h"
#include "videoplayer.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kSeed = 32;
constexpr int kBursts = 15;
constexpr int kSeeksPerBurst = 20;

class NoProgress : public ISafeProgress {
public:
    void start(const wxString&, const wxString&, int32_t) override {}
    void update(int32_t, const wxString&) override {}
    void finish() override {}
};

/// A player that is ready, and when its frames came.
class Viewer {
public:
    explicit Viewer(const std::string& path) : player_(&progress_) {
        player_.setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
            const std::lock_guard<std::mutex> lock(mutex_);
            arrivals_.push_back(Clock::now());
            last_ = frame->index;
            changed_.notify_all();
        });
        player_.setOnState([this](PlayState state) {
            const std::lock_guard<std::mutex> lock(mutex_);
            state_ = state;
            changed_.notify_all();
        });
        player_.setOnReady([this] {
            const std::lock_guard<std::mutex> lock(mutex_);
            ready_ = true;
            changed_.notify_all();
        });
        wxString error;
        open_ = player_.open(wxString::FromUTF8(path), error) && wait([this] { return ready_; });
    }

    bool isOpen() const { return open_ && player_.info().frameCount > 0; }
    VideoPlayer& player() { return player_; }
    bool waitForFrame(int64_t frame) {
        return wait([&] { return last_ == frame && state_ == Stopped; });
    }
    bool waitForEndOfPlaying() {
        return wait([this] { return state_ == Playing; }) && wait([this] { return state_ == Stopped; });
    }
    /// Forgets earlier arrivals.
    void clear() {
        const std::lock_guard<std::mutex> lock(mutex_);
        arrivals_.clear();
        last_ = 0;
    }
    std::vector<Clock::time_point> arrivals() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return arrivals_;
    }

private:
    template <class Condition>
    bool wait(Condition condition) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::minutes(1), condition);
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Clock::time_point> arrivals_;
    int64_t last_ = 0;
    PlayState state_ = Stopped;
    bool ready_ = false;
    bool open_ = false;
    NoProgress progress_;
    VideoPlayer player_;
};

double processSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double secondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

bool measurePlayback(const bench::Options& options, const std::string& path) {
    constexpr double kPeriod = 1.0 / 30;
    bench::Figure gap{"1080p30 playback, time per delivered frame",
                      "ms",
                      {},
                      {},
                      "",
                      {},
                      33.8,
                      "30 per second ask for 33 ms and what the wake-up takes"};
    bench::Figure late{"1080p30 playback, late frames",        "%", {}, {}, "", {}, 0.0,
                       "more than one period after their time"};
    bench::Figure cpu{"1080p30 playback, share of one core",        "%", {}, {}, "", {}, 60.0,
                      "decoding and conversion, the process's time"};
    for (int i = 0; i < options.repeat; ++i) {
        Viewer viewer(path);
        if (!viewer.isOpen())
            return false;
        viewer.player().seek(1);
        if (!viewer.waitForFrame(1))
            return false;
        viewer.clear();
        const double cpuBefore = processSeconds();
        const auto before = Clock::now();
        viewer.player().play(30);
        if (!viewer.waitForEndOfPlaying())
            return false;
        const double wall = secondsBetween(before, Clock::now());
        const double used = processSeconds() - cpuBefore;
        const auto arrivals = viewer.arrivals();
        if (arrivals.size() < 2)
            return false;
        int lateFrames = 0;
        for (std::size_t k = 1; k < arrivals.size(); ++k)
            lateFrames += secondsBetween(arrivals[k - 1], arrivals[k]) > 2 * kPeriod ? 1 : 0;
        const auto frames = static_cast<double>(arrivals.size() - 1);
        gap.ours.push_back(1e3 * secondsBetween(arrivals.front(), arrivals.back()) / frames);
        late.ours.push_back(100.0 * lateFrames / frames);
        cpu.ours.push_back(100.0 * used / wall);
    }
    bench::print(gap);
    bench::print(late);
    bench::print(cpu);
    return true;
}

/// Milliseconds from the last of `frames` to its picture; the others come before it, `apart` one from the
/// next.
double seekMilliseconds(Viewer& viewer, const std::vector<int>& frames, std::chrono::milliseconds apart) {
    viewer.clear();
    for (std::size_t i = 0; i + 1 < frames.size(); ++i) {
        viewer.player().seek(frames[i]);
        if (apart.count() > 0)
            std::this_thread::sleep_for(apart);
    }
    const auto before = Clock::now();
    viewer.player().seek(frames.back());
    if (!viewer.waitForFrame(frames.back()))
        return -1;
    return 1e3 * secondsBetween(before, viewer.arrivals().back());
}

bool measureScrub(const bench::Options& options, const std::string& path, std::chrono::milliseconds apart) {
    const char* const name = apart.count() > 0 ? "scrub: last of 20 seeks at mouse speed to its picture"
                                               : "scrub: last of 20 seeks at once to its picture";
    bench::Figure scrub{
        name, "ms", {}, {}, "one bare seek", 1.2, {}, "the same 15 frames on both sides, in turns"};
    Viewer viewer(path);
    if (!viewer.isOpen())
        return false;
    for (int i = 0; i < options.repeat; ++i) {
        std::mt19937 random(kSeed);
        std::uniform_int_distribution<int> anyFrame(1, static_cast<int>(viewer.player().info().frameCount));
        double burst = 0;
        double bare = 0;
        for (int k = 0; k < kBursts; ++k) {
            std::vector<int> frames(kSeeksPerBurst);
            std::generate(frames.begin(), frames.end(), [&] { return anyFrame(random); });
            const double alone = seekMilliseconds(viewer, {frames.back()}, apart);
            const double crowded = seekMilliseconds(viewer, frames, apart);
            if (alone < 0 || crowded < 0)
                return false;
            bare += alone;
            burst += crowded;
        }
        scrub.ours.push_back(burst / kBursts);
        scrub.peer.push_back(bare / kBursts);
    }
    bench::print(scrub);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const wxInitializer initializer;
    const wxLogNull quiet;
    const bench::Options options = bench::parseOptions(argc, argv);
    const std::string clip = options.mediaDir + "/bench_1080p30.mp4";
    if (measureScrub(options, clip, std::chrono::milliseconds(0)) &&
        measureScrub(options, clip, std::chrono::milliseconds(8)) && measurePlayback(options, clip))
        return 0;
    std::fprintf(stderr, "%s can't be measured\n", clip.c_str());
    return 1;
}
