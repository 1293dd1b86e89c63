#pragma once

#include <deque>
#include <functional>

/// Runs calls one after the other even when one of them makes the event loop deliver the next: a call that
/// arrives inside another waits until that one is done. One thread only.
class OrderedCalls {
public:
    void run(std::function<void()> call);

    /// Runs `call` as the last one: those that wait are forgotten and later ones ignored. What one of the
    /// calls belongs to may therefore go away afterwards even though that call is still under way further up.
    /// Only the first time: the first last one remains.
    void end(std::function<void()> call);

private:
    std::deque<std::function<void()>> waiting_;
    bool running_ = false;
    bool ended_ = false;
};
