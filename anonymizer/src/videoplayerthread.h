#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include <wx/thread.h>

#include "callbackslot.h"
#include "safeprogress.h"
#include "video_backend.h"
#include "videoplayer.h"

/// What the playback thread is asked to do, as one 64-bit value: the type in the low half, the signed
/// argument in the high half.
namespace playercommand {

using Command = uint64_t;

enum Type : uint32_t {
    /// Argument: number of the frame, from 1.
    kSeek = 1,
    /// Argument: frames per second.
    kPlay = 2,
    /// No argument.
    kStop = 3,
};

constexpr Command make(uint32_t type, int32_t argument = 0) {
    return static_cast<uint64_t>(static_cast<uint32_t>(argument)) << 32 | type;
}
constexpr uint32_t type(Command command) {
    return static_cast<uint32_t>(command);
}
constexpr int32_t argument(Command command) {
    return static_cast<int32_t>(static_cast<uint32_t>(command >> 32));
}

} // namespace playercommand

/// The worker of VideoPlayer. Joinable; the player alone runs, joins and deletes it.
class VideoPlayerThread : public wxThread {
public:
    VideoPlayerThread(ISafeProgress* progress, VideoPlayer::Pacing pacing);
    ~VideoPlayerThread() override;

    /// Before `Run`; null takes the decoder back.
    void setDecoder(std::shared_ptr<video::Decoder> decoder);
    /// Before `Run`: asked once, after the scan, on the playback thread. May be empty.
    void setUnevenQuery(std::function<bool()> query);

    /// Queues a command. Dropped when the thread is not alive. Any thread.
    void post(playercommand::Command command);
    /// Makes an idle thread, or one that waits for the next frame's time, look at `exitRequested` now.
    void wake();
    /// A Seek waits in the queue or is being carried out. Any thread.
    bool isSeekPending() const;

    /// Zeros before the scan has ended. Any thread.
    video::VideoInfo info() const;
    /// What the query told; false before the scan has ended. Any thread.
    bool isUneven() const;

    // In this order: what is declared last goes first, the callbacks last of all.
    CallbackSlot<std::shared_ptr<VideoPlayer::Frame>> onFrame;
    CallbackSlot<> onReady;
    CallbackSlot<PlayState> onState;

private:
    /// The last one sent. The playback thread's alone once it runs, like the reporter and the decoder.
    PlayState state_ = Stopped;

public:
    /// The play loop runs.
    std::atomic<bool> playing{false};

private:
    ISafeProgress* progress_;
    /// Polls `exitRequested` and `newerSeekWaits` until `Entry` has closed it.
    std::shared_ptr<video::Decoder> decoder_;
    mutable std::mutex queueMutex_;
    /// Guarded by queueMutex_.
    std::deque<playercommand::Command> queue_;
    /// Posted once per command. The count may run ahead of the queue, never behind it.
    wxSemaphore queueSignal_;

public:
    /// Ends the thread: within one frame while it works, within 200 ms while it waits for a command.
    std::atomic<bool> exitRequested{false};
    /// From before `Run` until after the ready callback.
    std::atomic<bool> preprocessing{false};
    /// A Seek is being carried out and another one is next in the queue: the picture on its way would be
    /// dropped.
    std::atomic<bool> newerSeekWaits{false};
    /// See VideoPlayer::position.
    std::atomic<int64_t> position{0};

protected:
    ExitCode Entry() override;

private:
    void preProcess();
    void serveNextCommand();
    /// False when there was none within 200 ms.
    bool waitForCommand();
    void seek(int frame);
    /// Begins or ends carrying out a Seek.
    void setSeeking(bool seeking);
    /// With queueMutex_ held.
    bool seekIsNext() const;
    /// The Seek that was taken from the queue is done with.
    void endOfSeek();
    void playLoop(int fps);
    /// The decoder's `next`, and where that leads.
    bool decodeNext();
    /// Returns early when playing has to end.
    void waitForNextFrame(int64_t milliseconds);
    /// Looks at the waiting commands between two frames. False when one of them ends playing.
    bool mayPlayOn(int& fps);
    /// Converts the frame decoded last and hands it over; a failure drops it.
    void deliver();
    /// Null on failure.
    std::shared_ptr<VideoPlayer::Frame> convertedFrame();
    void setState(PlayState state);

    // The playback thread alone, once it runs.
    VideoPlayer::Pacing pacing_;
    std::function<bool()> unevenQuery_;
    int32_t width_ = 0;
    int32_t height_ = 0;

    // Guarded by queueMutex_.
    /// The decoder is on its way to a Seek's frame.
    bool seeking_ = false;
    /// From the moment a Seek is taken from the queue until its frame has been handed over.
    bool servingSeek_ = false;
    /// Goes with queueMutex_: a command has been posted, or the thread is to end.
    std::condition_variable periodCut_;

    mutable std::mutex infoMutex_;
    // Guarded by infoMutex_.
    video::VideoInfo info_;
    bool uneven_ = false;
};
