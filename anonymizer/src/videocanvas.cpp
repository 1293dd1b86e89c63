#include "videocanvas.h"

namespace {

wxGLAttributes displayAttributes() {
    wxGLAttributes attributes;
    attributes.PlatformDefaults().RGBA().DoubleBuffer().EndList();
    return attributes;
}

} // namespace

class VideoCanvas2::Impl {};

VideoCanvas2::VideoCanvas2(wxWindow* parent, wxWindowID id, const wxPoint& pos, const wxSize& size)
    : wxGLCanvas(parent, displayAttributes(), id, pos, size, 0, "GLCanvas"), impl_(std::make_unique<Impl>()) {
}

VideoCanvas2::~VideoCanvas2() = default;

void VideoCanvas2::set(VideoPlayer*) {}

void VideoCanvas2::setAiRequest(std::function<void()>) {}

void VideoCanvas2::setAiAvailable(bool) {}

void VideoCanvas2::refreshPicture() {
    Refresh(false);
}
