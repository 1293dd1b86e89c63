#include "platform.h"

#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>

#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <wx/log.h>

namespace platform {
namespace {

constexpr DWORD kLockPatienceMs = 2000;

struct CloseHandleOnExit {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, CloseHandleOnExit>;

/// Empty when the file can't be opened.
Handle openExisting(const wxString& path, DWORD access) {
    const HANDLE handle =
        CreateFileW(path.wc_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

bool identify(const wxString& path, BY_HANDLE_FILE_INFORMATION& information) {
    const Handle file = openExisting(path, 0);
    return file && GetFileInformationByHandle(file.get(), &information);
}

/// False; `errno` says what the system's last error was.
bool failure() {
    switch (GetLastError()) {
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        errno = EEXIST;
        break;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        errno = ENOENT;
        break;
    case ERROR_DISK_FULL:
        errno = ENOSPC;
        break;
    default:
        errno = EACCES;
    }
    return false;
}

std::atomic<void (*)(int)> stopHandler{nullptr};

/// On a thread of the system's own. Not called for what the program was started to ignore.
BOOL WINAPI onConsoleEvent(DWORD event) {
    stopHandler.load()(event == CTRL_C_EVENT ? SIGINT : SIGTERM);
    // The system ends the process when this returns from a closing console, at the latest after some seconds.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

} // namespace

bool isSameFile(const wxString& first, const wxString& second) {
    BY_HANDLE_FILE_INFORMATION a = {};
    BY_HANDLE_FILE_INFORMATION b = {};
    return identify(first, a) && identify(second, b) && a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
}

bool isWritable(const wxString& path) {
    const DWORD attributes = GetFileAttributesW(path.wc_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_READONLY);
}

// Who may do what comes from the folder here, and a file that is replaced is not read-only.
bool copyPermissions(const wxString& from, const wxString&) {
    return GetFileAttributesW(from.wc_str()) != INVALID_FILE_ATTRIBUTES || failure();
}

bool replaceFile(const wxString& from, const wxString& to) {
    return MoveFileExW(from.wc_str(), to.wc_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ||
           failure();
}

bool syncToDisk(const wxString& path) {
    const Handle file = openExisting(path, GENERIC_WRITE);
    return (file && FlushFileBuffers(file.get())) || failure();
}

bool createFile(const wxString& path) {
    const HANDLE handle =
        CreateFileW(path.wc_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE)
        return CloseHandle(handle) != 0;
    return failure();
}

bool removeFile(const wxString& path) {
    return DeleteFileW(path.wc_str()) != 0;
}

// A mutex named after the folder: the file system here locks files only.
FolderLock::FolderLock(const wxString& folder) : handle_(0) {
    if (GetFileAttributesW(folder.wc_str()) == INVALID_FILE_ATTRIBUTES)
        return;
    const std::size_t hash = std::hash<std::wstring>()(folder.Lower().ToStdWstring());
    const wxString name = wxString::Format("Local\\TarvexShroud-%llx", static_cast<unsigned long long>(hash));
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.wc_str());
    if (!mutex)
        return;
    const DWORD result = WaitForSingleObject(mutex, kLockPatienceMs);
    if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED)
        handle_ = reinterpret_cast<std::intptr_t>(mutex);
    else
        CloseHandle(mutex);
}

FolderLock::~FolderLock() {
    if (!handle_)
        return;
    const auto mutex = reinterpret_cast<HANDLE>(handle_);
    ReleaseMutex(mutex);
    CloseHandle(mutex);
}

bool FolderLock::isHeld() const {
    return handle_ != 0;
}

void prepareProcess() {
    setTextEncoding();
}

void setTextEncoding() {
    std::setlocale(LC_CTYPE, ".UTF-8");
    std::setlocale(LC_NUMERIC, "C");
    SetConsoleOutputCP(CP_UTF8);
}

char32_t toUpper(char32_t character) {
    if (character > 0xFFFF)
        return character;
    const auto from = static_cast<wchar_t>(character);
    wchar_t to = from;
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, &from, 1, &to, 1, nullptr, nullptr, 0);
    return to;
}

void setLibrarySearchFolder(const wxString& folder) {
    SetDllDirectoryW(folder.wc_str());
}

wxString libraryLoadError() {
    return wxSysErrorMsgStr();
}

std::vector<wxString> commandLineArguments(int, char**) {
    std::vector<wxString> arguments;
    int count = 0;
    wchar_t** texts = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; texts && i < count; ++i)
        arguments.push_back(texts[i]);
    LocalFree(texts);
    return arguments;
}

std::vector<wxString> commandLineFileNames(int argc, char** argv) {
    return commandLineArguments(argc, argv);
}

std::string fileName(const wxString& path) {
    return path.utf8_string();
}

wxString fileNameText(const std::string& name) {
    return wxString::FromUTF8(name);
}

bool isTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

void reportEveryMotion(void*) {}

void leaveEventsToOthers(void*) {}

bool setSwapInterval(int interval) {
    // Asked of the library that the canvas has loaded; this half of the program links no OpenGL.
    const HMODULE library = GetModuleHandleW(L"opengl32.dll");
    if (!library)
        return false;
    using Procedure = void (*)();
    using Lookup = PROC(WINAPI*)(LPCSTR);
    const auto lookup =
        reinterpret_cast<Lookup>(reinterpret_cast<Procedure>(GetProcAddress(library, "wglGetProcAddress")));
    if (!lookup)
        return false;
    using SetInterval = BOOL(WINAPI*)(int);
    const auto set = reinterpret_cast<SetInterval>(reinterpret_cast<Procedure>(lookup("wglSwapIntervalEXT")));
    return set && set(interval) != FALSE;
}

// Not by the C library's signals: it forgets a handler that it has called once.
void catchStopSignals(void (*handler)(int)) {
    stopHandler = handler;
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

void onStopSignals(void (*)(int)) {}

void endBySignal(int signal) {
    std::_Exit(128 + signal);
}

void ignoreWriteSignals() {}

} // namespace platform
