#pragma once

#include <cstdint>
#include <optional>

#include "blurtrack.h"

/// What the window has to do after a step of the interaction, with no lock held. See `carryOut`.
struct CanvasEffects {
    static constexpr int kHoldMilliseconds = 200;

    /// A change of the hint line.
    struct Hint {
        /// `kHintSelected` or `kHintRecording`, which override the line; anything else gives it back.
        int32_t key = 0;
        int64_t blurId = blurtrack::kNoBlurId;
    };

    bool stopTimer = false;
    /// Starts the one-shot timer of kHoldMilliseconds anew.
    bool startTimer = false;
    bool clearLayoutHover = false;
    /// Play at this rate; 0 for no change.
    int playFps = 0;
    std::optional<Hint> hint;
    /// Stop the player, then seek to this frame; 0 for neither.
    int64_t stopAndSeekTo = 0;
    bool repaint = false;
    /// What the user has painted last could not be stored, and the region is not hidden.
    bool blurLost = false;
};

/// A window that can do all that. User-interface thread.
class CanvasActions {
public:
    virtual ~CanvasActions() = default;
    virtual void stopHoldTimer() = 0;
    virtual void startHoldTimer() = 0;
    /// Takes the layout lock.
    virtual void clearLayoutHover() = 0;
    virtual void play(int fps) = 0;
    virtual void tellHint(const CanvasEffects::Hint& hint) = 0;
    /// Waits for the play loop to end.
    virtual void stop() = 0;
    virtual void seek(int64_t frame) = 0;
    virtual void repaint() = 0;
    virtual void tellBlurLost() = 0;
};

/// Has the window do what the effects ask for, one after the other in the order of their fields, each with
/// no lock held: layout before playing before the hint line.
void carryOut(const CanvasEffects& effects, CanvasActions& window);

/// Tells the user in the main window that the last blur is not there.
void showBlurLost();

/// Shows the hint on the hint line and sets the switch that overrides it, or gives the line back to the hint
/// state's text.
void showOnHintLine(const CanvasEffects::Hint& hint);
