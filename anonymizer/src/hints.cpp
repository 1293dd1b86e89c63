#include "hints.h"

#include <map>

#include <wx/app.h>
#include <wx/intl.h>

#include "mainframe.h"
#include "switches.h"

namespace {

std::map<int32_t, wxString> buildHints() {
    return {
        {kHintNoVideo,
         wxString::Format(_("Open the video by selecting %s > %s in the menu. Or drag and drop the "
                            "video file here."),
                          withoutMnemonics(_("&File")), withoutMnemonics(_("&Open...")))},
        {kHintBlurMode, _("Hold down left mouse button to blur. Scroll to resize the brush.")},
        {kHintUnblurMode, _("Hold down left mouse button to erase blur. Scroll to resize the brush.")},
        {kHintRecording, _("Recording blur %lld")},
        {kHintSelected, _("Blur %lld selected.")},
    };
}

} // namespace

wxString hintText(int32_t key) {
    static const std::map<int32_t, wxString> hints = buildHints();
    const auto hint = hints.find(key);
    return hint == hints.end() ? wxString("placeholder") : hint->second;
}

wxString hintTextForBlur(int32_t key, int64_t blurId) {
    return wxString::Format(hintText(key), static_cast<long long>(blurId));
}

void setHint(const wxString& text) {
    const auto* app = dynamic_cast<wxApp*>(wxAppConsole::GetInstance());
    if (auto* frame = app ? dynamic_cast<MainFrame*>(app->GetTopWindow()) : nullptr)
        frame->showHint(text);
}

void setHintState(int32_t state) {
    switches::hintState = state;
    if (!switches::hintOverride)
        setHint(hintText(state));
}

wxString withoutMnemonics(const wxString& label) {
    static const wxString kEscaped = "_*_**ESCAPEDAMPERSAND**_*_";
    wxString text = label;
    text.Replace("&&", kEscaped);
    text.Replace("&", "");
    text.Replace(kEscaped, "&");
    return text;
}
