#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

#include "pxl/image.h"
#include "video_backend.h"

/// Decodes a video from where the decoder stands to its end, on a thread of its own, one picture ahead of the
/// one who asks for them: while a picture is in use, the next is decoded already, and converted as soon as
/// the one in use is given back. The pictures and their order are those of calling `next` and `convert` in a
/// plain loop.
class DecodeAhead {
public:
    struct Picture {
        /// The decoder's number of the frame.
        int64_t frameIndex = 0;
        /// False when the decoder could not convert the frame; the image is undefined then.
        bool converted = false;
        pxl::Image image;
    };

    /// From now on until destruction only the stage uses `decoder`. Pictures are converted to width × height
    /// pixels. `stop` is raised when the stage is destroyed, so that the decoder can give up a long read; who
    /// raises it earlier ends the video where the decoder gives up. Not owned; outlives the stage.
    DecodeAhead(std::shared_ptr<video::Decoder> decoder, int32_t width, int32_t height,
                std::atomic<bool>& stop);
    /// Gives up what has been decoded ahead and waits for the thread.
    ~DecodeAhead();
    DecodeAhead(const DecodeAhead&) = delete;
    DecodeAhead& operator=(const DecodeAhead&) = delete;

    /// Waits for the next picture; null at the end of the video. The picture is valid until `release` or the
    /// next call. Throws what the decoder threw.
    const Picture* next();
    /// Gives the picture back, the sooner the better.
    void release();

private:
    enum class State { Free, Ready, InUse, Ended };

    void run();
    bool waitUntilFree();
    void become(State state);

    /// Used by the stage's thread only.
    std::shared_ptr<video::Decoder> decoder_;
    std::atomic<bool>& stop_;

    /// The one target of all conversions. Belongs to the stage's thread while free, else to the asking one.
    Picture picture_;

    /// Guards the members below.
    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::Free;
    bool dropped_ = false;
    std::exception_ptr error_;

    std::thread thread_;
};
