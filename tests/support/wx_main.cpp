#include <chrono>
#include <clocale>
#include <cstdio>

#include <gtest/gtest.h>
#include <wx/init.h>
#include <wx/log.h>

#include "workerend.h"

/// Tests of the engine run with the library initialised but without an application object.
int main(int argc, char** argv) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
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
