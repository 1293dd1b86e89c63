#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <wx/frame.h>

#include "commands.h"
#include "exportworker.h"
#include "orderedcalls.h"
#include "progressdisplay.h"
#include "safeprogress.h"
#include "video_backend.h"

class ScanProgress;
class VideoCanvas2;
class VideoPlayer;
class wxInfoBarGeneric;
class wxPanel;
class wxStaticText;

/// The one top-level window: menus, canvas, hint line, and the progress dialog of whatever runs. Owns the
/// player of the open video and starts the detection and export workers, which it does not wait for.
/// User-interface thread, except where said.
class MainFrame : public wxFrame, public ISafeProgress {
public:
    /// The size is in logical pixels.
    MainFrame(const wxString& title, const wxPoint& position, const wxSize& size);
    /// Ends the playback thread.
    ~MainFrame() override;

    /// Replaces the open video and forgets all blurs. Asynchronous from the pre-processing on; a failure
    /// is shown in a message box. Does nothing while a worker runs.
    void openVideo(const wxString& path);

    /// Makes the opened and pre-processed video editable. From another thread it queues itself.
    void onReady();

    /// Starts the detection pass on the open video. Does nothing while a worker runs.
    void OnAI(wxCommandEvent& event);

    /// True while a dropped video must be refused: one is being pre-processed or a worker runs.
    bool refusesVideos() const;

    void showHint(const wxString& text);

    /// Adds one more bar with the error icon under the picture; the user closes it.
    void showInfoBar(const wxString& text);

    /// The workers' progress sink: any thread, never blocks, one thread's calls keep their order.
    void start(const wxString& title, const wxString& message, int32_t total) override;
    void update(int32_t value, const wxString& message) override;
    void finish() override;

private:
    friend class ScanProgress;

    void buildMenus();
    void buildFileMenu();
    void buildToolsMenu();
    void buildHelpMenu();
    wxMenu* buildAiSettingsMenu();
    void checkSettings();
    void bindCommands();
    void buildContents();
    /// The items too: a disabled menu's accelerators work on.
    void enableEditing(bool enabled);

    void onOpen();
    void onExport();
    void onReset();
    void onChoice(wxCommandEvent& event);
    void onClose(wxCloseEvent& event);

    void exportTo(const wxString& outputPath);
    void onExportDone(ExportResult result, const wxString& outputPath, const wxString& reason);
    void closeVideo();
    void readyVideo();
    void showNotices(const video::VideoInfo& info);
    void showError(const wxString& text);
    /// Runs `call` on the user-interface thread, after all calls queued before it. Any thread.
    void queue(std::function<void()> call);

    wxMenu* fileMenu_ = nullptr;
    wxMenu* toolsMenu_ = nullptr;
    wxMenu* speedMenu_ = nullptr;
    wxMenu* modeMenu_ = nullptr;
    wxMenu* aiMenu_ = nullptr;
    wxMenuItem* aiItem_ = nullptr;
    wxMenu* settingsMenu_ = nullptr;
    wxMenuBar* menuBar_ = nullptr;

    VideoCanvas2* canvas_ = nullptr;
    wxPanel* bottomPanel_ = nullptr;
    wxStaticText* hintLine_ = nullptr;
    wxString hintShown_;

    std::unique_ptr<ScanProgress> scanProgress_;
    std::unique_ptr<VideoPlayer> player_;
    ProgressDisplay progress_;
    OrderedCalls calls_;
    /// Empty when no video is open.
    wxString videoPath_;
    /// Which open a queued call belongs to: calls of an earlier video must not act on a later one.
    int64_t openNumber_ = 0;
    /// From the start of a detection or export worker to the end of it. A video opened meanwhile would take
    /// the blurs away from the rest of the export.
    bool workerRunning_ = false;
    /// Bars about the open video, removed with it.
    std::vector<wxInfoBarGeneric*> notices_;
    /// Where the file dialogs start.
    wxString lastFolder_;
};
