#pragma once

#include <string>

#include <gtest/gtest.h>
#include <wx/menu.h>
#include <wx/stattext.h>

#include "blurtrack.h"
#include "gui_support.h"
#include "mainframe.h"
#include "support/log_capture.h"
#include "support/paths.h"
#include "support/temp_folder.h"

class VideoCanvas2;

namespace test {

/// A main window with first-run settings, all switches at their initial values, and no dialog that waits.
class MainFrameTest : public testing::Test {
protected:
    MainFrameTest();
    ~MainFrameTest() override;

    /// Another window for the tests, when the one before is gone.
    void makeWindow();
    VideoCanvas2& canvas() const;

    static wxString clip(const std::string& name) { return wxString::FromUTF8(mediaDir() + "/" + name); }
    /// Opens a clip and waits until it can be edited.
    void openReady(const std::string& name);
    bool isReady() const;

    wxMenuItem* item(int id) const { return frame_->GetMenuBar()->FindItem(id); }
    wxMenuItem* item(const wxString& label) const;
    bool isEnabled(int id) const { return item(id)->IsEnabled(); }
    /// As the user would; nothing happens when the item is disabled.
    void command(int id);
    /// The text under the picture, as on the screen, lines joined.
    std::string hint() const;
    /// Pixels that the text under the picture takes.
    int hintHeight() const;
    /// Texts of the bars that are shown, top to bottom.
    std::vector<std::string> bars() const;
    size_t blurCount() const;
    /// Paints one rectangle on a frame.
    void addBlur(int64_t frame) const;
    /// Number of frames in the store, the empty key 0 included.
    static size_t storedFrames();

    /// The text under the picture.
    const wxStaticText& hintLine() const;

    DialogAnswers dialogs_;
    LogCapture log_;
    TempFolder folder_;
    MainFrame* frame_;
};

} // namespace test
