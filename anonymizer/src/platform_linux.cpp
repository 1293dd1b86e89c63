#include "platform.h"

#include <cerrno>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cwctype>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <wx/app.h>

namespace platform {
namespace {

constexpr std::chrono::seconds kLockPatience{2};
/// Between two tries; short against the time that a holder needs.
constexpr std::chrono::microseconds kLockPoll{500};

/// File names are bytes here, taken for UTF-8 whatever the locale says.
wxMBConvUTF8 fileNameEncoding() {
    return wxMBConvUTF8(wxMBConvUTF8::MAP_INVALID_UTF8_TO_PUA);
}

int openFolder(const wxString& folder) {
    return open(fileName(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

/// The entry point of that name, if a library that has it is loaded. The OpenGL headers stay out of this
/// file.
template <typename Function>
Function loadedFunction(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
}

/// Those that ask a program to end, without those that it was started to ignore.
std::vector<int> heededStopSignals() {
    std::vector<int> signals;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // The system knows these three: asking can't fail.
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            signals.push_back(signal);
    }
    return signals;
}

/// True when the blank-separated list has the word.
bool hasWord(const std::string& list, const std::string& word) {
    return (" " + list + " ").find(" " + word + " ") != std::string::npos;
}

} // namespace

bool isSameFile(const wxString& first, const wxString& second) {
    struct stat a = {};
    struct stat b = {};
    return stat(fileName(first).c_str(), &a) == 0 && stat(fileName(second).c_str(), &b) == 0 &&
           a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool isWritable(const wxString& path) {
    return faccessat(AT_FDCWD, fileName(path).c_str(), W_OK, AT_EACCESS) == 0;
}

bool copyPermissions(const wxString& from, const wxString& to) {
    constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
    struct stat a = {};
    struct stat b = {};
    // One of them is gone since its permissions were read.
    if (stat(fileName(from).c_str(), &a) != 0 || stat(fileName(to).c_str(), &b) != 0)
        return false;
    // Some file systems have the same for all files and let nobody change them.
    return (a.st_mode & permissions) == (b.st_mode & permissions) ||
           chmod(fileName(to).c_str(), a.st_mode & permissions) == 0;
}

bool replaceFile(const wxString& from, const wxString& to) {
    return std::rename(fileName(from).c_str(), fileName(to).c_str()) == 0;
}

bool syncToDisk(const wxString& path) {
    int file = open(fileName(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 && errno == EACCES)
        file = open(fileName(path).c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool synced = fsync(file) == 0;
    const int code = errno;
    const bool closed = close(file) == 0;
    if (!synced)
        errno = code;
    return closed && synced;
}

bool createFile(const wxString& path) {
    const int file = open(fileName(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return false;
    if (close(file) == 0)
        return true;
    const int code = errno;
    unlink(fileName(path).c_str());
    errno = code;
    return false;
}

bool removeFile(const wxString& path) {
    return unlink(fileName(path).c_str()) == 0;
}

FolderLock::FolderLock(const wxString& folder) : handle_(openFolder(folder)) {
    if (handle_ < 0)
        return;
    const int file = static_cast<int>(handle_);
    const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
    for (;;) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0)
            return;
        // Other than these two: a file system, of another machine mostly, that knows no locks.
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() >= deadline)
            break;
        std::this_thread::sleep_for(kLockPoll);
    }
    close(file);
    handle_ = -1;
}

FolderLock::~FolderLock() {
    if (handle_ >= 0)
        close(static_cast<int>(handle_));
}

bool FolderLock::isHeld() const {
    return handle_ >= 0;
}

void prepareProcess() {
    // The OpenGL canvas draws through GLX; on Wayland that needs the X11 back end.
    if (std::getenv("WAYLAND_DISPLAY"))
        setenv("GDK_BACKEND", "x11", 1);
    setTextEncoding();
}

void setTextEncoding() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::setlocale(LC_NUMERIC, "C");
    // The library would lose names that are no UTF-8, or take them for another encoding. Never destroyed,
    // since threads may be later than static objects.
    static wxMBConv& names = *new wxMBConvUTF8(fileNameEncoding());
    wxConvFileName = &names;
}

char32_t toUpper(char32_t character) {
    // There is none on systems that came without that locale.
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return unicode ? static_cast<char32_t>(towupper_l(static_cast<wint_t>(character), unicode)) : character;
}

void setLibrarySearchFolder(const wxString&) {}

wxString libraryLoadError() {
    // It names files, so it may be any bytes.
    const char* const error = dlerror();
    return error ? fileNameText(error) : wxString();
}

std::vector<wxString> commandLineArguments(int argc, char** argv) {
    std::vector<wxString> arguments;
    for (int i = 1; i < argc; ++i)
        arguments.push_back(wxString::FromUTF8(argv[i]));
    return arguments;
}

std::vector<wxString> commandLineFileNames(int argc, char** argv) {
    std::vector<wxString> names;
    for (int i = 1; i < argc; ++i)
        names.push_back(wxString(argv[i], fileNameEncoding()));
    return names;
}

std::string fileName(const wxString& path) {
    const wxScopedCharBuffer name = path.mb_str(fileNameEncoding());
    return std::string(name.data(), name.length());
}

wxString fileNameText(const std::string& name) {
    return wxString(name.c_str(), fileNameEncoding());
}

bool isTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

bool setSwapInterval(int interval) {
    const auto currentDisplay = loadedFunction<void* (*)()>("glXGetCurrentDisplay");
    const auto currentContext = loadedFunction<void* (*)()>("glXGetCurrentContext");
    const auto currentDrawable = loadedFunction<unsigned long (*)()>("glXGetCurrentDrawable");
    const auto queryContext = loadedFunction<int (*)(void*, void*, int, int*)>("glXQueryContext");
    const auto extensionsOf = loadedFunction<const char* (*)(void*, int)>("glXQueryExtensionsString");
    using Procedure = void (*)();
    const auto procedure = loadedFunction<Procedure (*)(const char*)>("glXGetProcAddressARB");
    // All or none of them are there: none in a process without this window system's OpenGL.
    if (!currentDisplay || !currentContext || !currentDrawable || !queryContext || !extensionsOf ||
        !procedure)
        return false;
    void* const display = currentDisplay();
    void* const context = currentContext();
    const unsigned long drawable = currentDrawable();
    constexpr int screenAttribute = 0x800C; // GLX_SCREEN
    int screen = 0;
    if (!display || !context || drawable == 0 ||
        queryContext(display, context, screenAttribute, &screen) != 0)
        return false;
    const char* const known = extensionsOf(display, screen);
    const std::string extensions = known ? known : "";

    // A name that nobody implements has an address all the same, so the list decides.
    if (hasWord(extensions, "GLX_EXT_swap_control")) {
        const auto set =
            reinterpret_cast<void (*)(void*, unsigned long, int)>(procedure("glXSwapIntervalEXT"));
        if (set) {
            set(display, drawable, interval);
            return true;
        }
    }
    if (hasWord(extensions, "GLX_MESA_swap_control")) {
        const auto set = reinterpret_cast<int (*)(unsigned)>(procedure("glXSwapIntervalMESA"));
        if (set)
            return set(static_cast<unsigned>(interval)) == 0;
    }
    if (hasWord(extensions, "GLX_SGI_swap_control")) {
        const auto set = reinterpret_cast<int (*)(int)>(procedure("glXSwapIntervalSGI"));
        if (set)
            return set(interval) == 0;
    }
    return false;
}

void reportEveryMotion(void* nativeWindow) {
    // The GUI library takes motions as hints: it looks where the pointer is and then asks for further ones. A
    // motion between the two is never reported, so a pointer that stops right then seems to stand elsewhere.
    constexpr int hintMask = 1 << 3; // GDK_POINTER_MOTION_HINT_MASK
    const auto windowOf = loadedFunction<void* (*)(void*)>("gtk_widget_get_window");
    const auto eventsOf = loadedFunction<int (*)(void*)>("gdk_window_get_events");
    const auto setEvents = loadedFunction<void (*)(void*, int)>("gdk_window_set_events");
    // The functions are there in every process that has such a window.
    if (!nativeWindow || !windowOf || !eventsOf || !setEvents)
        return;
    if (void* const window = windowOf(nativeWindow))
        setEvents(window, eventsOf(window) & ~hintMask);
}

void leaveEventsToOthers(void* nativePopup) {
    const auto removeGrab = loadedFunction<void (*)(void*)>("gtk_grab_remove");
    // The function is there in every process that has such a popup.
    if (nativePopup && removeGrab)
        removeGrab(nativePopup);
}

void catchStopSignals(void (*handler)(int)) {
    for (const int signal : heededStopSignals()) {
        struct sigaction action = {};
        action.sa_handler = handler;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

void onStopSignals(void (*handler)(int)) {
    // Null only before the GUI library has started.
    if (auto* const application = wxAppConsole::GetInstance())
        for (const int signal : heededStopSignals())
            application->SetSignalHandler(signal, handler);
}

void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    raise(signal);
    // Somebody blocks it.
    _exit(128 + signal);
}

void ignoreWriteSignals() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace platform
