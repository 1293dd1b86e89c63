#pragma once

#include <functional>
#include <memory>

#include <wx/string.h>

#include "canvasinteraction.h"
#include "canvaspainter.h"
#include "viewmapping.h"

class Backbuffer;
class wxGLCanvas;
class wxGLContext;

/// The canvas window's OpenGL: its context of the core profile 3.3, its back buffer, which is the
/// process-wide current render target meanwhile, and what paints into it. User-interface thread.
class CanvasGraphics {
public:
    /// Makes the context, and nothing with it. The window outlives this object.
    explicit CanvasGraphics(wxGLCanvas& window);
    ~CanvasGraphics();

    /// The window has another size, or stands on a screen of another scale factor. Returns its size in window
    /// pixels.
    view::Size fitToWindow();

    /// Paints and presents, `size` in window pixels. The first call on a window that is shown makes the
    /// graphics objects. True when the blurs that were painted may be out of date: paint again a little
    /// later.
    ///
    /// Where nothing, or this video, cannot be shown, the user is told once, a little later.
    bool paint(const CanvasPicture& picture, view::Size size, const CanvasPainter::DrawControls& controls);

    /// Another video, or none.
    void forgetPicture();

    /// Lets go of all graphics objects, the context and the back buffer while the window still exists;
    /// `releaseOthers` of those that it does not know. Nothing is painted or fitted any more.
    void release(const std::function<void()>& releaseOthers);

private:
    pxl::Size physicalSize() const;
    bool start();
    void tell(const wxString& text);

    wxGLCanvas& window_;
    std::unique_ptr<wxGLContext> context_;
    std::shared_ptr<Backbuffer> backbuffer_;
    std::unique_ptr<CanvasPainter> painter_;
    bool started_ = false;
    bool failed_ = false;
    bool pictureFailed_ = false;
};
