#include "detection.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>

#include <wx/file.h>
#include <wx/filename.h>

#include "ai_doriq.h"
#include "aiworker.h"
#include "blurtrack.h"
#include "completion.h"
#include "console.h"
#include "regions_csv.h"
#include "stop_request.h"

namespace {

/// Runs the pass to its end, also after a stop request.
bool runPass(const Options& options, const video::VideoInfo& info, AiReport& result) {
    console::ProgressLine progress(options.quiet);
    Completion completion;
    const auto report = std::make_shared<AiReport>();
    AiOverrides overrides;
    overrides.gpu = options.gpu;
    overrides.preblurSeconds = options.preblurSeconds;
    auto* worker = new AiWorker(info, &progress); // deletes itself
    worker->setOverrides(overrides);
    worker->setReport(report);
    worker->setDone([&] { completion.signal(); });
    if (worker->Run() != wxTHREAD_NO_ERROR) {
        delete worker;
        return false;
    }
    completion.wait([&] { worker->Delete(); });
    result = *report;
    return true;
}

/// Where library and model are looked for, or belong when nothing is there.
wxString aiFolder() {
    return wxDirExists(ai::folder()) ? ai::folder() : ai::ownFolder();
}

wxString reason(const AiReport& report) {
    return report.complaints.empty() ? wxString("the detection failed") : report.complaints.front();
}

} // namespace

bool findDetector(wxString& error) {
    ai::init();
    if (ai::available())
        return true;
    error = "there is no usable detection library in " + aiFolder();
    return false;
}

bool detectInto(const Options& options, const video::VideoInfo& info, wxString& error) {
    AiReport report;
    if (!runPass(options, info, report)) {
        error = "can't start a thread";
        return false;
    }
    if (stop_request::flag()) {
        error = "stopped";
        return false;
    }
    if (!report.hadDetector) {
        error = report.complaints.empty() ? "there is no complete detection model in " + aiFolder()
                                          : reason(report);
        return false;
    }
    if (report.brokeOff) {
        error = "the detection broke off";
        return false;
    }
    if (report.failedFrames > 0) {
        error = reason(report);
        return false;
    }
    for (const wxString& complaint : report.complaints)
        console::warning(complaint);
    return true;
}

bool writeDetections(const wxString& path, wxString& error) {
    std::vector<regions_csv::Region> regions;
    {
        const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
        for (const auto& [frame, entries] : blurtrack::store().frames)
            for (const blurtrack::BlurEntry& entry : entries)
                // Pre-blur reaches back to position 0, before the first frame.
                if (frame >= 1 && entry.w >= 1 && entry.h >= 1)
                    regions.push_back(
                        {frame, frame, entry.x, entry.y, entry.w, entry.h, std::clamp(entry.score, 0, 100)});
    }
    const std::string text = regions_csv::write(regions);
    // Not by a stream of the C library: the GUI library closes one that failed to close a second time.
    wxFile file(path, wxFile::write);
    if (file.IsOpened() && file.Write(text.data(), text.size()) == text.size() && file.Close())
        return true;
    error = wxString::FromUTF8(std::strerror(file.GetLastError()));
    return false;
}
