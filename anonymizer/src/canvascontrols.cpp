#include "canvascontrols.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>

#include <wx/filename.h>
#include <wx/translation.h>

#include "appresources.h"
#include "pxl/batch.h"
#include "pxl/image_file.h"

namespace {

constexpr int32_t kButton = view::kControlBarHeight;
/// Room at the timeline's ends, so that the knob stays clear of the buttons.
constexpr int32_t kTimelineMargin = ui2::Layout::kKnobRadius + 4;

ui2::Layout::Picture readPicture(const char* name) {
    const wxFileName file(appresources::imagesFolder(), name);
    return std::make_shared<const pxl::Image>(pxl::readPngFile(file.GetFullPath().utf8_string()));
}

int32_t toTimeline(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, 0, std::numeric_limits<int32_t>::max()));
}

} // namespace

CanvasControls::CanvasControls(Callbacks callbacks) : texts_{_("Play"), _("Pause"), _("AI"), _("NO AI")} {
    play_ = bar_.addToggle(readPicture("ano_play.png"), readPicture("ano_pause.png"), {},
                           std::move(callbacks.onPlay), texts_.play);
    timeline_ = bar_.addSlider({}, {}, std::move(callbacks.onTimeline));
    ai_ = bar_.addButton(
        readPicture("ano_ai.png"), {}, [onAi = std::move(callbacks.onAi)](int) { onAi(); }, texts_.noAi);
    deleteBlur_ = blurButtons_.addButton(
        readPicture("ano_del.png"), {}, [onDelete = std::move(callbacks.onDeleteBlur)](int) { onDelete(); },
        _("Delete blur"));
    setVideo(false, 0);
}

void CanvasControls::setVideo(bool present, int64_t frameCount) {
    const std::lock_guard<std::mutex> lock(mutex_);
    bar_.setToggled(play_, false);
    bar_.setTip(play_, texts_.play);
    bar_.setRange(timeline_, 0, toTimeline(frameCount - 1));
    bar_.setValue(timeline_, 0);
    shownValue_ = 0;
    bar_.setEnabled(play_, present);
    bar_.setEnabled(timeline_, present);
    blurButtons_.setEnabled(deleteBlur_, present);
    videoPresent_ = present;
    showAi();
}

void CanvasControls::setAiAvailable(bool available) {
    const std::lock_guard<std::mutex> lock(mutex_);
    aiAvailable_ = available;
    showAi();
}

void CanvasControls::showAi() {
    bar_.setEnabled(ai_, videoPresent_ && aiAvailable_);
    bar_.setTip(ai_, aiAvailable_ ? texts_.ai : texts_.noAi);
}

void CanvasControls::showFrame(int64_t frameIndex) {
    const std::lock_guard<std::mutex> lock(mutex_);
    shownValue_ = toTimeline(frameIndex - 1);
    if (bar_.isDragged(timeline_))
        return;
    bar_.setValue(timeline_, shownValue_);
    bar_.markDirty();
}

void CanvasControls::showPlayState(PlayState state) {
    if (state != Stopped && state != Playing)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    bar_.setToggled(play_, state == Playing);
    bar_.setTip(play_, state == Playing ? texts_.pause : texts_.play);
}

void CanvasControls::clearHover() {
    const std::lock_guard<std::mutex> lock(mutex_);
    bar_.clearHover();
    blurButtons_.clearHover();
}

CanvasControls::MouseOutcome CanvasControls::mouse(const ui2::MouseInput& input) {
    MouseOutcome outcome;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (ui2::MouseResult result : {mouseOnBar(input), blurButtons_.mouse(input)}) {
        outcome.consumed = outcome.consumed || result.consumed;
        outcome.changed = outcome.changed || result.changed;
        std::move(result.calls.begin(), result.calls.end(), std::back_inserter(outcome.calls));
    }
    outcome.tip = bar_.tip();
    if (!outcome.tip)
        outcome.tip = blurButtons_.tip();
    return outcome;
}

ui2::MouseResult CanvasControls::mouseOnBar(const ui2::MouseInput& input) {
    const bool wasDragged = bar_.isDragged(timeline_);
    const int32_t valueBefore = bar_.slider(timeline_).value;
    ui2::MouseResult result = bar_.mouse(input);
    const bool dragged = bar_.isDragged(timeline_);
    const bool moved = bar_.slider(timeline_).value != valueBefore;
    draggedAway_ = moved || (wasDragged && draggedAway_);
    // The video went on under a knob that was held where it stood.
    if (wasDragged && !dragged && !draggedAway_)
        bar_.setValue(timeline_, shownValue_);
    return result;
}

void CanvasControls::place(view::Size window) {
    const std::lock_guard<std::mutex> lock(mutex_);
    placeElements(window);
}

void CanvasControls::draw(pxl::Batch& batch, view::Size window) {
    const std::lock_guard<std::mutex> lock(mutex_);
    placeElements(window);
    bar_.draw(batch);
    blurButtons_.draw(batch);
    blurButtons_.clearDirty();
}

void CanvasControls::placeElements(view::Size window) {
    blurButtons_.setGeometry(deleteBlur_,
                             {kButton, kButton, window.width - kButton, window.height - kButton});
    const bool sameSize = window.width == placedFor_.width && window.height == placedFor_.height;
    if (sameSize && !bar_.isDirty())
        return;
    placedFor_ = window;
    const int32_t top = window.height - kButton;
    const int32_t aiLeft = window.width - 2 * kButton;
    const int32_t timelineLeft = kButton + kTimelineMargin;
    bar_.setGeometry(play_, {kButton, kButton, 0, top});
    bar_.setGeometry(timeline_,
                     {std::max(aiLeft - kTimelineMargin - timelineLeft, 0), kButton, timelineLeft, top});
    bar_.setGeometry(ai_, {kButton, kButton, aiLeft, top});
    bar_.clearDirty();
}

void CanvasControls::releaseTextures() {
    const std::lock_guard<std::mutex> lock(mutex_);
    bar_.releaseTextures();
    blurButtons_.releaseTextures();
}
