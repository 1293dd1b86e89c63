#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "pxl/image.h"
#include "video_backend.h"

/// Decodes a video from where the decoder stands to its end, on a thread of its own, a few pictures ahead of
/// the one who asks for them. The pictures and their order are those of calling `next` and `convert` in a
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

    /// Pictures decoded at most before the first is taken; their memory is allocated once.
    static constexpr std::size_t kDepth = 4;

    /// From now on until destruction only the stage uses `decoder`. Pictures are converted to width × height
    /// pixels. `stop` is raised when the stage is destroyed, so that the decoder can give up a long read; it
    /// is not owned and outlives the stage.
    DecodeAhead(std::shared_ptr<video::Decoder> decoder, int32_t width, int32_t height,
                std::atomic<bool>& stop);
    /// Gives up what has been decoded ahead and waits for the thread.
    ~DecodeAhead();
    DecodeAhead(const DecodeAhead&) = delete;
    DecodeAhead& operator=(const DecodeAhead&) = delete;

    /// Waits for the next picture; null at the end of the video. The picture is valid until the next call.
    /// Throws what the decoder threw.
    const Picture* next();

private:
    void run();
    bool decodeInto(Picture& picture);
    bool waitForRoom();
    void publish();
    void end(std::exception_ptr error);

    /// Used by the stage's thread only.
    std::shared_ptr<video::Decoder> decoder_;
    std::atomic<bool>& stop_;

    /// A ring: `taken_` … `decoded_` are ready (the first of them may be in use), the rest is free.
    std::vector<Picture> ring_;

    /// Guards the members below.
    std::mutex mutex_;
    std::condition_variable roomOrStop_;
    std::condition_variable pictureOrEnd_;
    std::size_t decoded_ = 0;
    std::size_t taken_ = 0;
    bool inUse_ = false;
    bool ended_ = false;
    std::exception_ptr error_;

    std::thread thread_;
};
