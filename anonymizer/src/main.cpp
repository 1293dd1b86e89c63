#include <string>
#include <vector>

#include <wx/app.h>
#include <wx/init.h>

#include "anonymizer.h"
#include "logfiles.h"
#include "platform.h"

wxIMPLEMENT_APP_NO_MAIN(Anonymizer);

int main(int argc, char** argv) {
    platform::prepareProcess();
    logfiles::logUnhandledExceptions();

    // Given narrow arguments, the GUI library takes them for text of the user's locale: "Ärger.mp4" would
    // arrive broken in the locale "C", and not at all when its name is in Latin-1.
    std::vector<std::wstring> arguments{L"tarvex_shroud"};
    for (const wxString& argument : platform::commandLineFileNames(argc, argv))
        arguments.push_back(argument.ToStdWstring());
    std::vector<wchar_t*> pointers;
    for (std::wstring& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    int count = static_cast<int>(arguments.size());
    return wxEntry(count, pointers.data());
}
