#include "decodeahead.h"

#include <utility>

DecodeAhead::DecodeAhead(std::shared_ptr<video::Decoder> decoder, int32_t width, int32_t height,
                         std::atomic<bool>& stop)
    : decoder_(std::move(decoder)), stop_(stop), ring_(kDepth) {
    for (Picture& picture : ring_)
        picture.image = pxl::Image(width, height);
    thread_ = std::thread(&DecodeAhead::run, this);
}

DecodeAhead::~DecodeAhead() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    roomOrStop_.notify_one();
    thread_.join();
}

const DecodeAhead::Picture* DecodeAhead::next() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (std::exchange(inUse_, false)) {
        ++taken_;
        roomOrStop_.notify_one();
    }
    pictureOrEnd_.wait(lock, [this] { return decoded_ != taken_ || ended_; });
    if (decoded_ == taken_) {
        if (error_)
            std::rethrow_exception(std::exchange(error_, nullptr));
        return nullptr;
    }
    inUse_ = true;
    return &ring_[taken_ % ring_.size()];
}

void DecodeAhead::run() {
    try {
        while (waitForRoom() && decodeInto(ring_[decoded_ % ring_.size()]))
            publish();
        end(nullptr);
    } catch (...) {
        end(std::current_exception());
    }
}

bool DecodeAhead::decodeInto(Picture& picture) {
    if (!decoder_->next())
        return false;
    picture.converted = decoder_->convert(picture.image);
    picture.frameIndex = decoder_->frameIndex();
    return true;
}

bool DecodeAhead::waitForRoom() {
    std::unique_lock<std::mutex> lock(mutex_);
    roomOrStop_.wait(lock, [this] { return stop_ || decoded_ - taken_ < ring_.size(); });
    return !stop_;
}

void DecodeAhead::publish() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++decoded_;
    }
    pictureOrEnd_.notify_one();
}

void DecodeAhead::end(std::exception_ptr error) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        error_ = std::move(error);
        ended_ = true;
    }
    pictureOrEnd_.notify_one();
}
