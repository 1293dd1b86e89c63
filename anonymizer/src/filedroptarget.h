#pragma once

#include <wx/dnd.h>

class MainFrame;

/// Opens a video that is dropped on the window.
class FileDropTarget : public wxFileDropTarget {
public:
    /// `frame` owns this object.
    explicit FileDropTarget(MainFrame* frame);

    /// True when the file is taken; it is opened when the event loop runs next, so that whoever dragged it
    /// does not wait. Anything but one MP4 or MOV file is refused with a word to the user; one that comes
    /// while a video is being pre-processed or a worker runs is refused silently.
    bool OnDropFiles(wxCoord x, wxCoord y, const wxArrayString& files) override;

private:
    MainFrame* frame_;
};

/// By the ending of the name, whatever its case.
bool isVideoName(const wxString& path);
