#pragma once

#include <functional>
#include <mutex>

#include "safeprogress.h"

class wxEvtHandler;

/// The workers' way to a window that may be gone before they are: from then on every call is dropped. A
/// worker shares the ownership, so that what it reports to outlives it. Any thread, never blocks, one
/// thread's calls keep their order.
class WindowLink : public ISafeProgress {
public:
    /// `progress` receives the progress calls; both live until `cut`.
    WindowLink(wxEvtHandler* window, ISafeProgress* progress);

    /// When it returns no call is under way and none will follow.
    void cut();

    /// Runs `call` on the user-interface thread soon, unless the window is gone by then.
    void queue(std::function<void()> call);

    void start(const wxString& title, const wxString& message, int32_t total) override;
    void update(int32_t value, const wxString& message) override;
    void finish() override;

private:
    std::mutex mutex_;
    // Guarded by the mutex; null once cut.
    wxEvtHandler* window_;
    ISafeProgress* progress_;
};
