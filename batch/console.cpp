#include "console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform.h"

namespace console {
namespace {

constexpr const char* kProgram = "tarvex_shroud_batch: ";

bool writeTo(std::FILE* stream, const wxString& text) {
    const std::string utf8 = text.utf8_string();
    return std::fwrite(utf8.data(), 1, utf8.size(), stream) == utf8.size() && std::fflush(stream) == 0;
}

/// A file name may hold a line break; a message is one line all the same.
wxString oneLine(wxString text) {
    text.Replace("\r", " ");
    text.Replace("\n", " ");
    return text + "\n";
}

} // namespace

void error(const wxString& text) {
    writeTo(stderr, kProgram + oneLine(text));
}

void warning(const wxString& text) {
    writeTo(stderr, kProgram + oneLine("warning: " + text));
}

bool print(const wxString& text) {
    if (writeTo(stdout, text))
        return true;
    const int code = errno;
    error("standard output: " + wxString::FromUTF8(std::strerror(code)));
    return false;
}

ProgressLine::ProgressLine(bool quiet) : visible_(!quiet && platform::isTerminal(stderr)) {}

void ProgressLine::start(const wxString& title, const wxString&, int32_t total) {
    title_ = title;
    total_ = total;
    update(0, wxString());
}

void ProgressLine::update(int32_t value, const wxString& message) {
    if (!message.empty())
        show(title_ + ": " + message);
    else if (total_ > 0)
        show(wxString::Format("%s: %d of %d frames, %d %%", title_, value, total_,
                              static_cast<int>(std::min<int64_t>(int64_t{value} * 100 / total_, 100))));
    else
        show(wxString::Format("%s: %d frames", title_, value));
}

void ProgressLine::finish() {
    show(wxString());
    if (visible_)
        writeTo(stderr, "\r");
}

void ProgressLine::show(const wxString& text) {
    if (!visible_)
        return;
    const std::size_t padding = shownLength_ > text.length() ? shownLength_ - text.length() : 0;
    writeTo(stderr, "\r" + text + wxString(' ', padding));
    shownLength_ = text.length();
}

} // namespace console
