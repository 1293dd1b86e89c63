#include "canvasgraphics.h"

#include <utility>

#include <wx/glcanvas.h>
#include <wx/log.h>
#include <wx/msgdlg.h>
#include <wx/translation.h>

#include "backbuffer.h"
#include "platform.h"
#include "pxl/gl_startup.h"

namespace {

/// With `debug` the driver tells what it finds wrong; not every driver has such contexts.
std::unique_ptr<wxGLContext> makeContext(wxGLCanvas& window, bool debug) {
    wxGLContextAttrs attributes;
    attributes.PlatformDefaults().CoreProfile().OGLVersion(3, 3);
    if (debug)
        attributes.DebugCtx();
    attributes.EndList();
    return std::make_unique<wxGLContext>(&window, nullptr, &attributes);
}

} // namespace

CanvasGraphics::CanvasGraphics(wxGLCanvas& window) : window_(window) {
    context_ = makeContext(window, true);
    if (!context_->IsOK())
        context_ = makeContext(window, false);
    backbuffer_ = std::make_unique<Backbuffer>(physicalSize());
    pxl::setCurrentRenderTarget(backbuffer_);
}

CanvasGraphics::~CanvasGraphics() = default;

view::Size CanvasGraphics::fitToWindow() {
    backbuffer_->resize(physicalSize());
    const wxSize size = window_.GetClientSize();
    return {size.GetWidth(), size.GetHeight()};
}

pxl::Size CanvasGraphics::physicalSize() const {
    const wxSize size = window_.GetClientSize();
    const double scale = window_.GetContentScaleFactor();
    return {static_cast<int32_t>(size.GetWidth() * scale), static_cast<int32_t>(size.GetHeight() * scale)};
}

bool CanvasGraphics::paint(const CanvasPicture& picture, view::Size size,
                           const CanvasPainter::DrawControls& controls) {
    // A hidden window, which some systems have painted too, has nothing to draw on. Making the context
    // current fails where the driver has lost it.
    if (!window_.IsShownOnScreen() || !start() || !window_.SetCurrent(*context_))
        return false;
    const CanvasPainter::Outcome outcome = painter_->paint(picture, size, controls);
    window_.SwapBuffers();
    if (!outcome.pictureShown && !std::exchange(pictureFailed_, true))
        tell(_("The graphics driver refuses pictures of this video's size. The video cannot be shown, "
               "but it can be exported."));
    return !outcome.blursCurrent;
}

bool CanvasGraphics::start() {
    if (painter_ || failed_)
        return painter_ != nullptr;
    failed_ = true;
    platform::reportEveryMotion(window_.GetHandle());
    // The last two fail only with a driver that offers more than it has.
    started_ =
        context_->IsOK() && window_.SetCurrent(*context_) && pxl::startGraphics(platform::setSwapInterval);
    if (started_) {
        painter_ = std::make_unique<CanvasPainter>(backbuffer_);
        failed_ = !painter_->valid();
    }
    if (!failed_)
        return true;
    painter_.reset();
    wxLogError("[VideoCanvas] No OpenGL 3.3: nothing can be drawn");
    tell(_("The graphics driver does not offer OpenGL 3.3. The video cannot be shown."));
    return false;
}

void CanvasGraphics::tell(const wxString& text) {
    window_.CallAfter([this, text] { wxMessageBox(text, _("Error"), wxOK | wxICON_ERROR, &window_); });
}

void CanvasGraphics::forgetPicture() {
    pictureFailed_ = false;
    if (painter_)
        painter_->forgetPicture();
}

void CanvasGraphics::release(const std::function<void()>& releaseOthers) {
    failed_ = true;
    const bool current = started_ && window_.SetCurrent(*context_);
    // A driver that has lost the context.
    if (started_ && !current)
        pxl::abandonGraphics();
    releaseOthers();
    painter_.reset();
    if (current)
        pxl::stopGraphics();
    pxl::setCurrentRenderTarget(nullptr);
    context_.reset();
    backbuffer_.reset();
}
