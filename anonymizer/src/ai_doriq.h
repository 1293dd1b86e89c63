#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <wx/string.h>

#include "pxl/image.h"

/// Detection of persons and faces by a library and a model that the user has put into the AI folder. The
/// library is loaded once; a detector exists only during a pass. One pass at a time: everything but `init`,
/// `available` and `folder` is called by the thread of the running pass only.
namespace ai {

/// A person or face in one frame. Pixels of the frame, origin top left; the box may reach beyond the frame.
struct Detection {
    float x = 0, y = 0, w = 0, h = 0;
    /// Percent, truncated.
    int32_t score = 0;
};
static_assert(sizeof(Detection) == 20 && offsetof(Detection, score) == 16, "five 4-byte fields");

/// Folder that holds the detection library and, in Resources/yolov4-tiny, the model. It need not exist;
/// asking creates nothing.
wxString folder();

/// The place where `folder` looks first and where a library and a model belong.
wxString ownFolder();

/// Finds and loads the detection library; the model is taken from the same folder. Called once at start-up,
/// on the user-interface thread; what it found is logged and nothing else. Calling it again forgets the
/// library found before.
void init();

/// True when `init` found both functions of the library. Says nothing about the model.
bool available();

/// Reads the model's class names and builds the detector. Without library or complete model, or when the
/// library fails, there is no detector afterwards; the reason is logged.
void buildDetectors(bool gpu);

/// True while a detector exists.
bool ready();

/// True when the class names read last hold person or face; otherwise nothing of the model's can be kept.
bool knowsPersonOrFace();

/// What is wrong with library or model since the last `buildDetectors`, each kind once, in words for the log.
std::vector<wxString> complaints();

/// Frames since then that the library failed to look at.
int64_t failedFrames();

/// Hands the detector back to the library. Nothing happens when there is none.
void destroyDetectors();

/// Persons and faces of one frame, in the detector's order. Empty without a detector. What the library
/// reports wrongly (too many hits, impossible boxes, probabilities or classes, an exception) is cut or
/// dropped, and logged at error level, each kind once per detector.
std::vector<Detection> detectFrame(const pxl::Image& image);

} // namespace ai
