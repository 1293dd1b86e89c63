#pragma once

#include <vector>

#include <wx/string.h>

/// The three files of a detection model as a user hands them over: class names, network, weights.
namespace modelfiles {

struct ModelFiles {
    /// Full paths.
    wxString names;
    wxString cfg;
    wxString weights;
};

/// Recognises the files by their endings among `paths`, each a file or a folder that holds some. Fills
/// `problems` with what is missing, there twice or not readable; nothing then is worth using.
ModelFiles find(const std::vector<wxString>& paths, std::vector<wxString>& problems);

/// What speaks against the three files belonging together and being of use, in words for the user; empty when
/// nothing does.
std::vector<wxString> check(const ModelFiles& files);

/// Copies the library and the model into the AI folder, made when missing, and takes out the files of a model
/// that was there before. Each file is replaced in one step, so a running application keeps what it has
/// loaded. False on failure; `problem` then says why.
bool install(const wxString& library, const ModelFiles& files, const wxString& aiFolder, wxString& problem);

} // namespace modelfiles
