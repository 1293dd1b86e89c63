#include <cstdio>
#include <cstdlib>

#include <wx/init.h>
#include <wx/log.h>

#include "blurprocessors.h"
#include "blurtrack.h"
#include "video_backend_ffmpeg.h"

/// Writes one frame of a video, anonymised by the export's own processor, to standard output as raw RGBA.
/// usage: process_frame VIDEO FRAME blur|unblur [X Y W H]...
int main(int argc, char** argv) {
    const wxInitializer initializer;
    if (argc < 4 || (argc - 4) % 4 != 0)
        return 2;
    const int frame = std::atoi(argv[2]);
    Decoder_ffmpeg decoder;
    if (!decoder.open(wxString::FromUTF8(argv[1])))
        return 1;
    video::Progress progress;
    decoder.scan(progress);
    video::VideoInfo info;
    decoder.info(info);
    pxl::Image image(info.width, info.height);
    if (!decoder.seek(frame) || !decoder.next() || !decoder.convert(image))
        return 1;
    blurtrack::initFrames(frame);
    for (int i = 4; i + 3 < argc; i += 4)
        blurtrack::addBlur(
            frame,
            {static_cast<float>(std::atof(argv[i])), static_cast<float>(std::atof(argv[i + 1])),
             static_cast<float>(std::atof(argv[i + 2])), static_cast<float>(std::atof(argv[i + 3]))},
            blurtrack::kBrushScore, i);
    Frameblur blur;
    Frameunblur unblur;
    IImageProcessor& processor = wxString(argv[3]) == "unblur" ? static_cast<IImageProcessor&>(unblur) : blur;
    const pxl::Image* result = processor.process(image, frame, 50);
    return std::fwrite(result->pixels, 1, result->byteCount(), stdout) == result->byteCount() ? 0 : 1;
}
