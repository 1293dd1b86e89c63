#pragma once

#include "pxl/log.h"

#include <memory>
#include <string>
#include <vector>

namespace test {

/// Collects the lines of the rendering layer's log while it lives, with their prefixes, and shows none.
class PxlLogCapture {
public:
    PxlLogCapture() : sink_(std::make_shared<Sink>()), previous_(pxl::log::setSink(sink_)) {}
    ~PxlLogCapture() { pxl::log::setSink(previous_); }
    PxlLogCapture(const PxlLogCapture&) = delete;
    PxlLogCapture& operator=(const PxlLogCapture&) = delete;

    const std::vector<std::string>& messages() const { return sink_->messages; }
    const std::vector<std::string>& errors() const { return sink_->errors; }
    /// Of every level, in the order they came.
    const std::vector<std::string>& all() const { return sink_->all; }

private:
    struct Sink : pxl::log::ILog {
        void message(const std::string& line) override { add(messages, line); }
        void error(const std::string& line) override { add(errors, line); }
        void warning(const std::string& line) override { add(messages, line); }
        void add(std::vector<std::string>& lines, const std::string& line) {
            lines.push_back(line);
            all.push_back(line);
        }
        std::vector<std::string> messages;
        std::vector<std::string> errors;
        std::vector<std::string> all;
    };
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<pxl::log::ILog> previous_;
};

} // namespace test
