#include "videoplayer.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <wx/intl.h>
#include <wx/log.h>

#include "video_backend_ffmpeg.h"
#include "videoplayerthread.h"

namespace {

VideoPlayer::Pacing realTime() {
    return {[] { return std::chrono::steady_clock::now(); }, {}};
}

} // namespace

VideoPlayer::VideoPlayer(ISafeProgress* progress) : VideoPlayer(progress, realTime()) {}

VideoPlayer::VideoPlayer(ISafeProgress* progress, Pacing pacing)
    : thread_(std::make_unique<VideoPlayerThread>(progress, std::move(pacing))) {}

VideoPlayer::~VideoPlayer() {
    end();
}

void VideoPlayer::end() {
    if (!thread_)
        return;
    thread_->exitRequested.exchange(true);
    if (started_) {
        thread_->wake();
        thread_->Wait();
    }
    thread_.reset();
}

bool VideoPlayer::open(const wxString& path, wxString& error) {
    if (!canOpen())
        return false;
    auto decoder = std::make_shared<Decoder_ffmpeg>();
    decoder->setInterrupt(&thread_->exitRequested);
    decoder->setAbandonSeek(&thread_->newerSeekWaits);
    const bool opened = decoder->open(path);
    refusedContent_ = decoder->refusedContent();
    if (!opened) {
        error = decoder->lastError();
        return false;
    }
    thread_->setUnevenQuery(
        [raw = decoder.get()] { return raw->traits().variableRate || !raw->readError().empty(); });
    return open(std::move(decoder), error);
}

bool VideoPlayer::open(std::shared_ptr<video::Decoder> decoder, wxString& error) {
    if (!canOpen())
        return false;
    used_ = true;
    thread_->setDecoder(std::move(decoder));
    thread_->preprocessing = true;
    if (thread_->Run() == wxTHREAD_NO_ERROR) {
        started_ = true;
        return true;
    }
    thread_->preprocessing = false;
    thread_->setUnevenQuery({});
    thread_->setDecoder(nullptr);
    error = _("The playback thread could not be started.");
    return false;
}

void VideoPlayer::play(int fps) {
    if (!thread_)
        return;
    fps = std::max(fps, 1);
    wxLogMessage("[VideoPlayer] play %dfps", fps);
    thread_->post(playercommand::make(playercommand::kPlay, fps));
}

void VideoPlayer::stop() {
    if (!thread_)
        return;
    wxLogMessage("[VideoPlayer] stop");
    thread_->post(playercommand::make(playercommand::kStop));
    if (wxThread::This() == thread_.get())
        return;
    while (thread_->IsAlive() && thread_->playing)
        std::this_thread::yield();
}

void VideoPlayer::seek(int frame) {
    if (thread_)
        thread_->post(playercommand::make(playercommand::kSeek, frame));
}

bool VideoPlayer::isSeekPending() const {
    return thread_ && thread_->isSeekPending();
}

int64_t VideoPlayer::position() const {
    return thread_ ? thread_->position.load() : 0;
}

void VideoPlayer::setOnFrame(OnFrame callback) {
    if (thread_)
        thread_->onFrame.set(std::move(callback));
}

void VideoPlayer::setOnState(OnState callback) {
    if (thread_)
        thread_->onState.set(std::move(callback));
}

void VideoPlayer::setOnReady(OnReady callback) {
    if (thread_)
        thread_->onReady.set(std::move(callback));
}

bool VideoPlayer::isRunning() const {
    return thread_ && thread_->IsAlive();
}

bool VideoPlayer::isPlaying() const {
    return thread_ && thread_->playing;
}

bool VideoPlayer::isPreprocessing() const {
    return thread_ && thread_->preprocessing;
}

video::VideoInfo VideoPlayer::info() const {
    return thread_ ? thread_->info() : video::VideoInfo();
}

bool VideoPlayer::isUneven() const {
    return thread_ && thread_->isUneven();
}
