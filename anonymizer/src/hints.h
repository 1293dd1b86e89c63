#pragma once

#include <cstdint>

#include <wx/string.h>

/// The line of guidance under the picture. User-interface thread only.

/// Keys of `hintText`. The first three are also the hint states (`switches::hintState`).
enum HintKey : int32_t {
    kHintNoVideo = 0,
    kHintBlurMode = 1,
    kHintUnblurMode = 2,
    /// A format: takes the blur's id as "%lld".
    kHintRecording = 4,
    /// A format: takes the blur's id as "%lld".
    kHintSelected = 5,
};

/// Translated text of a key; "placeholder" for any other key. The table is built on the first call and
/// keeps that call's language.
wxString hintText(int32_t key);

/// `hintText(key)` with the blur's id filled in; for the two formats only.
wxString hintTextForBlur(int32_t key, int64_t blurId);

/// Shows a text in the hint line, wrapped to the window's width. Does nothing while the application's top
/// window is not the main window. Call it with no lock held.
void setHint(const wxString& text);

/// Changes the hint state and shows its text, unless the canvas has taken the line over
/// (`switches::hintOverride`).
void setHintState(int32_t state);

/// A menu label as it reads on the screen: single ampersands removed, double ones made single.
wxString withoutMnemonics(const wxString& label);
