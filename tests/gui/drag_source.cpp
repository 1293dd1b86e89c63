#include <cstdio>

#include <wx/app.h>
#include <wx/dataobj.h>
#include <wx/dnd.h>
#include <wx/frame.h>

namespace {

void say(const char* word) {
    std::puts(word);
    std::fflush(stdout);
}

} // namespace

/// Stands for a file manager: a window from which the files of the command line can be dragged. A drag begins
/// with a press of the left button anywhere in it. How it goes is said on standard output, a word a line.
class DragSource : public wxApp {
public:
    bool OnInit() override {
        auto* window = new wxFrame(nullptr, wxID_ANY, "Drag source", wxPoint(0, 0), wxSize(120, 80));
        window->Bind(wxEVT_LEFT_DOWN, [this, window](wxMouseEvent&) {
            wxFileDataObject files;
            for (int i = 1; i < argc; ++i)
                files.AddFile(argv[i]);
            say("begun");
            const wxDragResult result = wxDropSource(files, window).DoDragDrop();
            say(result == wxDragCopy || result == wxDragMove ? "dropped" : "lost");
        });
        window->Show();
        return true;
    }
};

wxIMPLEMENT_APP(DragSource);
