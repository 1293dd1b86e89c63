#include "scanprogress.h"

#include <utility>

ScanProgress::ScanProgress(std::function<void(Call)> queue) : queue_(std::move(queue)) {}

void ScanProgress::start(const wxString& title, const wxString& message, int32_t total) {
    queue_([title, message, total](ProgressDisplay& display) { display.start(title, message, total); });
}

void ScanProgress::update(int32_t value, const wxString& message) {
    queue_([value, message](ProgressDisplay& display) { display.update(value, message); });
}

void ScanProgress::finish() {
    queue_([](ProgressDisplay& display) { display.finish(); });
}
