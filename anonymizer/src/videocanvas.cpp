#include "videocanvas.h"

#include <optional>
#include <utility>
#include <vector>

#include <wx/dcclient.h>
#include <wx/timer.h>

#include "canvascontrols.h"
#include "canvaseffects.h"
#include "canvasgraphics.h"
#include "canvasinteraction.h"
#include "layout_tips.h"
#include "queuedcall.h"
#include "switches.h"
#include "videoplayer.h"

namespace {

constexpr int kHoldTimerId = 1;
constexpr int kRetryTimerId = 2;
/// How soon what found the blur store held is tried again: a paint, or storing a blur.
constexpr int kRetryMilliseconds = 100;

std::vector<wxEventTypeTag<wxMouseEvent>> mouseEvents() {
    return {wxEVT_MOTION,     wxEVT_LEFT_DOWN,    wxEVT_LEFT_DCLICK, wxEVT_LEFT_UP,
            wxEVT_MOUSEWHEEL, wxEVT_LEAVE_WINDOW, wxEVT_ENTER_WINDOW};
}

wxGLAttributes displayAttributes() {
    wxGLAttributes attributes;
    attributes.PlatformDefaults().RGBA().DoubleBuffer().EndList();
    return attributes;
}

} // namespace

class VideoCanvas2::Impl : private CanvasActions {
public:
    explicit Impl(VideoCanvas2& window);
    ~Impl() override;

    void set(VideoPlayer* player);
    void refresh();
    void pause();
    void settle();

    void setAiAvailable(bool available) { controls_->setAiAvailable(available); }

    /// Empty until the owner sets it.
    std::function<void()> aiRequest;

private:
    void bindEvents();
    void unbindEvents();
    void makeControls();
    void onMouse(wxMouseEvent& event);
    void onSize(wxSizeEvent& event);
    void onPaint(wxPaintEvent& event);
    void onEraseBackground(wxEraseEvent&) {}
    void onHold(wxTimerEvent& event);
    void onRetry(wxTimerEvent&) { settle(); }
    /// Comes back soon when something painted waits for the blur store.
    void storeSoon();
    void onDestroy(wxWindowDestroyEvent& event);
    void release();
    /// After a change of the window's size or scale factor. Returns the size in window pixels.
    view::Size fitToWindow();

    void stopHoldTimer() override { holdTimer_.Stop(); }
    void startHoldTimer() override { holdTimer_.StartOnce(CanvasEffects::kHoldMilliseconds); }
    void clearLayoutHover() override { controls_->clearHover(); }
    void play(int fps) override;
    void tellHint(const CanvasEffects::Hint& hint) override { showOnHintLine(hint); }
    void stop() override;
    void seek(int64_t frame) override;
    void repaint() override { refresh(); }
    void tellBlurLost() override { showBlurLost(); }

    QueuedCall::Queue toTheWindow() {
        return [this](std::function<void()> call) { window_.CallAfter(std::move(call)); };
    }

    VideoCanvas2& window_;
    CanvasGraphics graphics_;
    CanvasInteraction interaction_;
    /// From the end of the construction on.
    std::optional<CanvasControls> controls_;
    ui2::Tips tips_;
    wxTimer holdTimer_;
    wxTimer retryTimer_;
    VideoPlayer* player_ = nullptr;
    double videoFps_ = 0;
    /// The window is going, and calls that it queued may still come.
    bool released_ = false;
    QueuedCall queuedRefresh_{toTheWindow(), [this] { refresh(); }};
    QueuedCall queuedSettle_{toTheWindow(), [this] { settle(); }};
};

VideoCanvas2::Impl::Impl(VideoCanvas2& window)
    : window_(window), graphics_(window), tips_(&window), holdTimer_(&window, kHoldTimerId),
      retryTimer_(&window, kRetryTimerId) {
    bindEvents();
    makeControls();
    fitToWindow();
}

void VideoCanvas2::Impl::makeControls() {
    CanvasControls::Callbacks callbacks;
    callbacks.onTimeline = [this](int32_t value) { seek(int64_t{value} + 1); };
    callbacks.onPlay = [this](bool on) {
        if (on)
            play(playbackFps(switches::playbackSpeed, videoFps_));
        else
            stop();
    };
    callbacks.onAi = [this] {
        if (aiRequest)
            aiRequest();
    };
    callbacks.onDeleteBlur = [this] { carryOut(interaction_.deleteHovered(), *this); };
    controls_.emplace(std::move(callbacks));
}

VideoCanvas2::Impl::~Impl() {
    release();
    window_.Unbind(wxEVT_DESTROY, &Impl::onDestroy, this);
}

void VideoCanvas2::Impl::bindEvents() {
    for (const auto& type : mouseEvents())
        window_.Bind(type, &Impl::onMouse, this);
    window_.Bind(wxEVT_SIZE, &Impl::onSize, this);
    window_.Bind(wxEVT_PAINT, &Impl::onPaint, this);
    window_.Bind(wxEVT_ERASE_BACKGROUND, &Impl::onEraseBackground, this);
    window_.Bind(wxEVT_DESTROY, &Impl::onDestroy, this);
    window_.Bind(wxEVT_TIMER, &Impl::onHold, this, kHoldTimerId);
    window_.Bind(wxEVT_TIMER, &Impl::onRetry, this, kRetryTimerId);
}

void VideoCanvas2::Impl::unbindEvents() {
    for (const auto& type : mouseEvents())
        window_.Unbind(type, &Impl::onMouse, this);
    window_.Unbind(wxEVT_SIZE, &Impl::onSize, this);
    window_.Unbind(wxEVT_PAINT, &Impl::onPaint, this);
    window_.Unbind(wxEVT_ERASE_BACKGROUND, &Impl::onEraseBackground, this);
    window_.Unbind(wxEVT_TIMER, &Impl::onHold, this, kHoldTimerId);
    window_.Unbind(wxEVT_TIMER, &Impl::onRetry, this, kRetryTimerId);
}

void VideoCanvas2::Impl::set(VideoPlayer* player) {
    // The setters wait for a callback that is under way.
    if (player_) {
        player_->setOnFrame({});
        player_->setOnState({});
    }
    player_ = player;
    tips_.close();
    const video::VideoInfo info = player ? player->info() : video::VideoInfo();
    videoFps_ = info.fps;
    controls_->setVideo(player != nullptr, info.frameCount);
    carryOut(interaction_.reset(), *this);
    graphics_.forgetPicture();
    if (!player)
        return;
    // Keys reach the application's filter only while one of its windows has the focus.
    window_.SetFocus();
    player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
        controls_->showFrame(frame->index);
        interaction_.deliver(std::move(frame));
        queuedRefresh_.request();
    });
    player->setOnState([this, player](PlayState state) {
        controls_->showPlayState(state);
        interaction_.setPlayState(state, player->position());
        queuedSettle_.request();
    });
    seek(1);
}

// Without a player the controls are disabled, and nothing that the mouse does asks for these three.

void VideoCanvas2::Impl::play(int fps) {
    if (player_)
        player_->play(fps);
}

void VideoCanvas2::Impl::stop() {
    if (player_)
        player_->stop();
}

void VideoCanvas2::Impl::seek(int64_t frame) {
    if (player_)
        player_->seek(static_cast<int>(frame));
}

void VideoCanvas2::Impl::pause() {
    if (!player_)
        return;
    const CanvasEffects effects = interaction_.pause(player_->isPlaying());
    carryOut(effects, *this);
    // A play that the playback thread has not come to yet.
    if (effects.stopAndSeekTo == 0)
        player_->stop();
}

void VideoCanvas2::Impl::onMouse(wxMouseEvent& event) {
    // Everybody else's default handling (focus, enter and leave bookkeeping) goes on as usual.
    event.Skip();
    const wxEventType type = event.GetEventType();
    CanvasMouse mouse;
    mouse.position = {event.GetX(), event.GetY()};
    mouse.leftIsDown = event.LeftIsDown();
    ui2::MouseInput input{ui2::MouseInput::Action::Motion, event.GetX(), event.GetY(), event.LeftIsDown()};
    if (type == wxEVT_MOUSEWHEEL) {
        mouse.kind = CanvasMouse::Wheel;
        mouse.wheelRotation = event.GetWheelRotation();
        input.action = ui2::MouseInput::Action::Wheel;
    } else if (type == wxEVT_LEFT_DOWN || type == wxEVT_LEFT_DCLICK) {
        mouse.kind = CanvasMouse::LeftDown;
        input.action = ui2::MouseInput::Action::LeftDown;
    } else if (type == wxEVT_LEFT_UP) {
        mouse.kind = CanvasMouse::LeftUp;
        input.action = ui2::MouseInput::Action::LeftUp;
    } else if (type == wxEVT_LEAVE_WINDOW) {
        mouse.kind = CanvasMouse::Leave;
        input.action = ui2::MouseInput::Action::Leave;
    } else if (type == wxEVT_ENTER_WINDOW) {
        mouse.kind = CanvasMouse::Enter;
    }

    const CanvasControls::MouseOutcome outcome = controls_->mouse(input);
    mouse.onControls = outcome.consumed;
    tips_.update(outcome.tip);
    for (const auto& call : outcome.calls)
        call();
    if (outcome.changed)
        refresh();
    carryOut(interaction_.figureOutState(mouse, player_ && player_->isPlaying()), *this);
    storeSoon();
}

void VideoCanvas2::Impl::onHold(wxTimerEvent&) {
    // The end of the hold may have been told before the video was closed.
    // In this order: a seek that was pending has its position by the time it is not any more.
    const bool seekPending = player_ && player_->isSeekPending();
    const int64_t position = player_ ? player_->position() : 0;
    carryOut(interaction_.onHold(player_ != nullptr, videoFps_, seekPending, position), *this);
}

void VideoCanvas2::Impl::settle() {
    carryOut(interaction_.settle(), *this);
    storeSoon();
}

void VideoCanvas2::Impl::storeSoon() {
    if (!released_ && interaction_.hasUnstored())
        retryTimer_.StartOnce(kRetryMilliseconds);
}

void VideoCanvas2::Impl::refresh() {
    if (!released_)
        window_.Refresh(false);
}

void VideoCanvas2::Impl::onSize(wxSizeEvent& event) {
    event.Skip();
    fitToWindow();
    refresh();
}

view::Size VideoCanvas2::Impl::fitToWindow() {
    const view::Size size = graphics_.fitToWindow();
    interaction_.resize(size);
    controls_->place(size);
    return size;
}

void VideoCanvas2::Impl::onPaint(wxPaintEvent&) {
    const wxPaintDC dc(&window_);
    // The scale factor changes without a size event when the window moves to another screen.
    const view::Size size = fitToWindow();
    if (graphics_.paint(interaction_.picture(), size,
                        [&](pxl::Batch& batch) { controls_->draw(batch, size); }))
        retryTimer_.StartOnce(kRetryMilliseconds);
}

void VideoCanvas2::Impl::onDestroy(wxWindowDestroyEvent& event) {
    event.Skip();
    if (event.GetEventObject() == &window_)
        release();
}

void VideoCanvas2::Impl::release() {
    if (std::exchange(released_, true))
        return;
    if (player_) {
        player_->setOnFrame({});
        player_->setOnState({});
        player_ = nullptr;
    }
    holdTimer_.Stop();
    retryTimer_.Stop();
    tips_.close();
    unbindEvents();
    graphics_.release([this] { controls_->releaseTextures(); });
}

VideoCanvas2::VideoCanvas2(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size)
    : wxGLCanvas(parent, displayAttributes(), id, pos, size, 0, "GLCanvas") {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    // In a window that is read from the right to the left the library would mirror the mouse, but not what is
    // painted.
    SetLayoutDirection(wxLayout_LeftToRight);
    // In a small window the controls and a strip of picture come before a long hint.
    SetMinSize(wxSize(wxDefaultCoord, 2 * view::kControlBarHeight));
    impl_ = std::make_unique<Impl>(*this);
}

VideoCanvas2::~VideoCanvas2() = default;

void VideoCanvas2::set(VideoPlayer* player) {
    impl_->set(player);
}

void VideoCanvas2::pause() {
    impl_->pause();
}

void VideoCanvas2::setAiRequest(std::function<void()> request) {
    impl_->aiRequest = std::move(request);
}

void VideoCanvas2::setAiAvailable(bool available) {
    impl_->setAiAvailable(available);
    Refresh(false);
}

void VideoCanvas2::refreshPicture() {
    impl_->settle();
}
