#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <wx/log.h>

namespace test {

/// Collects every line logged through the GUI library while it lives, from any thread, and shows none.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Text of the lines so far, UTF-8, without time stamps.
    std::vector<std::string> lines() const;
    /// Text of the lines of one level (wxLOG_Message, wxLOG_Error, …).
    std::vector<std::string> lines(wxLogLevel level) const;
    bool contains(const std::string& line) const;

private:
    class Target;
    Target* target_;
    wxLog* previous_;
};

} // namespace test
