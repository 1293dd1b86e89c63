/// Installs the open detection library and a model that the user supplies into the user's AI folder.
#include <cstdio>
#include <string>
#include <vector>

#include <wx/cmdline.h>
#include <wx/dynlib.h>
#include <wx/filename.h>
#include <wx/init.h>
#include <wx/log.h>
#include <wx/stdpaths.h>

#include "ai_doriq.h"
#include "doriq_contract.h"
#include "modelfiles.h"
#include "platform.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

const wxCmdLineEntryDesc kOptions[] = {
    {wxCMD_LINE_SWITCH, "h", "help", "show this text", wxCMD_LINE_VAL_NONE, wxCMD_LINE_OPTION_HELP},
    {wxCMD_LINE_SWITCH, nullptr, "check", "only check the model, install nothing", wxCMD_LINE_VAL_NONE, 0},
    {wxCMD_LINE_OPTION, nullptr, "library", "detection library to install", wxCMD_LINE_VAL_STRING, 0},
    {wxCMD_LINE_PARAM, nullptr, nullptr, "MODEL", wxCMD_LINE_VAL_STRING, wxCMD_LINE_PARAM_MULTIPLE},
    wxCMD_LINE_DESC_END};

void say(std::FILE* stream, const wxString& text) {
    std::fprintf(stream, "%s\n", text.utf8_str().data());
}

int failed(const std::vector<wxString>& problems) {
    for (const wxString& problem : problems)
        say(stderr, problem);
    return kFailed;
}

/// The library that the build makes, seen from the folder of this program.
wxString builtLibrary() {
    wxFileName path(wxStandardPaths::Get().GetExecutablePath());
    path.RemoveLastDir();
    path.AppendDir("lib");
    path.SetFullName("Doriq" + wxDynamicLibrary::GetDllExt(wxDL_MODULE));
    return path.GetFullPath();
}

/// Why the library can't use the model; it says more on standard error itself. Empty when it can.
wxString trial(const wxString& libraryPath, const modelfiles::ModelFiles& files) {
    wxDynamicLibrary library;
    if (!library.Load(libraryPath, wxDL_NOW | wxDL_VERBATIM | wxDL_QUIET))
        return libraryPath + " can't be loaded";
    if (!library.HasSymbol(doriq::kBuildSymbol) || !library.HasSymbol(doriq::kDestroySymbol))
        return libraryPath + " is no detection library";
    const auto build = reinterpret_cast<doriq::BuildObjectDetector>(library.GetSymbol(doriq::kBuildSymbol));
    const auto destroy =
        reinterpret_cast<doriq::DestroyObjectDetector>(library.GetSymbol(doriq::kDestroySymbol));
    doriq::ObjectDetector* detector = build(files.cfg.utf8_str(), files.weights.utf8_str(), false);
    // Unloading would pull the ground from under threads that the library may have started.
    library.Detach();
    if (!detector)
        return "The detection library can't use this model";
    destroy(detector);
    return {};
}

int run(int argc, char** argv) {
    // As the parser would do it itself, but not by the user's locale, which may know no such letters.
    std::vector<std::wstring> arguments = {L"tarvex_shroud_install_model"};
    for (const wxString& argument : platform::commandLineArguments(argc, argv))
        arguments.push_back(argument.ToStdWstring());
    std::vector<wchar_t*> pointers;
    for (std::wstring& argument : arguments)
        pointers.push_back(argument.data());
    wxCmdLineParser parser(kOptions, static_cast<int>(pointers.size()), pointers.data());
    parser.SetLogo(
        "Installs the detection library and a model for Tarvex Shroud.\n"
        "MODEL is a folder that holds one .names, one .cfg and one .weights file, or these three files:\n"
        "a YOLOv4-tiny model in Darknet's format. It is yours to supply, nothing is downloaded.");
    if (const int result = parser.Parse(); result != 0)
        return result < 0 ? kDone : kWrongUsage;

    std::vector<wxString> paths;
    for (size_t index = 0; index < parser.GetParamCount(); ++index) {
        wxFileName path(parser.GetParam(index));
        path.MakeAbsolute();
        paths.push_back(path.GetFullPath());
    }
    std::vector<wxString> problems;
    const modelfiles::ModelFiles files = modelfiles::find(paths, problems);
    if (problems.empty())
        problems = modelfiles::check(files);
    if (!problems.empty())
        return failed(problems);

    wxString library = builtLibrary();
    parser.Found("library", &library);
    if (!wxFileExists(library))
        return failed(
            {library + " does not exist: build the library (it needs OpenCV) or name one with --library"});
    wxFileName libraryName(library);
    libraryName.MakeAbsolute();
    if (const wxString problem = trial(libraryName.GetFullPath(), files); !problem.empty())
        return failed({problem});
    if (parser.Found("check")) {
        say(stdout, "The model fits together and the detection library can use it.");
        return kDone;
    }

    wxString problem;
    if (!modelfiles::install(library, files, ai::ownFolder(), problem))
        return failed({problem});
    say(stdout, "Installed in " + ai::ownFolder());
    return kDone;
}

} // namespace

int main(int argc, char** argv) {
    platform::setTextEncoding();
    wxInitializer initializer(argc, argv);
    if (!initializer.IsOk()) {
        std::fputs("wxWidgets could not be initialised\n", stderr);
        return kFailed;
    }
    // The library's start has set the user's locale.
    platform::setTextEncoding();
    // What fails is said once, in the words of this program; the parser's usage text comes another way.
    wxLog::EnableLogging(false);
    return run(argc, argv);
}
