#include "exporttarget.h"

#include "filedroptarget.h"

namespace exporttarget {

Filter filterFor(const wxString& sourcePath) {
    return sourcePath.Lower().EndsWith(".mov") ? kMov : kMp4;
}

wxString withEnding(const wxString& path, int filter) {
    if (path.empty() || isVideoName(path))
        return path;
    return path + (filter == kMov ? ".mov" : ".mp4");
}

} // namespace exporttarget
