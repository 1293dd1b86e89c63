#include "support/log_capture.h"

#include <algorithm>

namespace test {

class LogCapture::Target : public wxLog {
public:
    std::vector<std::pair<wxLogLevel, std::string>> copy() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }

protected:
    void DoLogRecord(wxLogLevel level, const wxString& text, const wxLogRecordInfo&) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        lines_.emplace_back(level, text.utf8_string());
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::pair<wxLogLevel, std::string>> lines_;
};

LogCapture::LogCapture() : target_(new Target) {
    // Lines of other threads wait until somebody asks: those of before are not ours.
    wxLog::FlushActive();
    previous_ = wxLog::SetActiveTarget(target_);
}

LogCapture::~LogCapture() {
    wxLog::FlushActive();
    wxLog::SetActiveTarget(previous_);
    delete target_;
}

std::vector<std::string> LogCapture::lines() const {
    wxLog::FlushActive();
    std::vector<std::string> texts;
    for (const auto& line : target_->copy())
        texts.push_back(line.second);
    return texts;
}

std::vector<std::string> LogCapture::lines(wxLogLevel level) const {
    wxLog::FlushActive();
    std::vector<std::string> texts;
    for (const auto& line : target_->copy())
        if (line.first == level)
            texts.push_back(line.second);
    return texts;
}

bool LogCapture::contains(const std::string& line) const {
    const auto all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
}

} // namespace test
