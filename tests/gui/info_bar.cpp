#include <wx/app.h>
#include <wx/frame.h>
#include <wx/infobar.h>
// The generic bar's header needs the one above.
#include <wx/generic/infobar.h>
#include <wx/sizer.h>

/// Shows a window whose contents are a bar with the error icon and the text of the command line, in the width
/// of the command line: what the same bar in another window has to look like.
class InfoBar : public wxApp {
public:
    bool OnInit() override {
        long width = 0;
        if (argc != 3 || !argv[1].ToLong(&width))
            return false;
        auto* window = new wxFrame(nullptr, wxID_ANY, "Info bar", wxPoint(0, 0));
        // It shows through.
        window->SetBackgroundColour(wxColour(32, 32, 32));
        auto* bar = new wxInfoBarGeneric(window);
        auto* sizer = new wxBoxSizer(wxVERTICAL);
        sizer->Add(bar, 0, wxEXPAND);
        window->SetSizer(sizer);
        bar->ShowMessage(argv[2], wxICON_ERROR);
        window->SetClientSize(static_cast<int>(width), bar->GetBestSize().y);
        window->Show();
        return true;
    }
};

wxIMPLEMENT_APP(InfoBar);
