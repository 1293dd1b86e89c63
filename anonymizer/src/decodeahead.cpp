#include "decodeahead.h"

#include <utility>

DecodeAhead::DecodeAhead(std::shared_ptr<video::Decoder> decoder, int32_t width, int32_t height,
                         std::atomic<bool>& stop)
    : decoder_(std::move(decoder)), stop_(stop) {
    picture_.image = pxl::Image(width, height);
    thread_ = std::thread(&DecodeAhead::run, this);
}

DecodeAhead::~DecodeAhead() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        dropped_ = true;
        stop_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void DecodeAhead::release() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (state_ != State::InUse)
            return;
        state_ = State::Free;
    }
    changed_.notify_one();
}

const DecodeAhead::Picture* DecodeAhead::next() {
    release();
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return state_ != State::Free; });
    if (state_ == State::Ended) {
        if (error_)
            std::rethrow_exception(std::exchange(error_, nullptr));
        return nullptr;
    }
    state_ = State::InUse;
    return &picture_;
}

void DecodeAhead::run() {
    try {
        while (decoder_->next() && waitUntilFree()) {
            picture_.converted = decoder_->convert(picture_.image);
            picture_.frameIndex = decoder_->frameIndex();
            become(State::Ready);
        }
    } catch (...) {
        const std::lock_guard<std::mutex> lock(mutex_);
        error_ = std::current_exception();
    }
    // The last picture is taken before the end is told.
    if (waitUntilFree())
        become(State::Ended);
}

/// False when the stage is being destroyed.
bool DecodeAhead::waitUntilFree() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return dropped_ || state_ == State::Free; });
    return !dropped_;
}

void DecodeAhead::become(State state) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        state_ = state;
    }
    changed_.notify_one();
}
