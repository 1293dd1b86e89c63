#include <cerrno>
#include <cstring>
#include <exception>
#include <new>

#include <wx/init.h>
#include <wx/log.h>

#include "console.h"
#include "export_command.h"
#include "info_command.h"
#include "options.h"
#include "platform.h"
#include "stop_request.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kWrongUsage = 2 };

int run(int argc, char** argv) {
    Options options;
    if (!parseOptions(platform::commandLineArguments(argc, argv), options))
        return kWrongUsage;
    switch (options.command) {
    case Options::Command::Help:
        return console::print(usageText()) ? kDone : kFailed;
    case Options::Command::Version:
        return console::print("tarvex_shroud_batch " SHROUD_VERSION "\n") ? kDone : kFailed;
    case Options::Command::Info:
        return runInfo(options);
    case Options::Command::Export:
        return runExport(options);
    }
    return kFailed;
}

} // namespace

int main(int argc, char** argv) {
    platform::setTextEncoding();
    const wxInitializer library;
    if (!library.IsOk()) {
        console::error("the base library could not be initialised");
        return kFailed;
    }
    // The engine's log is for the window's log file; failures reach this program by other ways. By level, not
    // by target: lines of other threads are kept until the library ends and then go to a target of its own.
    wxLog::SetLogLevel(wxLOG_FatalError);
    platform::ignoreWriteSignals();
    stop_request::listen();
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        console::error(wxString::FromUTF8(std::strerror(ENOMEM)));
        return kFailed;
    } catch (const std::exception& error) {
        console::error(wxString::FromUTF8(error.what()));
        return kFailed;
    }
}
