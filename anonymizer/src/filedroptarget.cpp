#include "filedroptarget.h"

#include <wx/intl.h>

#include "mainframe.h"

FileDropTarget::FileDropTarget(MainFrame* frame) : frame_(frame) {}

bool FileDropTarget::OnDropFiles(wxCoord, wxCoord, const wxArrayString& files) {
    if (files.size() > 1) {
        frame_->showInfoBar(_("Only one file at a time can be opened."));
        return false;
    }
    if (files.empty() || !isVideoName(files[0])) {
        frame_->showInfoBar(_("Only *.mp4 and *.mov files are supported."));
        return false;
    }
    if (frame_->refusesVideos())
        return false;
    frame_->CallAfter([frame = frame_, path = files[0]] { frame->openVideo(path); });
    return true;
}

bool isVideoName(const wxString& path) {
    const wxString lower = path.Lower();
    return lower.EndsWith(".mp4") || lower.EndsWith(".mov");
}
