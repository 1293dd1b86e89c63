#include "videocanvas.h"

#include <atomic>
#include <utility>
#include <vector>

#include <wx/dcclient.h>
#include <wx/log.h>
#include <wx/msgdlg.h>
#include <wx/timer.h>
#include <wx/translation.h>

#include "backbuffer.h"
#include "canvascontrols.h"
#include "canvasinteraction.h"
#include "canvaspainter.h"
#include "hints.h"
#include "layout_tips.h"
#include "platform.h"
#include "pxl/gl_startup.h"
#include "switches.h"
#include "videoplayer.h"

namespace {

constexpr int kHoldTimerId = 1;
constexpr int kRetryTimerId = 2;
/// How soon a paint that found the blur store held is repeated.
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

wxGLContextAttrs contextAttributes() {
    wxGLContextAttrs attributes;
    attributes.PlatformDefaults().CoreProfile().OGLVersion(3, 3).EndList();
    return attributes;
}

} // namespace

class VideoCanvas2::Impl {
public:
    explicit Impl(VideoCanvas2& window);
    ~Impl();

    void set(VideoPlayer* player);
    void refresh();
    void pause();
    void settle() { apply(interaction_.settle()); }

    std::function<void()> aiRequest;
    CanvasControls controls;

private:
    void bindEvents();
    void unbindEvents();
    void onMouse(wxMouseEvent& event);
    void onSize(wxSizeEvent& event);
    void onPaint(wxPaintEvent& event);
    void onEraseBackground(wxEraseEvent&) {}
    void onHold(wxTimerEvent& event);
    void onRetry(wxTimerEvent&) { refresh(); }
    void onDestroy(wxWindowDestroyEvent& event);
    /// Carries out what a step of the interaction asks for. No lock may be held.
    void apply(const CanvasEffects& effects);
    void seek(int64_t frame);

    void fitToWindow();
    bool startDrawing();
    void showFailure(const wxString& text);
    void release();

    /// From the playback thread: have the user-interface thread settle or repaint, one queued call at a time.
    void queueSettle();
    void queueRefresh();

    VideoCanvas2& window_;
    std::unique_ptr<wxGLContext> context_;
    std::shared_ptr<Backbuffer> backbuffer_;
    std::unique_ptr<CanvasPainter> painter_;
    CanvasInteraction interaction_;
    ui2::Tips tips_;
    wxTimer holdTimer_;
    wxTimer retryTimer_;
    VideoPlayer* player_ = nullptr;
    double videoFps_ = 0;
    bool graphicsStarted_ = false;
    bool drawingFailed_ = false;
    bool pictureFailed_ = false;
    bool released_ = false;
    std::atomic<bool> refreshQueued_{false};
    std::atomic<bool> settleQueued_{false};
};

VideoCanvas2::Impl::Impl(VideoCanvas2& window)
    : controls({[this](int32_t value) { seek(int64_t{value} + 1); },
                [this](bool play) {
                    if (!player_)
                        return;
                    if (play)
                        player_->play(playbackFps(switches::playbackSpeed, videoFps_));
                    else
                        player_->stop();
                },
                [this] {
                    if (aiRequest)
                        aiRequest();
                },
                [this] { apply(interaction_.deleteHovered()); }}),
      window_(window), backbuffer_(std::make_shared<Backbuffer>(pxl::Size{})), tips_(&window),
      holdTimer_(&window, kHoldTimerId), retryTimer_(&window, kRetryTimerId) {
    const wxGLContextAttrs attributes = contextAttributes();
    context_ = std::make_unique<wxGLContext>(&window, nullptr, &attributes);
    pxl::setCurrentRenderTarget(backbuffer_);
    fitToWindow();
    bindEvents();
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
    controls.setVideo(player != nullptr, info.frameCount);
    apply(interaction_.reset());
    pictureFailed_ = false;
    if (painter_)
        painter_->forgetPicture();
    if (!player)
        return;
    // Keys reach the application's filter only while one of its windows has the focus.
    window_.SetFocus();
    player->setOnFrame([this](std::shared_ptr<VideoPlayer::Frame> frame) {
        controls.showFrame(frame->index);
        interaction_.deliver(std::move(frame));
        queueRefresh();
    });
    player->setOnState([this](PlayState state) {
        controls.showPlayState(state);
        interaction_.setPlayState(state);
        queueSettle();
    });
    seek(1);
}

void VideoCanvas2::Impl::seek(int64_t frame) {
    if (player_)
        player_->seek(static_cast<int>(frame));
}

void VideoCanvas2::Impl::pause() {
    if (!player_)
        return;
    const CanvasEffects effects = interaction_.pause(player_->isPlaying());
    apply(effects);
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
        if (event.GetWheelAxis() != wxMOUSE_WHEEL_VERTICAL)
            return;
        mouse.kind = CanvasMouse::Wheel;
        mouse.wheelRotation = event.GetWheelRotation();
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

    if (mouse.kind != CanvasMouse::Wheel) {
        const CanvasControls::MouseOutcome outcome = controls.mouse(input);
        mouse.onControls = outcome.consumed;
        tips_.update(outcome.tip);
        for (const auto& call : outcome.calls)
            call();
        if (outcome.changed)
            refresh();
    }
    apply(interaction_.figureOutState(mouse, player_ && player_->isPlaying()));
}

void VideoCanvas2::Impl::onHold(wxTimerEvent&) {
    apply(interaction_.onHold(player_ != nullptr, videoFps_, player_ && player_->isSeekPending()));
}

void VideoCanvas2::Impl::apply(const CanvasEffects& effects) {
    if (effects.stopTimer)
        holdTimer_.Stop();
    if (effects.startTimer)
        holdTimer_.StartOnce(CanvasEffects::kHoldMilliseconds);
    controls.setBlurSelected(interaction_.hovering());
    if (effects.clearLayoutHover)
        controls.clearHover();
    if (effects.playFps > 0 && player_)
        player_->play(effects.playFps);
    if (effects.hint) {
        const bool overrides = effects.hint->key == kHintRecording || effects.hint->key == kHintSelected;
        switches::hintOverride = overrides;
        setHint(overrides ? hintTextForBlur(effects.hint->key, effects.hint->blurId)
                          : hintText(switches::hintState));
    }
    if (effects.stopAndSeekTo > 0 && player_) {
        player_->stop();
        seek(effects.stopAndSeekTo);
    }
    if (effects.repaint)
        refresh();
}

void VideoCanvas2::Impl::queueRefresh() {
    if (refreshQueued_.exchange(true))
        return;
    window_.CallAfter([this] {
        refreshQueued_ = false;
        refresh();
    });
}

void VideoCanvas2::Impl::queueSettle() {
    if (settleQueued_.exchange(true))
        return;
    window_.CallAfter([this] {
        settleQueued_ = false;
        settle();
    });
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

void VideoCanvas2::Impl::fitToWindow() {
    const wxSize size = window_.GetClientSize();
    const double scale = window_.GetContentScaleFactor();
    interaction_.resize({size.GetWidth(), size.GetHeight()});
    controls.place({size.GetWidth(), size.GetHeight()});
    backbuffer_->resize(
        {static_cast<int32_t>(size.GetWidth() * scale), static_cast<int32_t>(size.GetHeight() * scale)});
}

void VideoCanvas2::Impl::onPaint(wxPaintEvent&) {
    const wxPaintDC dc(&window_);
    if (!window_.IsShownOnScreen() || !startDrawing() || !window_.SetCurrent(*context_))
        return;
    // The scale factor changes without a size event when the window moves to another screen.
    fitToWindow();
    const wxSize size = window_.GetClientSize();
    const view::Size windowSize{size.GetWidth(), size.GetHeight()};
    const CanvasPicture picture = interaction_.picture();
    const CanvasPainter::Outcome outcome =
        painter_->paint(picture, windowSize, [&](pxl::Batch& batch) { controls.draw(batch, windowSize); });
    window_.SwapBuffers();
    if (!outcome.blursCurrent)
        retryTimer_.StartOnce(kRetryMilliseconds);
    if (!outcome.pictureShown && !std::exchange(pictureFailed_, true))
        showFailure(_("The graphics driver refuses pictures of this video's size. The video cannot be shown, "
                      "but it can be exported."));
}

bool VideoCanvas2::Impl::startDrawing() {
    if (painter_ || drawingFailed_)
        return painter_ != nullptr;
    drawingFailed_ = true;
    platform::reportEveryMotion(window_.GetHandle());
    graphicsStarted_ =
        context_->IsOK() && window_.SetCurrent(*context_) && pxl::startGraphics(platform::setSwapInterval);
    if (graphicsStarted_) {
        painter_ = std::make_unique<CanvasPainter>(backbuffer_);
        drawingFailed_ = !painter_->valid();
    }
    if (!drawingFailed_)
        return true;
    painter_.reset();
    wxLogError("[VideoCanvas] No OpenGL 3.3: nothing can be drawn");
    showFailure(_("The graphics driver does not offer OpenGL 3.3. The video cannot be shown."));
    return false;
}

void VideoCanvas2::Impl::showFailure(const wxString& text) {
    window_.CallAfter([this, text] { wxMessageBox(text, _("Error"), wxOK | wxICON_ERROR, &window_); });
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
    const bool current = graphicsStarted_ && window_.SetCurrent(*context_);
    if (graphicsStarted_ && !current)
        pxl::abandonGraphics();
    controls.releaseTextures();
    painter_.reset();
    if (current)
        pxl::stopGraphics();
    pxl::setCurrentRenderTarget(nullptr);
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
    impl_->controls.setAiAvailable(available);
    Refresh(false);
}

void VideoCanvas2::refreshPicture() {
    impl_->settle();
}
