#include <chrono>
#include <clocale>
#include <cstdio>

#include <gtest/gtest.h>
#include <wx/init.h>
#include <wx/log.h>

#include "platform.h"
#include "workerend.h"

/// Tests of the engine run with the library initialised but without an application object.
int main(int argc, char** argv) {
    // What the GUI library takes from the environment, and what the programs then set for themselves.
    std::setlocale(LC_ALL, "");
    platform::setTextEncoding();
#ifdef LC_MESSAGES
    // The tests know the system's words in English.
    std::setlocale(LC_MESSAGES, "C");
#endif
    testing::InitGoogleTest(&argc, argv);
    wxInitializer initializer;
    if (!initializer.IsOk()) {
        std::fputs("wxWidgets could not be initialised\n", stderr);
        return 1;
    }
    delete wxLog::SetActiveTarget(new wxLogStderr);
    const int result = RUN_ALL_TESTS();
    workerend::wait(std::chrono::seconds(10));
    return result;
}
