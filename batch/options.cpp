#include "options.h"

#include <string>

#include <wx/cmdline.h>
#include <wx/msgout.h>

#include "console.h"
#include "switches.h"

namespace {

/// Collects what the parser would print.
class ParserMessages {
public:
    ParserMessages() : previous_(wxMessageOutput::Set(&collector_)) {}
    ~ParserMessages() { wxMessageOutput::Set(previous_); }
    ParserMessages(const ParserMessages&) = delete;
    ParserMessages& operator=(const ParserMessages&) = delete;

    /// The first line, without a full stop.
    wxString text() const {
        const wxString line = collector_.text.BeforeFirst('\n');
        return line.EndsWith(".") ? line.Left(line.length() - 1) : line;
    }

private:
    class Collector : public wxMessageOutput {
    public:
        void Output(const wxString& output) override { text += output; }
        wxString text;
    };
    Collector collector_;
    wxMessageOutput* previous_;
};

constexpr const char* kUsage =
    R"(Usage: tarvex_shroud_batch [--mode blur|unblur] [--regions FILE] [--threshold PERCENT] [--quiet]
                           [--detect [--preblur SECONDS] [--gpu] [--detections FILE]] INPUT OUTPUT
       tarvex_shroud_batch --info INPUT

Writes an anonymised copy of a video: a mosaic over the regions, or over everything but them.

  --mode blur|unblur   what the regions are: hidden (blur, the default), or all that stays clear (unblur)
  --regions FILE       comma-separated text, one region per line:
                       first_frame,last_frame,x,y,w,h[,score]
                       Frames count from 1, both ends included; pixels from the top left corner; a header line
                       and lines that begin with # are passed over; the score is 100 percent when absent.
  --threshold PERCENT  apply only regions with at least this score (0 to 100, default 50)
  --detect             look for persons and faces with the installed detection library and hide them as well
  --preblur SECONDS    with --detect: hide everything so many seconds before it appears (0 to 60, default 1)
  --gpu                with --detect: let the library use the graphics processor
  --detections FILE    with --detect: write what was hidden, one line per frame and rectangle, in the form
                       that --regions reads
  --quiet              show no progress
  --info               describe INPUT as one JSON object
  --version            tell the version
  -h, --help           show this text

OUTPUT ends in .mp4 or .mov. It appears, or is replaced, only when it is complete. INPUT is never changed.
Exit code: 0 done, 1 failed, 2 wrong usage.
)";

void describe(wxCmdLineParser& parser) {
    parser.SetSwitchChars("-");
    parser.AddLongOption("mode");
    parser.AddLongOption("regions");
    parser.AddLongOption("threshold", wxString(), wxCMD_LINE_VAL_NUMBER);
    parser.AddLongSwitch("detect");
    parser.AddLongOption("preblur", wxString(), wxCMD_LINE_VAL_NUMBER);
    parser.AddLongSwitch("gpu");
    parser.AddLongOption("detections");
    parser.AddLongSwitch("quiet");
    parser.AddLongSwitch("info");
    parser.AddLongSwitch("version");
    parser.AddSwitch("h", "help", wxString(), wxCMD_LINE_OPTION_HELP);
    parser.AddParam("INPUT", wxCMD_LINE_VAL_STRING, wxCMD_LINE_PARAM_OPTIONAL);
    parser.AddParam("OUTPUT", wxCMD_LINE_VAL_STRING, wxCMD_LINE_PARAM_OPTIONAL);
}

bool refuse(const wxString& text) {
    console::error(text + "; see --help");
    return false;
}

bool readMode(const wxCmdLineParser& parser, Options& options) {
    wxString mode;
    if (!parser.Found("mode", &mode) || mode == "blur")
        options.mode = switches::kBlurMode;
    else if (mode == "unblur")
        options.mode = switches::kUnblurMode;
    else
        return refuse(wxString::Format("--mode is blur or unblur, not '%s'", mode));
    return true;
}

bool readThreshold(const wxCmdLineParser& parser, Options& options) {
    long threshold = 0;
    if (!parser.Found("threshold", &threshold))
        return true;
    if (threshold < 0 || threshold > 100)
        return refuse(wxString::Format("--threshold is 0 to 100, not %ld", threshold));
    options.threshold = static_cast<int32_t>(threshold);
    return true;
}

bool readDetection(const wxCmdLineParser& parser, Options& options) {
    options.detect = parser.Found("detect");
    options.gpu = parser.Found("gpu");
    if (!options.detect && (options.gpu || parser.Found("preblur") || parser.Found("detections")))
        return refuse("--preblur, --gpu and --detections belong to --detect");
    if (parser.Found("detections", &options.detectionsPath) && options.detectionsPath.empty())
        return refuse("the name of the detections file is empty or not valid UTF-8");
    long seconds = 0;
    if (!parser.Found("preblur", &seconds))
        return true;
    if (seconds < 0 || seconds > 60)
        return refuse(wxString::Format("--preblur is 0 to 60, not %ld", seconds));
    options.preblurSeconds = static_cast<int32_t>(seconds);
    return true;
}

bool readFiles(const wxCmdLineParser& parser, Options& options) {
    const bool isInfo = options.command == Options::Command::Info;
    const std::size_t expected = isInfo ? 1 : 2;
    if (parser.GetParamCount() != expected)
        return refuse(isInfo ? "--info takes INPUT alone" : "INPUT and OUTPUT are needed");
    options.inputPath = parser.GetParam(0);
    options.outputPath = isInfo ? wxString() : parser.GetParam(1);
    if (options.inputPath.empty() || (!isInfo && options.outputPath.empty()))
        return refuse("a file name is empty or not valid UTF-8");
    if (parser.Found("regions", &options.regionsPath) && options.regionsPath.empty())
        return refuse("the name of the regions file is empty or not valid UTF-8");
    if (isInfo && options.detect)
        return refuse("--info detects nothing");
    if (isInfo && (parser.Found("mode") || parser.Found("regions") || parser.Found("threshold")))
        return refuse("--info applies no regions");
    return true;
}

} // namespace

bool parseOptions(const std::vector<wxString>& arguments, Options& options) {
    wxCmdLineParser parser;
    describe(parser);
    std::vector<std::wstring> texts = {L"tarvex_shroud_batch"}; // the parser passes over the program's name
    for (const wxString& argument : arguments)
        texts.push_back(argument.ToStdWstring());
    std::vector<wchar_t*> argv;
    for (std::wstring& text : texts)
        argv.push_back(text.data());
    parser.SetCmdLine(static_cast<int>(argv.size()), argv.data());
    const ParserMessages messages;
    const int result = parser.Parse(false);
    if (result < 0) {
        options.command = Options::Command::Help;
        return true;
    }
    if (result > 0)
        return refuse(messages.text());
    if (parser.Found("version")) {
        options.command = Options::Command::Version;
        return true;
    }
    if (parser.Found("info"))
        options.command = Options::Command::Info;
    options.quiet = parser.Found("quiet");
    return readMode(parser, options) && readThreshold(parser, options) && readDetection(parser, options) &&
           readFiles(parser, options);
}

wxString usageText() {
    return kUsage;
}
