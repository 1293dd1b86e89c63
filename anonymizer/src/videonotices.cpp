#include "videonotices.h"

#include <algorithm>
#include <cmath>

#include <wx/intl.h>

#include "blurprocessors.h"
#include "video_backend_ffmpeg_encoder.h"

namespace {

/// A container rounds its duration down to a second and counts the sound, which may go on a little longer
/// than the pictures.
constexpr double kToleratedSeconds = 2.0;
constexpr double kToleratedShare = 0.05;

/// Frames are missing, or spread over another time than their number divided by the rate.
bool needsAnotherTime(const video::VideoInfo& info) {
    if (info.durationSec <= 0)
        return false;
    const double evenSeconds = static_cast<double>(info.frameCount) / info.fps;
    const double statedSeconds = static_cast<double>(info.durationSec);
    return std::abs(evenSeconds - statedSeconds) >
           std::max(kToleratedSeconds, kToleratedShare * statedSeconds);
}

} // namespace

std::vector<wxString> noticesFor(const video::VideoInfo& info, bool variableRate) {
    std::vector<wxString> notices;
    if (info.width > 0 && info.height > 0 &&
        mosaicBlockSize(info.width, info.height, kExportBlurDivisor) <= 1)
        notices.push_back(
            _("This video is too small to hide anything: a cell of the mosaic is a single pixel."));
    if (!Encoder_ffmpeg::takesRate(info.fps))
        notices.push_back(_("The frame rate of the video is not usable."));
    else if (variableRate || needsAnotherTime(info))
        notices.push_back(
            wxString::Format(_("This video has a variable frame rate or is incomplete. It is played and "
                               "exported evenly, at %.4g frames per second."),
                             info.fps));
    return notices;
}

std::vector<wxString> noticesFor(const AiReport& report) {
    std::vector<wxString> notices;
    if (!report.hadDetector)
        return {_("Nobody was looked for: the detection found no model that it can use.")};
    if (report.brokeOff)
        notices.push_back(_("The detection broke off. Look at the whole video before you export it."));
    if (report.failedFrames > 0)
        notices.push_back(wxString::Format(
            _("The detection failed on some frames (%s). Look at the whole video before you export it."),
            wxString() << report.failedFrames));
    // Of the same advice once is enough.
    if (notices.empty() && !report.complaints.empty())
        notices.push_back(_("The detection library did not work as it should; the log says what was wrong. "
                            "Look at the whole video before you export it."));
    return notices;
}

std::vector<wxString> noticesForExport(int64_t skippedFrames) {
    if (skippedFrames <= 0)
        return {};
    return {wxString::Format(_("Frames that could not be converted are missing in the exported video: %s"),
                             wxString() << skippedFrames)};
}
