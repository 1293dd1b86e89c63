#include "fuzz/fuzz_target.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>

#include <wx/init.h>
#include <wx/log.h>

namespace {

/// Messages are put together as in the program and then dropped.
class DroppingLog : public wxLog {
protected:
    void DoLogRecord(wxLogLevel, const wxString&, const wxLogRecordInfo&) override {}
};

[[noreturn]] void crashOnAssertion(const wxString& file, int line, const wxString& function,
                                   const wxString& condition, const wxString& message) {
    std::fprintf(stderr, "assertion \"%s\" failed in %s at %s:%d: %s\n", condition.utf8_string().c_str(),
                 function.utf8_string().c_str(), file.utf8_string().c_str(), line,
                 message.utf8_string().c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    static const wxInitializer initializer;
    fuzz::require(initializer.IsOk(), "wxWidgets can be initialised");
    delete wxLog::SetActiveTarget(new DroppingLog);
    wxSetAssertHandler(crashOnAssertion);
    return 0;
}

namespace fuzz {

void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

std::vector<std::string> parts(const std::string& input, size_t count) {
    static const std::string kSeparator = "\n--\n";
    std::vector<std::string> found;
    size_t start = 0;
    while (found.size() + 1 < count) {
        const size_t end = input.find(kSeparator, start);
        if (end == std::string::npos)
            break;
        found.push_back(input.substr(start, end - start));
        start = end + kSeparator.size();
    }
    found.push_back(input.substr(start));
    found.resize(count);
    return found;
}

} // namespace fuzz
