#pragma once

#include <functional>

#include "progressdisplay.h"
#include "safeprogress.h"

/// Progress sink that turns each call into a function object with copies of the arguments.
class ScanProgress : public ISafeProgress {
public:
    using Call = std::function<void(ProgressDisplay&)>;

    /// `queue` hands a call to the user-interface thread; it is called on any thread and never blocks.
    explicit ScanProgress(std::function<void(Call)> queue);

    void start(const wxString& title, const wxString& message, int32_t total) override;
    void update(int32_t value, const wxString& message) override;
    void finish() override;

private:
    const std::function<void(Call)> queue_;
};
