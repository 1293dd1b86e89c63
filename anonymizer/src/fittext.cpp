#include "fittext.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <wx/dcclient.h>
#include <wx/textwrapper.h>
#include <wx/window.h>

namespace {

/// The library's lines, which are broken at blanks only.
class Lines : public wxTextWrapper {
public:
    std::vector<wxString> lines;

protected:
    void OnOutputLine(const wxString& line) override { lines.push_back(line); }
};

/// Number of characters from the front that fit; at least one.
size_t fittingLength(const wxDC& dc, const wxString& line, int width) {
    wxArrayInt ends;
    dc.GetPartialTextExtents(line, ends);
    const auto firstBeyond = std::find_if(ends.begin(), ends.end(), [width](int end) { return end > width; });
    return std::max<size_t>(static_cast<size_t>(firstBeyond - ends.begin()), 1);
}

std::vector<wxString> broken(const wxDC& dc, const std::vector<wxString>& lines, int width) {
    std::vector<wxString> narrow;
    for (wxString line : lines) {
        for (size_t fits = fittingLength(dc, line, width); fits < line.length();
             fits = fittingLength(dc, line, width)) {
            narrow.push_back(line.Left(fits));
            line.erase(0, fits);
        }
        narrow.push_back(line);
    }
    return narrow;
}

wxString withEllipsis(const wxDC& dc, const wxString& line, int width) {
    const wxString ellipsis(kEllipsis);
    const size_t fits = fittingLength(dc, line, width - dc.GetTextExtent(ellipsis).x);
    return line.Left(fits).Strip() + ellipsis;
}

} // namespace

wxString fitText(const wxWindow& window, const wxString& text, int width, size_t maxLines) {
    // The library asks for a window that it may change, and only measures.
    auto* measured = const_cast<wxWindow*>(&window);
    Lines wrapped;
    wrapped.Wrap(measured, text, width);
    wxClientDC dc(measured);
    dc.SetFont(window.GetFont());
    const std::vector<wxString> lines = broken(dc, wrapped.lines, width);

    wxString fitted;
    for (size_t i = 0; i < std::min(lines.size(), maxLines); ++i) {
        fitted += i ? "\n" : "";
        fitted += i + 1 == maxLines && lines.size() > maxLines ? withEllipsis(dc, lines[i], width) : lines[i];
    }
    return fitted;
}
