#include <wx/app.h>

#include "anonymizer.h"
#include "logfiles.h"
#include "platform.h"

wxIMPLEMENT_APP_NO_MAIN(Anonymizer);

int main(int argc, char** argv) {
    platform::prepareProcess();
    logfiles::logUnhandledExceptions();
    return wxEntry(argc, argv);
}
