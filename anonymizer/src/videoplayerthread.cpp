#include "videoplayerthread.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <utility>

#include <wx/intl.h>
#include <wx/log.h>

namespace {

constexpr unsigned long kWaitMilliseconds = 200;
constexpr int64_t kFramesPerReport = 100;

int64_t elapsedMilliseconds(std::chrono::steady_clock::duration elapsed) {
    using namespace std::chrono;
    return duration_cast<milliseconds>(duration_cast<microseconds>(elapsed)).count();
}

} // namespace

VideoPlayerThread::VideoPlayerThread(ISafeProgress* progress, VideoPlayer::Pacing pacing)
    : wxThread(wxTHREAD_JOINABLE), progress_(progress), pacing_(std::move(pacing)) {
    wxLogMessage("[VideoPlayerThread] created");
}

VideoPlayerThread::~VideoPlayerThread() {
    wxLogMessage("[VideoPlayerThread] destroyed");
}

void VideoPlayerThread::setDecoder(std::shared_ptr<video::Decoder> decoder) {
    decoder_ = std::move(decoder);
}

void VideoPlayerThread::setUnevenQuery(std::function<bool()> query) {
    unevenQuery_ = std::move(query);
}

void VideoPlayerThread::post(playercommand::Command command) {
    if (!IsAlive())
        return;
    const std::lock_guard<std::mutex> lock(queueMutex_);
    queue_.push_back(command);
    newerSeekWaits = seeking_ && seekIsNext();
    queueSignal_.Post();
    periodCut_.notify_all();
}

bool VideoPlayerThread::isSeekPending() const {
    const std::lock_guard<std::mutex> lock(queueMutex_);
    return servingSeek_ || std::any_of(queue_.begin(), queue_.end(), [](playercommand::Command command) {
               return playercommand::type(command) == playercommand::kSeek;
           });
}

bool VideoPlayerThread::seekIsNext() const {
    return !queue_.empty() && playercommand::type(queue_.front()) == playercommand::kSeek;
}

void VideoPlayerThread::setSeeking(bool seeking) {
    const std::lock_guard<std::mutex> lock(queueMutex_);
    seeking_ = seeking;
    newerSeekWaits = seeking_ && seekIsNext();
}

void VideoPlayerThread::wake() {
    queueSignal_.Post();
    // Under the lock, or a wait that has just looked at exitRequested would miss it.
    const std::lock_guard<std::mutex> lock(queueMutex_);
    periodCut_.notify_all();
}

video::VideoInfo VideoPlayerThread::info() const {
    const std::lock_guard<std::mutex> lock(infoMutex_);
    return info_;
}

bool VideoPlayerThread::isUneven() const {
    const std::lock_guard<std::mutex> lock(infoMutex_);
    return uneven_;
}

wxThread::ExitCode VideoPlayerThread::Entry() {
    preprocessing = true;
    preProcess();
    preprocessing = false;
    while (!exitRequested)
        serveNextCommand();
    decoder_->close();
    return nullptr;
}

void VideoPlayerThread::preProcess() {
    video::VideoInfo info;
    decoder_->info(info);
    progress_->start(_("Please wait"), wxString::Format(_("Pre-processing %s"), info.path),
                     progressValue(info.frameCount));
    video::Progress scan;
    int64_t calls = 0;
    scan.onProgress = [&] {
        if (calls % kFramesPerReport == 0)
            progress_->update(progressValue(scan.done), wxString());
        ++calls;
        scan.stop = exitRequested;
    };
    decoder_->scan(scan);
    progress_->finish();
    if (exitRequested)
        return;

    decoder_->info(info);
    width_ = info.width;
    height_ = info.height;
    const bool uneven = unevenQuery_ && unevenQuery_();
    {
        const std::lock_guard<std::mutex> lock(infoMutex_);
        info_ = info;
        uneven_ = uneven;
    }
    onReady.call();
}

void VideoPlayerThread::serveNextCommand() {
    setState(Stopped);
    endOfSeek();
    if (!waitForCommand())
        return;

    playercommand::Command command;
    int skipped = 0;
    {
        const std::lock_guard<std::mutex> lock(queueMutex_);
        if (queue_.empty())
            return;
        command = queue_.front();
        queue_.pop_front();
        while (playercommand::type(command) == playercommand::kSeek && seekIsNext()) {
            command = queue_.front();
            queue_.pop_front();
            ++skipped;
        }
        servingSeek_ = playercommand::type(command) == playercommand::kSeek;
    }
    if (skipped > 0)
        wxLogMessage("[VideoPlayerThread] So many seeks, skipping %d", skipped);

    switch (playercommand::type(command)) {
    case playercommand::kSeek:
        seek(playercommand::argument(command));
        break;
    case playercommand::kPlay:
        playLoop(playercommand::argument(command));
        break;
    case playercommand::kStop:
        wxLogMessage("[VideoPlayerThread] Stop");
        break;
    default:
        break;
    }
}

bool VideoPlayerThread::waitForCommand() {
    if (pacing_.idle)
        return pacing_.idle(queueSignal_, kWaitMilliseconds);
    return queueSignal_.WaitTimeout(kWaitMilliseconds) == wxSEMA_NO_ERROR;
}

void VideoPlayerThread::seek(int frame) {
    wxLogMessage("[VideoPlayerThread] Seek to frame %d", frame);
    setState(Seeking);
    setSeeking(true);
    position = 0;
    const bool decoded = decoder_->seek(frame) && decodeNext();
    setSeeking(false);
    if (!decoded)
        return;
    {
        const std::lock_guard<std::mutex> lock(queueMutex_);
        if (seekIsNext()) {
            queueSignal_.Post();
            return;
        }
    }
    deliver();
}

void VideoPlayerThread::endOfSeek() {
    const std::lock_guard<std::mutex> lock(queueMutex_);
    servingSeek_ = false;
}

void VideoPlayerThread::playLoop(int fps) {
    wxLogMessage("[VideoPlayerThread] Play");
    playing = true;
    setState(Playing);
    while (!exitRequested) {
        const auto begin = pacing_.now();
        if (!mayPlayOn(fps) || !decodeNext())
            break;
        deliver();
        const int64_t period = 1000 / std::max(fps, 1);
        const int64_t elapsed = elapsedMilliseconds(pacing_.now() - begin);
        if (elapsed < period)
            waitForNextFrame(period - elapsed);
    }
    // Whatever ended the loop: VideoPlayer::stop spins on this.
    playing = false;
}

bool VideoPlayerThread::decodeNext() {
    const bool decoded = decoder_->next();
    position = decoded ? decoder_->frameIndex() : 0;
    return decoded;
}

void VideoPlayerThread::waitForNextFrame(int64_t milliseconds) {
    if (pacing_.sleep) {
        pacing_.sleep(milliseconds);
        return;
    }
    std::unique_lock<std::mutex> lock(queueMutex_);
    // A new rate waits for the next frame; whoever ends playing waits for this thread.
    periodCut_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] {
        return exitRequested || std::any_of(queue_.begin(), queue_.end(), [](playercommand::Command command) {
                   return playercommand::type(command) != playercommand::kPlay;
               });
    });
}

bool VideoPlayerThread::mayPlayOn(int& fps) {
    {
        const std::lock_guard<std::mutex> lock(queueMutex_);
        if (queue_.empty())
            return true;
        const playercommand::Command command = queue_.front();
        if (playercommand::type(command) == playercommand::kPlay) {
            queue_.pop_front();
            fps = playercommand::argument(command);
            return true;
        }
        if (playercommand::type(command) != playercommand::kStop)
            return false;
        queue_.pop_front();
    }
    wxLogMessage("[VideoPlayerThread] Stop Play");
    return false;
}

void VideoPlayerThread::deliver() {
    if (auto frame = convertedFrame())
        onFrame.call(std::move(frame));
}

std::shared_ptr<VideoPlayer::Frame> VideoPlayerThread::convertedFrame() {
    try {
        auto frame = std::make_shared<VideoPlayer::Frame>();
        frame->image = pxl::Image(width_, height_);
        if (frame->image.empty())
            return nullptr;
        std::memset(frame->image.pixels, 0, frame->image.byteCount());
        if (!decoder_->convert(frame->image))
            return nullptr;
        frame->index = decoder_->frameIndex();
        return frame;
    } catch (const std::bad_alloc&) {
        // Otherwise a picture would stand still for no reason.
        wxLogError("[VideoPlayerThread] No memory for a frame of %d x %d", width_, height_);
        return nullptr;
    }
}

void VideoPlayerThread::setState(PlayState state) {
    if (state_ == state)
        return;
    state_ = state;
    onState.call(state);
}
