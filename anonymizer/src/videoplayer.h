#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include <wx/string.h>

#include "pxl/image.h"
#include "safeprogress.h"
#include "video_backend.h"

/// What the playback thread is doing.
enum PlayState : int { Stopped = 0, Seeking = 1, Playing = 2 };

class VideoPlayerThread;
class wxSemaphore;

/// Plays one video: pre-processes it once, then decodes on a thread of its own and hands pictures and state
/// changes to callbacks. One object per opened video. All operations belong to the user-interface thread
/// unless they say otherwise.
///
/// Never call a setter, `stop`, `end` or the destructor with a lock held that a callback takes: they wait for
/// the playback thread, which may be inside that callback.
class VideoPlayer {
public:
    /// One decoded picture of the video. Shared: it lives as long as anyone keeps it.
    struct Frame {
        /// Number of the frame, from 1.
        int64_t index = 0;
        /// Width × height of the video, every pixel written by the decoder.
        pxl::Image image;
    };

    using OnFrame = std::function<void(std::shared_ptr<Frame>)>;
    using OnState = std::function<void(PlayState)>;
    using OnReady = std::function<void()>;

    /// Where the play loop takes the time from, and how the thread waits; replaced by tests only.
    struct Pacing {
        std::function<std::chrono::steady_clock::time_point()> now;
        /// Until the next frame is due. Empty for a wait that ends early when playing has to end: the same
        /// frames are delivered, but a stop at one frame per second does not hold the window for a second.
        std::function<void(int64_t milliseconds)> sleep;
        /// While idle, until a command is signalled, but no longer than so many milliseconds. False when
        /// there was none. Empty for the semaphore's own wait.
        std::function<bool(wxSemaphore& signal, unsigned long milliseconds)> idle = {};
    };

    /// `progress` shows the pre-processing; not owned, outlives the player.
    explicit VideoPlayer(ISafeProgress* progress);
    VideoPlayer(ISafeProgress* progress, Pacing pacing);
    /// Ends playback, seeking or pre-processing, waits for the thread and deletes it. After that no callback
    /// runs any more. Not from a callback.
    ~VideoPlayer();
    /// What the destructor does, for a player that somebody still knows. Later operations and setters do
    /// nothing. No other thread may use the player any more.
    void end();
    VideoPlayer(const VideoPlayer&) = delete;
    VideoPlayer& operator=(const VideoPlayer&) = delete;

    /// Opens the file and starts the thread, which pre-processes it and then calls the ready callback. On
    /// failure `error` gets the text (empty for files without a usable video stream), nothing is started and
    /// another file may be tried while `canOpen` is true. False, too, when it isn't.
    bool open(const wxString& path, wxString& error);
    /// The same with a decoder that has its file open. From now on only the playback thread uses it.
    bool open(std::shared_ptr<video::Decoder> decoder, wxString& error);
    /// False once the thread was to be started, whether or not it could be: a player opens one video.
    bool canOpen() const { return thread_ && !used_; }
    /// The last `open` failed because of what is in the file, not because the file could not be read or the
    /// thread could not be started.
    bool refusedContent() const { return refusedContent_; }

    /// Plays on from the current frame at `fps` frames per second (raised to 1 when lower) up to the end of
    /// the video; while playing, changes the rate. Returns at once.
    void play(int fps);
    /// Ends playing and returns when the play loop has ended; at once when nothing plays. Called on the
    /// playback thread it asks only and does not wait.
    void stop();
    /// Delivers exactly frame `frame`, from 1, and ends playing. Returns at once. Of seeks that wait, only
    /// the last is carried out, and one on its way, whose picture would be dropped, is given up for it; a
    /// number outside the video and a frame that can't be decoded deliver nothing, in silence; only one that
    /// there is no memory for leaves an error line.
    void seek(int frame);
    /// A seek has been asked for and its frame is not yet delivered, or its end not yet told: the last
    /// picture is not the one to come. Any thread.
    bool isSeekPending() const;
    /// The frame that was decoded last, whether or not its picture could be delivered: playing goes on behind
    /// it. 0 when it is not known where: before the first frame, while seeking, and after a frame that could
    /// not be reached or decoded, the end of the video included. Any thread.
    int64_t position() const;

    /// Callbacks run on the playback thread with no lock held, one at a time. Each setter may be called from
    /// any thread at any time; an empty function detaches. When a setter returns, no call of the replaced
    /// function is running or will run, unless the setter was called from inside that very call.
    ///
    /// The decoded frame, in the order of decoding.
    void setOnFrame(OnFrame callback);
    /// The state, only when it changes; `Stopped` at the start is not reported.
    void setOnState(OnState callback);
    /// Once, when pre-processing has ended; not when it was cut short. `info` is complete by then, while
    /// `isPreprocessing` is still true. The decoder stands at the end of the video: seek to frame 1 to begin.
    void setOnReady(OnReady callback);

    /// The thread lives: from a successful `open` to the destructor. Any thread.
    bool isRunning() const;
    /// The play loop runs. A little later than `play`; false before `Stopped` is reported. Any thread.
    bool isPlaying() const;
    /// From a successful `open` until after the ready callback. Any thread.
    bool isPreprocessing() const;
    /// Description of the video with the exact frame count; zeros and an empty path before pre-processing has
    /// ended. Any thread.
    video::VideoInfo info() const;
    /// The frames are not evenly spaced in time, so that playing at a steady rate is only about right, or the
    /// file could not be read to its end. False before pre-processing has ended. Any thread.
    bool isUneven() const;

private:
    /// Null after `end`.
    std::unique_ptr<VideoPlayerThread> thread_;
    bool used_ = false;
    /// The thread was run and has to be joined.
    bool started_ = false;
    bool refusedContent_ = false;
};
