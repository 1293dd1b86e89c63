#pragma once

#include <string>

#include <wx/string.h>

#include "safeprogress.h"

/// What the program says, UTF-8 whatever the locale.
namespace console {

/// One line on standard error, behind the program's name.
void error(const wxString& text);
/// One line on standard error, behind the program's name and "warning: ".
void warning(const wxString& text);
/// As it is, on standard output. False, told on standard error, when it could not be written.
bool print(const wxString& text);

/// One line that keeps changing, on standard error, if that is a terminal; nothing otherwise. May be called
/// from any thread, but not from two at once.
class ProgressLine : public ISafeProgress {
public:
    explicit ProgressLine(bool quiet);

    void start(const wxString& title, const wxString& message, int32_t total) override;
    void update(int32_t value, const wxString& message) override;
    /// Wipes the line.
    void finish() override;

private:
    void show(const wxString& text);

    bool visible_;
    wxString title_;
    int32_t total_ = 0;
    std::size_t shownLength_ = 0;
};

} // namespace console
