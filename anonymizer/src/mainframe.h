#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <wx/frame.h>

#include "aiworker.h"
#include "exportworker.h"
#include "orderedcalls.h"
#include "progressdisplay.h"
#include "safeprogress.h"
#include "video_backend.h"

class RunningThread;
class ScanProgress;
class WindowLink;
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

    /// Replaces the open video and forgets all blurs. Pre-processing goes on when it returns; a failure is
    /// shown in a message box. Does nothing while a worker runs.
    void openVideo(const wxString& path);

    /// Makes the video of that open editable once it is pre-processed; nothing happens when another one was
    /// opened since. From another thread it queues itself.
    void onReady(int64_t openNumber);

    /// Starts the detection pass on the open video; on no frames before one is ready. Does nothing while a
    /// worker runs.
    void OnAI(wxCommandEvent& event);

    /// Writes the anonymised copy of the open video. Refusals and failures are message boxes. Does nothing
    /// before the video is ready or while a worker runs.
    void exportTo(const wxString& outputPath);

    /// Stops a running export, whose file becomes a shorter one, and calls `stopped` once that is closed; at
    /// once when none runs.
    void stopExport(std::function<void()> stopped);

    /// True while a dropped video must be refused: one is being pre-processed, a worker runs or the user
    /// chooses a file.
    bool refusesVideos() const;

    /// Wrapped to the window's width, now and whenever that changes. A window too low for all of it shows the
    /// beginning, and the rest in a tool tip.
    void showHint(const wxString& text);
    /// Adds one more bar with the error icon under the picture; the user closes it.
    void showInfoBar(const wxString& text);
    /// Paints the picture again soon.
    void refreshPicture();

    /// The workers' progress sink: any thread, never blocks, one thread's calls keep their order.
    void start(const wxString& title, const wxString& message, int32_t total) override;
    void update(int32_t value, const wxString& message) override;
    void finish() override;

private:
    enum class Worker { None, Detection, Export };

    /// A bar under the picture with the text that it was made from. Hidden once the user has closed it.
    struct Bar {
        wxInfoBarGeneric* window;
        wxString text;
        /// Taken away with the open video.
        bool aboutVideo;
    };

    void buildMenus();
    wxMenu* buildFileMenu();
    wxMenu* buildToolsMenu();
    wxMenu* buildAiMenu();
    wxMenu* buildHelpMenu();
    void bindCommands();
    /// Checks the items of what is in force. For a stored number without an item the first of the group stays
    /// checked: the library never leaves a group without one.
    void checkSettings();
    /// Of the Tools menu the items too: a disabled menu's accelerators work on.
    void enableEditing(bool enabled);
    void loadIcon();
    void buildContents();

    void onOpen();
    void onExport();
    void onReset();
    /// Destroys the window once no call of `calls_` is under way.
    void leave();
    void onChoice(int id);
    void onClose(wxCloseEvent& event);
    void onSize(wxSizeEvent& event);

    /// A worker runs or the user chooses a file.
    bool isBusy() const;
    /// Asks for the target of an export. Nothing when the user thinks better of it.
    std::optional<wxString> chooseExportPath();
    /// Shows the progress of a worker that is about to start; from here on the window can't be used.
    void startWorker(Worker worker, const wxString& title, const wxString& message);
    void endWorker();
    void endExport();
    /// A player that has no video yet. The one before has ended.
    void makePlayer();
    void closeVideo();
    void readyVideo();
    /// False until the window has its first real size: no text fits into what it has before.
    bool isLaidOut() const;
    /// Pixels that the bars under the picture take.
    int barsHeight() const;
    /// Breaks the bars' texts for the window's width, which is a real one.
    void fitBars();
    void fitBar(const Bar& bar);
    void addBar(const wxString& text, int icon, bool aboutVideo);
    void removeVideoBars();
    void showError(const wxString& text, const wxString& advice = {});
    void onExportDone(ExportResult result, const wxString& outputPath, const wxString& reason);
    /// Zeros and an empty path when no video is ready.
    video::VideoInfo videoInfo() const;
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
    /// What the hint line was made from: it is laid out again only when one of them changes.
    wxString hintShown_;
    int hintWidth_ = 0;
    int hintRoom_ = 0;

    /// Outlives the player that reports to it.
    std::unique_ptr<ScanProgress> scanProgress_;
    /// The window always has one; without a video it has not been started.
    std::unique_ptr<VideoPlayer> player_;
    ProgressDisplay progress_;
    OrderedCalls calls_;
    /// Empty when no video is open.
    wxString videoPath_;
    /// The open video can be edited, exported and searched.
    bool ready_ = false;
    /// A file dialog or a question about its answer is on the screen.
    bool choosingFile_ = false;
    /// Which open a queued call belongs to: calls of an earlier video must not act on a later one.
    int64_t openNumber_ = 0;
    /// From the start of a worker to its end. A video opened meanwhile would take the blurs away from the
    /// rest of an export, and what it should hide would go out clear.
    Worker worker_ = Worker::None;
    /// Of the export that runs or ran last; null before its thread runs.
    std::shared_ptr<RunningThread> export_;
    /// Called at the end of the export; empty unless somebody waits for it.
    std::function<void()> exportStopped_;
    /// How the detection that runs or ran last went; read only after it has finished. Null when it had no
    /// video.
    std::shared_ptr<AiReport> report_;
    /// What the workers know of this window.
    std::shared_ptr<WindowLink> link_;
    std::vector<Bar> bars_;
    int barsWidth_ = 0;
    /// Where the file dialogs start; empty before the first file of this run.
    wxString lastFolder_;
};
