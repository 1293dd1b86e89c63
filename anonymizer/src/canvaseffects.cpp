#include "canvaseffects.h"

#include "hints.h"
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
}

void showOnHintLine(const CanvasEffects::Hint& hint) {
    const bool overrides = hint.key == kHintRecording || hint.key == kHintSelected;
    switches::hintOverride = overrides;
    setHint(overrides ? hintTextForBlur(hint.key, hint.blurId) : hintText(switches::hintState));
}
