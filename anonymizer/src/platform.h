#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <wx/string.h>

/// Everything that differs between operating systems, one source file per system. All paths are UTF-8-safe
/// wxStrings; none of the functions logs or throws.
namespace platform {

/// True when both paths name one existing file, links included. False when either does not exist.
bool isSameFile(const wxString& first, const wxString& second);

/// True when the file exists and this process may change it.
bool isWritable(const wxString& path);

/// Gives `to` the permissions that `from` has: read, write and execute for owner, group and others. False on
/// failure (`errno` is ENOENT when there is no `from`).
bool copyPermissions(const wxString& from, const wxString& to);

/// Renames within one folder, replacing the target in one step. False on failure (`errno` says why); the
/// target is then as before.
bool replaceFile(const wxString& from, const wxString& to);

/// Asks the system to put the file's content on the disk. False when it reports an error (`errno` says
/// which).
bool syncToDisk(const wxString& path);

/// Creates an empty file with the permissions any new file gets. False when something of that name exists
/// (`errno` is EEXIST then) or it can't be created (`errno` says why).
bool createFile(const wxString& path);

/// False when the file could not be removed or did not exist.
bool removeFile(const wxString& path);

/// Holds off everybody else, threads and processes, who wants the same lock on a folder. Waits for it when
/// created, two seconds at most, and lets it go when destroyed, on one thread. Leaves no file behind.
class FolderLock {
public:
    explicit FolderLock(const wxString& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    /// False when the folder does not exist, its file system knows no locks or somebody else has not let go
    /// of it in time.
    bool isHeld() const;

private:
    std::intptr_t handle_;
};

/// The first call of `main`, before the GUI library starts and any thread exists: the window system that
/// OpenGL needs, and `setTextEncoding`.
void prepareProcess();

/// Text of the process is UTF-8 whatever the user's locale, and numbers have a decimal point. To the GUI
/// library's functions names of files are what they are to `fileName`. To be called again after every change
/// of the locale and once the window system has started.
void setTextEncoding();

/// Upper case of one character by Unicode's rules, whatever the locale.
char32_t toUpper(char32_t character);

/// Makes `folder` the place where the libraries that a loaded library needs are looked for, where the system
/// has such a setting (Windows); nothing elsewhere.
void setLibrarySearchFolder(const wxString& folder);

/// Why the library that this thread tried to load last could not be loaded, in the system's words. Empty when
/// that is not known; may be asked once.
wxString libraryLoadError();

/// The program's arguments without its name. One that is not valid UTF-8 becomes an empty text.
std::vector<wxString> commandLineArguments(int argc, char** argv);

/// The same for a program that opens every file: a byte that is no UTF-8 becomes a private character, as it
/// does in the names that the GUI library's dialogs and drops deliver. `fileName` makes it a byte again.
std::vector<wxString> commandLineFileNames(int argc, char** argv);

/// `path` as the system's and the media library's functions take it: UTF-8, on this system with the bytes
/// behind private characters (`commandLineFileNames`).
std::string fileName(const wxString& path);

/// The way back: the path or name that `fileName` would make `name` of. On this system that is any bytes but
/// 0.
wxString fileNameText(const std::string& name);

/// True when what is written there reaches a person directly.
bool isTerminal(std::FILE* stream);

/// Has `handler` called for every signal that asks a program to end, on whatever thread that comes to; system
/// calls that wait return with EINTR then. A signal that the program was started to ignore stays ignored.
void catchStopSignals(void (*handler)(int));

/// Has `handler` called with every such signal, on the main thread by its event loop. To be called while the
/// GUI library's application exists. Does nothing where the system asks the windows instead (Windows).
void onStopSignals(void (*handler)(int signal));

/// Ends the process by that signal, as if it had never been caught.
[[noreturn]] void endBySignal(int signal);

/// Turns writing to a closed pipe or past a file size limit into an ordinary write error.
void ignoreWriteSignals();

/// Asks the window system to present pictures only at every `interval`th refresh of the display. Needs a
/// current OpenGL context. False when it can't; nothing is lost then but smoothness.
bool setSwapInterval(int interval);

/// Has the window report where the mouse comes to rest, however fast it got there. `nativeWindow` is the GUI
/// library's handle of a window that is on the screen. Does nothing where that is so anyway, or for nullptr.
void reportEveryMotion(void* nativeWindow);

/// Has a popup window, which the GUI library gives the events of all others, leave them those that the mouse
/// does not make: without them no other window can be closed meanwhile. It keeps the mouse that it captured.
/// `nativePopup` is the GUI library's handle. Does nothing where that is so anyway, or for nullptr.
void leaveEventsToOthers(void* nativePopup);

} // namespace platform
