#include "ai_doriq.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <optional>
#include <string>

#include <wx/arrstr.h>
#include <wx/dir.h>
#include <wx/dynlib.h>
#include <wx/filename.h>
#include <wx/log.h>
#include <wx/textfile.h>

#include "doriq_contract.h"
#include "platform.h"
#include "settings.h"

namespace ai {

namespace {

constexpr doriq::DetectParams kDetectParams = {0.1f, 1, 0.3f};

// The references are to objects that are never destroyed: a pass may still run while static objects are.

// Written by `init`, constant afterwards. The library stays loaded until the process is gone.
wxDynamicLibrary& detectorLibrary = *new wxDynamicLibrary;
doriq::BuildObjectDetector buildDetector = nullptr;
doriq::DestroyObjectDetector destroyDetector = nullptr;
/// Where the library and the model lie.
wxString& aiFolder = *new wxString;

// Used by the thread of the running pass.
doriq::ObjectDetector* detector = nullptr;
wxArrayString& classNames = *new wxArrayString;
std::array<doriq::DetectionRecord, doriq::kMaxDetections> detections;
/// Complaints about the library already made during this pass.
std::vector<wxString>& madeComplaints = *new std::vector<wxString>;
int64_t failedFrameCount = 0;

void complainOnce(const wxString& text) {
    if (std::find(madeComplaints.begin(), madeComplaints.end(), text) != madeComplaints.end())
        return;
    madeComplaints.push_back(text);
    wxLogError("[AI] %s", text);
}

/// Runs a call into the library. False when it threw.
template <typename Call>
bool shielded(const char* what, const Call& call) {
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        complainOnce(wxString::Format("The detection library failed to %s: %s", what,
                                      wxString::FromUTF8(error.what())));
    } catch (...) {
        complainOnce(wxString::Format("The detection library failed to %s", what));
    }
    return false;
}

wxString below(const wxString& folder, std::initializer_list<const char*> parts) {
    wxString path = folder;
    for (const char* part : parts)
        path << wxFILE_SEP_PATH << part;
    return path;
}

/// Names under which the library is looked for, in this order.
wxArrayString libraryNames() {
    const wxString suffix = wxDynamicLibrary::GetDllExt(wxDL_MODULE);
    wxArrayString names;
    names.Add("Doriq.dll");
    names.Add("Doriq" + suffix);
    names.Add("libDoriq" + suffix);
    return names;
}

template <typename Function>
Function symbol(const char* name) {
    if (!detectorLibrary.HasSymbol(name))
        return nullptr;
    return reinterpret_cast<Function>(detectorLibrary.GetSymbol(name));
}

bool isHidden(const wxString& className) {
    return className == "person" || className == "face";
}

/// False for a name made of bytes that the library takes for characters which don't exist: it has no path.
bool isNameable(const wxString& name) {
    return std::all_of(name.begin(), name.end(),
                       [](const wxUniChar& character) { return character.GetValue() <= 0x10FFFF; });
}

/// First file of the folder that has the ending, in directory order; logs when there is none. A folder is no
/// file.
wxString firstFile(const wxDir& folder, const wxString& suffix) {
    wxString name;
    for (bool found = folder.GetFirst(&name, "*" + suffix, wxDIR_DEFAULT); found;
         found = folder.GetNext(&name))
        if (isNameable(name) && wxFileExists(folder.GetNameWithSep() + name))
            return name;
    wxLogMessage("[AI] Could not find %s", suffix);
    return {};
}

void readClassNames(const wxString& path) {
    // A detection's class counts from the first line of this model's file: the names of the pass before would
    // come first.
    classNames.clear();
    wxTextFile file(path);
    // Gone or locked since it was found; told as a model that names nobody.
    if (!file.Open())
        return;
    for (size_t line = 0; line < file.GetLineCount(); ++line)
        classNames.Add(file.GetLine(line));
}

/// Range of one side of a box: a box may reach one frame's length beyond the frame. Empty when the box
/// does not touch the frame.
struct Range {
    int64_t start = 0;
    int64_t length = 0;
};

std::optional<Range> plausibleRange(int32_t start, int32_t length, int32_t frameLength) {
    const int64_t end = int64_t{start} + length;
    if (length <= 0 || end <= 0 || start >= frameLength)
        return std::nullopt;
    const int64_t from = std::max<int64_t>(start, -int64_t{frameLength});
    const int64_t to = std::min<int64_t>(end, 2 * int64_t{frameLength});
    if (from != start || to != end)
        complainOnce("The detection library reports boxes far beyond the frame: cut");
    return Range{from, to - from};
}

/// The record as a detection; nothing when it is no person or face, or impossible.
std::optional<Detection> accept(const doriq::DetectionRecord& record, const pxl::Image& image) {
    if (record.classId < 0 || static_cast<size_t>(record.classId) >= classNames.size()) {
        complainOnce("The detection library reports classes that the model does not name: dropped");
        return std::nullopt;
    }
    if (!isHidden(classNames[static_cast<size_t>(record.classId)]))
        return std::nullopt;
    if (!std::isfinite(record.probability)) {
        complainOnce("The detection library reports probabilities that are no numbers: dropped");
        return std::nullopt;
    }
    if (record.probability < 0.0f || record.probability > 1.0f)
        complainOnce("The detection library reports probabilities outside 0 to 1: cut");
    const auto columns = plausibleRange(record.x, record.w, image.width);
    const auto rows = plausibleRange(record.y, record.h, image.height);
    if (!columns || !rows) {
        complainOnce("The detection library reports boxes outside the frame or without area: dropped");
        return std::nullopt;
    }
    // Multiplied as float: in double, 0.70f would give 69.
    const float percent = std::clamp(record.probability, 0.0f, 1.0f) * 100.0f;
    return Detection{static_cast<float>(columns->start), static_cast<float>(rows->start),
                     static_cast<float>(columns->length), static_cast<float>(rows->length),
                     static_cast<int32_t>(percent)};
}

} // namespace

wxString ownFolder() {
    return below(settings::userConfigFolder(), {"Tarvex Shroud", "Plugins", "Tarvex AI"});
}

wxString folder() {
    const wxString own = ownFolder();
    return wxDirExists(own) ? own : below(settings::userConfigFolder(), {"Tarvex3", "Plugins", "Tarvex AI"});
}

void init() {
    buildDetector = nullptr;
    destroyDetector = nullptr;
    detectorLibrary.Unload();

    aiFolder = folder();
    wxArrayString found;
    for (const wxString& name : libraryNames())
        if (const wxString path = aiFolder + wxFILE_SEP_PATH + name; wxFileExists(path))
            found.Add(path);
    if (found.empty()) {
        wxLogMessage("[AI] Could not find Doriq.dll");
        return;
    }
    platform::setLibrarySearchFolder(aiFolder);
    wxArrayString reasons;
    for (const wxString& path : found) {
        // Not an error yet: a library for another system may lie beside the right one.
        if (detectorLibrary.Load(path, wxDL_NOW | wxDL_VERBATIM | wxDL_QUIET))
            break;
        reasons.Add(wxFileName(path).GetFullName() + ": " + platform::libraryLoadError());
    }
    if (!detectorLibrary.IsLoaded()) {
        wxLogMessage("[AI] Error while loading Doriq.dll");
        for (const wxString& reason : reasons)
            wxLogMessage("[AI] %s", reason);
        return;
    }
    wxLogMessage("[AI] Loaded Doriq.dll");

    buildDetector = symbol<doriq::BuildObjectDetector>(doriq::kBuildSymbol);
    if (buildDetector)
        wxLogMessage("[AI] Loaded object detector builder");
    else
        wxLogMessage("[AI] Error while loading object detector builder");
    destroyDetector = symbol<doriq::DestroyObjectDetector>(doriq::kDestroySymbol);
    if (!destroyDetector) {
        wxLogMessage("[AI] Error while loading object detector destroyer");
        return;
    }
    wxLogMessage("[AI] Loaded object detector destroyer");
}

bool ready() {
    return detector != nullptr;
}

bool knowsPersonOrFace() {
    return std::any_of(classNames.begin(), classNames.end(), isHidden);
}

std::vector<wxString> complaints() {
    return madeComplaints;
}

int64_t failedFrames() {
    return failedFrameCount;
}

bool available() {
    return buildDetector && destroyDetector;
}

void buildDetectors(bool gpu) {
    destroyDetectors();
    madeComplaints.clear();
    failedFrameCount = 0;
    if (!available())
        return;

    const wxString modelFolder = below(aiFolder, {"Resources", "yolov4-tiny"});
    wxDir models;
    if (!wxDirExists(modelFolder) || !models.Open(modelFolder)) {
        wxLogMessage("[AI] Could not find object detector models");
        return;
    }
    const wxString names = firstFile(models, ".names");
    if (names.empty())
        return;
    const wxString cfg = firstFile(models, ".cfg");
    const wxString weights = firstFile(models, ".weights");
    readClassNames(modelFolder + wxFILE_SEP_PATH + names);
    if (cfg.empty() || weights.empty())
        return;

    if (!knowsPersonOrFace())
        complainOnce("The model's class names hold neither person nor face: " + names);

    const std::string cfgPath = platform::fileName(modelFolder + wxFILE_SEP_PATH + cfg);
    const std::string weightsPath = platform::fileName(modelFolder + wxFILE_SEP_PATH + weights);
    shielded("build a detector",
             [&] { detector = buildDetector(cfgPath.c_str(), weightsPath.c_str(), gpu); });
    if (detector)
        wxLogMessage("[AI] Object detector ready");
    else
        complainOnce("The detection library made no detector from this model");
}

void destroyDetectors() {
    if (!detector)
        return;
    shielded("destroy its detector", [] { destroyDetector(detector); });
    detector = nullptr;
}

std::vector<Detection> detectFrame(const pxl::Image& image) {
    if (!available() || !detector || image.empty())
        return {};
    // A library that reports more than it wrote must not bring back the frame before.
    detections.fill({});
    int32_t count = 0;
    const bool returned = shielded("detect", [&] {
        count = detector->detect(image.pixels, image.width, image.height, detections.data(), &kDetectParams);
    });
    if (!returned) {
        ++failedFrameCount;
        return {};
    }
    if (count < 0 || count > doriq::kMaxDetections)
        complainOnce("The detection library reports an impossible number of hits: cut");
    count = std::clamp(count, 0, doriq::kMaxDetections);

    std::vector<Detection> kept;
    for (int32_t index = 0; index < count; ++index)
        if (const auto detection = accept(detections[static_cast<size_t>(index)], image))
            kept.push_back(*detection);
    return kept;
}

} // namespace ai
