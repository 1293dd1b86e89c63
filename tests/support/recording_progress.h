#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "safeprogress.h"

namespace test {

/// Writes down every call as text: "start TITLE|MESSAGE|TOTAL", "update VALUE|MESSAGE", "finish".
class RecordingProgress : public ISafeProgress {
public:
    /// Called within `update`, on the worker's thread. Set before the worker runs.
    std::function<void(int32_t value)> onUpdate;
    /// Called within `start`.
    std::function<void()> onStart;
    /// Called within `finish`.
    std::function<void()> onFinish;

    void start(const wxString& title, const wxString& message, int32_t total) override {
        add("start " + title.utf8_string() + "|" + message.utf8_string() + "|" + std::to_string(total));
        if (onStart)
            onStart();
    }
    void update(int32_t value, const wxString& message) override {
        add("update " + std::to_string(value) + "|" + message.utf8_string());
        if (onUpdate)
            onUpdate(value);
    }
    void finish() override {
        add("finish");
        if (onFinish)
            onFinish();
    }

    std::vector<std::string> calls() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }

private:
    void add(const std::string& call) {
        const std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(call);
    }

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

} // namespace test
