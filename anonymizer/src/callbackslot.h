#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

/// A callback that one thread calls while any other thread may replace it. The call runs on a copy with no
/// lock held; replacing waits for a call that is under way, so that the receiver may be destroyed afterwards.
template <class... Arguments>
class CallbackSlot {
public:
    using Function = std::function<void(Arguments...)>;

    /// Any thread. When it returns, no call of the replaced function is running or will run. From inside the
    /// call it does not wait: the rest of that call is then the caller's own. Don't hold a lock that the
    /// callback takes.
    void set(Function function) {
        std::unique_lock<std::mutex> lock(mutex_);
        function_.swap(function);
        if (caller_ == std::this_thread::get_id())
            return;
        const uint64_t begun = begun_;
        ended_.wait(lock, [&] { return finished_ >= begun; });
    }

    /// Always the same thread. Does nothing when the slot is empty. What the function throws comes through.
    void call(Arguments... arguments) {
        const Call running(*this);
        if (running.function)
            running.function(std::move(arguments)...);
    }

private:
    /// A call under way, whichever way it ends.
    struct Call {
        explicit Call(CallbackSlot& calledSlot) : slot(calledSlot) {
            const std::lock_guard<std::mutex> lock(slot.mutex_);
            if (!slot.function_)
                return;
            function = slot.function_;
            slot.caller_ = std::this_thread::get_id();
            ++slot.begun_;
        }
        ~Call() {
            if (!function)
                return;
            // Before anybody learns that the call is over: it may own what the receiver wants gone.
            function = nullptr;
            const std::lock_guard<std::mutex> lock(slot.mutex_);
            slot.caller_ = std::thread::id();
            ++slot.finished_;
            slot.ended_.notify_all();
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

        CallbackSlot& slot;
        Function function;
    };

    std::mutex mutex_;
    std::condition_variable ended_;
    // Guarded by mutex_.
    Function function_;
    std::thread::id caller_;
    uint64_t begun_ = 0;
    uint64_t finished_ = 0;
};
