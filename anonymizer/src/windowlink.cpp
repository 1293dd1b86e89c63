#include "windowlink.h"

#include <utility>

#include <wx/event.h>

WindowLink::WindowLink(wxEvtHandler* window, ISafeProgress* progress)
    : window_(window), progress_(progress) {}

void WindowLink::cut() {
    const std::lock_guard<std::mutex> lock(mutex_);
    window_ = nullptr;
    progress_ = nullptr;
}

void WindowLink::queue(std::function<void()> call) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (window_)
        window_->CallAfter(std::move(call));
}

void WindowLink::start(const wxString& title, const wxString& message, int32_t total) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (progress_)
        progress_->start(title, message, total);
}

void WindowLink::update(int32_t value, const wxString& message) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (progress_)
        progress_->update(value, message);
}

void WindowLink::finish() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (progress_)
        progress_->finish();
}
