#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace test {

/// Lines that any thread adds and a test waits for.
class EventList {
public:
    using Lines = std::vector<std::string>;

    void add(const std::string& line) {
        // Told under the lock: the waiter may destroy this object as soon as it wakes.
        const std::lock_guard<std::mutex> lock(mutex_);
        lines_.push_back(line);
        added_.notify_all();
    }
    Lines lines() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }
    std::size_t count(const std::string& line) const {
        const Lines all = lines();
        return static_cast<std::size_t>(std::count(all.begin(), all.end(), line));
    }
    void clear() {
        const std::lock_guard<std::mutex> lock(mutex_);
        lines_.clear();
    }
    /// False when it does not become true within half a minute.
    bool waitUntil(const std::function<bool(const Lines&)>& isTrue) {
        std::unique_lock<std::mutex> lock(mutex_);
        return added_.wait_for(lock, std::chrono::seconds(30), [&] { return isTrue(lines_); });
    }
    /// Waits until the line is there `times` times.
    bool waitFor(const std::string& line, std::ptrdiff_t times = 1) {
        return waitUntil([&](const Lines& all) { return std::count(all.begin(), all.end(), line) >= times; });
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable added_;
    Lines lines_;
};

/// A door that threads wait at until a test opens it.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        opened_.notify_all();
    }
    /// False when it is not opened within half a minute.
    bool pass() {
        std::unique_lock<std::mutex> lock(mutex_);
        return opened_.wait_for(lock, std::chrono::seconds(30), [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

} // namespace test
