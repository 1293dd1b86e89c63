#include "canvaseffects.h"

#include <wx/app.h>
#include <wx/intl.h>

#include "hints.h"
#include "mainframe.h"
#include "switches.h"

void carryOut(const CanvasEffects& effects, CanvasActions& window) {
    if (effects.stopTimer)
        window.stopHoldTimer();
    if (effects.startTimer)
        window.startHoldTimer();
    if (effects.clearLayoutHover)
        window.clearLayoutHover();
    if (effects.playFps > 0)
        window.play(effects.playFps);
    if (effects.hint)
        window.tellHint(*effects.hint);
    if (effects.stopAndSeekTo > 0) {
        window.stop();
        window.seek(effects.stopAndSeekTo);
    }
    if (effects.repaint)
        window.repaint();
    if (effects.blurLost)
        window.tellBlurLost();
}

void showBlurLost() {
    const auto* app = dynamic_cast<wxApp*>(wxAppConsole::GetInstance());
    // A canvas without the main window is the tests'.
    if (auto* frame = app ? dynamic_cast<MainFrame*>(app->GetTopWindow()) : nullptr)
        frame->showInfoBar(
            _("The last blur could not be stored completely. Look at it and paint what is missing."));
}

void showOnHintLine(const CanvasEffects::Hint& hint) {
    const bool overrides = hint.key == kHintRecording || hint.key == kHintSelected;
    switches::hintOverride = overrides;
    setHint(overrides ? hintTextForBlur(hint.key, hint.blurId) : hintText(switches::hintState));
}
