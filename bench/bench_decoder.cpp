/// Measures the pre-processing scan against the ffmpeg program, and exact seeks against plain decoding.

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>

#include <wx/init.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include "report.h"
#include "video_backend_ffmpeg.h"

namespace {

constexpr int kSeeks = 200;
constexpr unsigned kSeed = 20;

bool scanFile(const std::string& path) {
    Decoder_ffmpeg decoder;
    if (!decoder.open(wxString::FromUTF8(path)))
        return false;
    video::Progress progress;
    decoder.scan(progress);
    return progress.done > 0;
}

/// In processes of their own on both sides, so that start and end count for both.
bool measureScan(const bench::Options& options, const char* self, const std::string& path) {
    bench::Figure wall{"scan of 10 s 1080p30 H.264",    "s",  {}, {},
                       "ffmpeg -threads 1 -an -f null", 1.05, {}, ""};
    bench::Figure cpu{"scan, processor time", "s", {}, {}, wall.peerName, 1.05, {}, ""};
    for (int i = 0; i < options.repeat; ++i) {
        const bench::Cost ours = bench::run({self, "--scan-only", path});
        const bench::Cost peer =
            bench::run({"ffmpeg", "-nostdin", "-threads", "1", "-i", path, "-an", "-f", "null", "-"});
        if (!ours.succeeded || !peer.succeeded)
            return false;
        wall.ours.push_back(ours.wallSeconds);
        wall.peer.push_back(peer.wallSeconds);
        cpu.ours.push_back(ours.cpuSeconds);
        cpu.peer.push_back(peer.cpuSeconds);
    }
    bench::print(wall);
    bench::print(cpu);
    return true;
}

struct FormatCloser {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct PacketFreer {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

/// The packets of a file's video stream, numbered from 0 in the file's order.
class Packets {
public:
    explicit Packets(const std::string& path) : packet_(av_packet_alloc()) {
        AVFormatContext* opened = nullptr;
        if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0)
            return;
        format_.reset(opened);
        stream_ = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        while (read())
            dts_.push_back(packet_->dts);
    }

    int count() const { return static_cast<int>(dts_.size()); }

    /// The packet at which a seek back from the time stamp of packet `number` arrives.
    std::size_t landing(int number) {
        const int64_t wanted = number < 0 ? 0 : dts_[static_cast<std::size_t>(number)];
        if (av_seek_frame(format_.get(), stream_, wanted, AVSEEK_FLAG_BACKWARD) < 0 || !read())
            return 0;
        return static_cast<std::size_t>(std::lower_bound(dts_.begin(), dts_.end(), packet_->dts) -
                                        dts_.begin());
    }

private:
    bool read() {
        av_packet_unref(packet_.get());
        while (av_read_frame(format_.get(), packet_.get()) >= 0) {
            if (packet_->stream_index == stream_)
                return true;
            av_packet_unref(packet_.get());
        }
        return false;
    }

    std::unique_ptr<AVFormatContext, FormatCloser> format_;
    std::unique_ptr<AVPacket, PacketFreer> packet_;
    int stream_ = -1;
    std::vector<int64_t> dts_;
};

/// The cost of a seek is compared with what plain decoding takes for the very packets that the seek has to
/// decode: from the key packet at or before its landing frame up to the one that brings the target out. Both
/// run on one thread; its processor time is what counts.
bool measureSeek(const bench::Options& options, const std::string& path) {
    Packets packets(path);
    Decoder_ffmpeg decoder;
    if (packets.count() == 0 || !decoder.open(wxString::FromUTF8(path)))
        return false;
    video::Progress progress;
    decoder.scan(progress);
    video::VideoInfo info;
    const int frames = static_cast<int>(decoder.info(info).frameCount);
    const int held = packets.count() - frames;

    bench::Figure perFrame{"exact seek, per frame decoded", "ms", {}, {},
                           "plain decoding, per frame",     1.1,  {}, ""};
    bench::Figure median{"exact seek, median of 200", "x plain", {}, {}, "", {}, 1.1, ""};
    bench::Figure worst{
        "exact seek, worst of 200", "x plain", {}, {}, "", {}, 1.1, "each seek by the best of its repeats"};
    std::vector<double> bestRatios(kSeeks, std::numeric_limits<double>::infinity());
    bench::Figure absolute{"exact seek, mean", "ms", {}, {}, "", {}, {}, ""};
    for (int repeat = 0; repeat < options.repeat; ++repeat) {
        // upTo[p]: seconds of plain decoding for the first p packets.
        Decoder_ffmpeg plain;
        if (!plain.open(wxString::FromUTF8(path)))
            return false;
        std::vector<double> upTo{0};
        bool more = true;
        while (more) {
            const double took = bench::threadSeconds([&] { more = plain.next(); });
            if (!more)
                break;
            // The first picture comes out with the packets that are held from then on.
            const int sent = upTo.size() == 1 ? held + 1 : 1;
            for (int packet = 0; packet < sent; ++packet)
                upTo.push_back(upTo.back() + took / sent);
        }

        std::mt19937 random(kSeed);
        std::uniform_int_distribution<int> anyFrame(1, frames);
        std::vector<double> ratios;
        double seekTotal = 0, plainTotal = 0;
        std::size_t packetTotal = 0;
        for (int i = 0; i < kSeeks; ++i) {
            const int frame = anyFrame(random);
            bool found = false;
            const double took = bench::threadSeconds([&] { found = decoder.seek(frame) && decoder.next(); });
            if (!found)
                return false;
            // The index holds, for frame k, the packet that brings it out: k + held from 1.
            const int landingFrame = std::max(0, frame - info.gopSize - 1);
            const std::size_t first = packets.landing(landingFrame == 0 ? -1 : landingFrame + held - 1);
            const auto last = static_cast<std::size_t>(frame + held);
            const double expected = upTo[last] - upTo[first];
            ratios.push_back(took / expected);
            seekTotal += took;
            plainTotal += expected;
            packetTotal += last - first;
        }
        for (std::size_t i = 0; i < ratios.size(); ++i)
            bestRatios[i] = std::min(bestRatios[i], ratios[i]);
        std::sort(ratios.begin(), ratios.end());
        const auto decoded = static_cast<double>(packetTotal);
        perFrame.ours.push_back(1e3 * seekTotal / decoded);
        perFrame.peer.push_back(1e3 * plainTotal / decoded);
        median.ours.push_back(ratios[ratios.size() / 2]);
        absolute.ours.push_back(1e3 * seekTotal / kSeeks);
    }
    worst.ours.push_back(*std::max_element(bestRatios.begin(), bestRatios.end()));
    bench::print(perFrame);
    bench::print(median);
    bench::print(worst);
    bench::print(absolute);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    wxInitializer initializer;
    const bench::Options options = bench::parseOptions(argc, argv);
    if (options.rest.size() == 2 && options.rest[0] == "--scan-only")
        return scanFile(options.rest[1]) ? 0 : 1;
    const std::string clip = options.mediaDir + "/bench_1080p30.mp4";
    if (measureScan(options, argv[0], clip) && measureSeek(options, clip))
        return 0;
    std::fprintf(stderr, "%s can't be measured\n", clip.c_str());
    return 1;
}
