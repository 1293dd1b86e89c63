#include "modelfiles.h"

#include <algorithm>

#include <wx/arrstr.h>
#include <wx/dir.h>
#include <wx/dynlib.h>
#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/textfile.h>

#include "darknet_cfg.h"
#include "platform.h"

namespace modelfiles {

namespace {

struct Kind {
    const char* suffix;
    wxString ModelFiles::*path;
    const char* meaning;
};

constexpr Kind kKinds[] = {{".names", &ModelFiles::names, "the class names, one per line"},
                           {".cfg", &ModelFiles::cfg, "the network"},
                           {".weights", &ModelFiles::weights, "the trained weights"}};

/// The first `most` bytes of a file. False when it can't be read.
bool readStart(const wxString& path, size_t most, std::string& content) {
    wxFFile file(path, "rb");
    if (!file.IsOpened())
        return false;
    content.resize(most);
    content.resize(file.Read(content.data(), most));
    return !file.Error();
}

std::vector<wxString> expanded(const std::vector<wxString>& paths, std::vector<wxString>& problems) {
    std::vector<wxString> files;
    for (const wxString& path : paths) {
        if (wxFileExists(path)) {
            files.push_back(path);
        } else if (wxDirExists(path)) {
            wxArrayString found;
            wxDir::GetAllFiles(path, &found, wxEmptyString, wxDIR_FILES);
            files.insert(files.end(), found.begin(), found.end());
        } else {
            problems.push_back(path + " does not exist");
        }
    }
    return files;
}

bool copyInOneStep(const wxString& from, const wxString& to, wxString& problem) {
    const wxString part = to + ".part";
    if (wxCopyFile(from, part) && platform::replaceFile(part, to))
        return true;
    wxRemoveFile(part);
    problem = to + " can't be written";
    return false;
}

} // namespace

ModelFiles find(const std::vector<wxString>& paths, std::vector<wxString>& problems) {
    const std::vector<wxString> candidates = expanded(paths, problems);
    ModelFiles files;
    for (const Kind& kind : kKinds) {
        for (const wxString& candidate : candidates) {
            if (!candidate.Lower().EndsWith(kind.suffix))
                continue;
            if (!(files.*kind.path).empty())
                problems.push_back(wxString::Format("There is more than one %s file: %s and %s", kind.suffix,
                                                    files.*kind.path, candidate));
            files.*kind.path = candidate;
        }
        if ((files.*kind.path).empty())
            problems.push_back(wxString::Format("The %s file (%s) is missing", kind.suffix, kind.meaning));
    }
    return files;
}

std::vector<wxString> check(const ModelFiles& files) {
    constexpr size_t kLargestCfg = 16 << 20;
    std::vector<wxString> problems;
    std::string cfg;
    std::string weightsStart;
    if (!readStart(files.cfg, kLargestCfg, cfg))
        problems.push_back(files.cfg + " can't be read");
    if (!readStart(files.weights, darknet::kWeightsHeaderBytes, weightsStart))
        problems.push_back(files.weights + " can't be read");
    wxTextFile names(files.names);
    if (!names.Open())
        problems.push_back(files.names + " can't be read");
    if (!problems.empty())
        return problems;

    const darknet::Network network = darknet::readNetwork(cfg);
    if (!network.problem.empty()) {
        problems.push_back(files.cfg + ": " + wxString::FromUTF8(network.problem));
        return problems;
    }
    const auto weightsBytes = static_cast<int64_t>(wxFileName::GetSize(files.weights).GetValue());
    const std::string weights = darknet::weightsProblem(network, weightsStart, weightsBytes);
    if (!weights.empty())
        problems.push_back(files.weights + ": " + wxString::FromUTF8(weights));

    size_t nameCount = names.GetLineCount();
    while (nameCount > 0 && names.GetLine(nameCount - 1).empty())
        --nameCount;
    if (nameCount != static_cast<size_t>(network.classes))
        problems.push_back(wxString::Format("%s: it has %zu names, the network has %d classes", files.names,
                                            nameCount, network.classes));
    bool isUseful = false;
    for (size_t line = 0; line < nameCount; ++line)
        isUseful = isUseful || names.GetLine(line) == "person" || names.GetLine(line) == "face";
    if (!isUseful)
        problems.push_back(files.names +
                           ": neither \"person\" nor \"face\" is among the names, nothing would be hidden");
    return problems;
}

bool install(const wxString& library, const ModelFiles& files, const wxString& aiFolder, wxString& problem) {
    const wxString separator = wxFileName::GetPathSeparator();
    const wxString modelFolder = aiFolder + separator + "Resources" + separator + "yolov4-tiny";
    if (!wxDirExists(modelFolder) && !wxFileName::Mkdir(modelFolder, 0777, wxPATH_MKDIR_FULL)) {
        problem = modelFolder + " can't be made";
        return false;
    }
    const wxString libraryTarget = aiFolder + separator + "Doriq" + wxDynamicLibrary::GetDllExt(wxDL_MODULE);
    if (!copyInOneStep(library, libraryTarget, problem))
        return false;
    for (const Kind& kind : kKinds) {
        const wxString source = files.*kind.path;
        const wxString target = modelFolder + separator + "model" + kind.suffix;
        if (!platform::isSameFile(source, target) && !copyInOneStep(source, target, problem))
            return false;
        // Of several files the application would take any.
        wxArrayString present;
        wxDir::GetAllFiles(modelFolder, &present, wxString("*") + kind.suffix, wxDIR_FILES);
        for (const wxString& other : present)
            if (other != target && !wxRemoveFile(other)) {
                problem = other + " is in the way and can't be removed";
                return false;
            }
    }
    return true;
}

} // namespace modelfiles
