#include "platform.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/temp_folder.h"

/// A GLX of its own, exported by this program, since an off-screen server offers no swap control, and a piece
/// of the window system's library.
namespace {

struct FakeGlx {
    bool current = false;
    bool hasContext = true;
    bool hasDrawable = true;
    bool knowsItsScreen = true;
    bool hasFunctions = true;
    const char* extensions = "";
    std::string setBy;
    int interval = 0;
    int mesaResult = 0;
};
FakeGlx glx;
int display = 0;
int context = 0;

void setExt(void* on, unsigned long drawable, int interval) {
    EXPECT_EQ(on, &display);
    EXPECT_EQ(drawable, 7u);
    glx.setBy = "EXT";
    glx.interval = interval;
}
int setMesa(unsigned interval) {
    glx.setBy = "MESA";
    glx.interval = static_cast<int>(interval);
    return glx.mesaResult;
}
int setSgi(int interval) {
    glx.setBy = "SGI";
    glx.interval = interval;
    return 0;
}

struct FakeWindow {
    bool onScreen = true;
    int events = 0;
    bool grabs = true;
};
FakeWindow window;

class SwapInterval : public testing::Test {
protected:
    void SetUp() override {
        glx = FakeGlx();
        glx.current = true;
    }
};

} // namespace

extern "C" {
#pragma GCC visibility push(default)
void* glXGetCurrentDisplay();
void* glXGetCurrentContext();
unsigned long glXGetCurrentDrawable();
int glXQueryContext(void* display, void* context, int attribute, int* value);
const char* glXQueryExtensionsString(void* display, int screen);
void (*glXGetProcAddressARB(const char* name))();
void* gtk_widget_get_window(void* widget);
void gtk_grab_remove(void* widget);
int gdk_window_get_events(void* of);
void gdk_window_set_events(void* of, int events);

void* gtk_widget_get_window(void* widget) {
    EXPECT_EQ(widget, &window);
    return window.onScreen ? &window.events : nullptr;
}
void gtk_grab_remove(void* widget) {
    EXPECT_EQ(widget, &window);
    window.grabs = false;
}
int gdk_window_get_events(void* of) {
    return *static_cast<int*>(of);
}
void gdk_window_set_events(void* of, int events) {
    *static_cast<int*>(of) = events;
}
void* glXGetCurrentDisplay() {
    return glx.current ? &display : nullptr;
}
void* glXGetCurrentContext() {
    return glx.current && glx.hasContext ? &context : nullptr;
}
unsigned long glXGetCurrentDrawable() {
    return glx.current && glx.hasDrawable ? 7 : 0;
}
int glXQueryContext(void*, void*, int attribute, int* value) {
    EXPECT_EQ(attribute, 0x800C);
    *value = 3;
    return glx.knowsItsScreen ? 0 : 5;
}
const char* glXQueryExtensionsString(void*, int screen) {
    EXPECT_EQ(screen, 3);
    return glx.extensions;
}
void (*glXGetProcAddressARB(const char* name))() {
    using Procedure = void (*)();
    if (!glx.hasFunctions)
        return nullptr;
    if (std::strcmp(name, "glXSwapIntervalEXT") == 0)
        return reinterpret_cast<Procedure>(setExt);
    if (std::strcmp(name, "glXSwapIntervalMESA") == 0)
        return reinterpret_cast<Procedure>(setMesa);
    return reinterpret_cast<Procedure>(setSgi);
}
#pragma GCC visibility pop
}

TEST(PlatformMotion, IsReportedAsItIsAndNotAsAHint) {
    window = {};
    window.events = 0x0f;
    platform::reportEveryMotion(&window);
    EXPECT_EQ(window.events, 0x07);
    platform::reportEveryMotion(&window);
    EXPECT_EQ(window.events, 0x07);
}

TEST(PlatformMotion, IsLeftAloneForAWindowThatIsNotOnTheScreen) {
    window = {};
    window.onScreen = false;
    window.events = 0x0f;
    platform::reportEveryMotion(&window);
    platform::reportEveryMotion(nullptr);
    EXPECT_EQ(window.events, 0x0f);
}

TEST(PlatformPopup, LetsGoOfTheOthersEvents) {
    window = {};
    platform::leaveEventsToOthers(nullptr);
    EXPECT_TRUE(window.grabs);
    platform::leaveEventsToOthers(&window);
    EXPECT_FALSE(window.grabs);
}

TEST(PlatformLibraries, WhyOneCouldNotBeLoadedIsToldOnce) {
    const test::TempFolder folder;
    const std::string library = folder.write("Stra\xDF.so", "this is no library");
    ASSERT_EQ(dlopen(library.c_str(), RTLD_NOW), nullptr);
    const std::string reason = platform::fileName(platform::libraryLoadError());
    EXPECT_EQ(reason.rfind(library + ": ", 0), 0u) << reason;
    EXPECT_EQ(platform::libraryLoadError(), "");
}

TEST_F(SwapInterval, IsRefusedWithoutACurrentContext) {
    glx.current = false;
    glx.extensions = "GLX_EXT_swap_control";
    EXPECT_FALSE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "");
}

TEST_F(SwapInterval, IsRefusedForHalfAContext) {
    for (bool FakeGlx::*part :
         {&FakeGlx::hasContext, &FakeGlx::hasDrawable, &FakeGlx::knowsItsScreen, &FakeGlx::hasFunctions}) {
        glx = FakeGlx();
        glx.current = true;
        glx.extensions = "GLX_SGI_swap_control GLX_MESA_swap_control GLX_EXT_swap_control";
        glx.*part = false;
        EXPECT_FALSE(platform::setSwapInterval(1));
        EXPECT_EQ(glx.setBy, "");
    }
}

TEST_F(SwapInterval, IsRefusedWhereNothingIsKnownOfExtensions) {
    glx.extensions = nullptr;
    EXPECT_FALSE(platform::setSwapInterval(1));
}

TEST_F(SwapInterval, IsSetByTheDrawablesExtensionFirst) {
    glx.extensions = "GLX_SGI_swap_control GLX_MESA_swap_control GLX_EXT_swap_control";
    EXPECT_TRUE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "EXT");
    EXPECT_EQ(glx.interval, 1);
}

TEST_F(SwapInterval, FallsBackToTheOlderExtensions) {
    glx.extensions = "GLX_SGI_swap_control GLX_MESA_swap_control GLX_EXT_swap_control_tear";
    EXPECT_TRUE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "MESA");
    glx.extensions = "GLX_SGI_swap_control";
    EXPECT_TRUE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "SGI");
}

TEST_F(SwapInterval, IsLeftAloneWhereNoExtensionIsListed) {
    glx.extensions = "GLX_ARB_create_context GLX_EXT_swap_control_tear";
    EXPECT_FALSE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "");
}

TEST_F(SwapInterval, ReportsTheExtensionsRefusal) {
    glx.extensions = "GLX_MESA_swap_control";
    glx.mesaResult = 5;
    EXPECT_FALSE(platform::setSwapInterval(1));
}

TEST(PlatformProcess, AsksForTheWindowSystemThatOpenGlNeeds) {
    const test::Environment backEnd("GDK_BACKEND", "another");
    {
        const test::Environment none("WAYLAND_DISPLAY", "");
        unsetenv("WAYLAND_DISPLAY");
        platform::prepareProcess();
        EXPECT_STREQ(std::getenv("GDK_BACKEND"), "another");
    }
    const test::Environment wayland("WAYLAND_DISPLAY", "wayland-0");
    platform::prepareProcess();
    EXPECT_STREQ(std::getenv("GDK_BACKEND"), "x11");
}

TEST(PlatformFiles, PermissionsOfAMissingFileOrToAMissingFileAreNotCopied) {
    const test::TempFolder folder;
    const wxString file = wxString::FromUTF8(folder.write("file", ""));
    const wxString missing = wxString::FromUTF8(folder.file("missing"));
    EXPECT_FALSE(platform::copyPermissions(missing, file));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(platform::copyPermissions(file, missing));
    EXPECT_EQ(errno, ENOENT);
}

TEST(PlatformFiles, PermissionsOfAFileOfSomebodyElseCannotBeChanged) {
    const test::TempFolder folder;
    const std::string from = folder.write("from", "");
    const std::string to = folder.write("to", "");
    chmod(from.c_str(), 0640);
    chmod(to.c_str(), 0600);
    chmod(folder.path().c_str(), 0755);
    if (geteuid() != 0)
        GTEST_SKIP() << "only the administrator can become somebody else";
    const test::WithoutPrivileges user;
    EXPECT_FALSE(platform::copyPermissions(wxString::FromUTF8(from), wxString::FromUTF8(to)));
    struct stat now = {};
    ASSERT_EQ(stat(to.c_str(), &now), 0);
    EXPECT_EQ(now.st_mode & 0777, 0600u);
}

TEST(PlatformFiles, AFileThatMayOnlyBeWrittenIsSyncedToo) {
    const test::TempFolder folder;
    chmod(folder.path().c_str(), 0777);
    const test::WithoutPrivileges user;
    const wxString file = wxString::FromUTF8(folder.file("file"));
    ASSERT_TRUE(platform::createFile(file));
    chmod(folder.file("file").c_str(), 0200);
    EXPECT_TRUE(platform::syncToDisk(file));
    chmod(folder.file("file").c_str(), 0);
    EXPECT_FALSE(platform::syncToDisk(file));
}

TEST(StopSignals, WakeAProcessThatWaitsForAPipe) {
    const test::TempFolder folder;
    const std::string pipe = folder.file("pipe");
    const std::string ready = folder.file("ready");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    const pid_t child = fork();
    if (child == 0) {
        platform::catchStopSignals([](int) {});
        close(creat(ready.c_str(), 0666));
        _exit(open(pipe.c_str(), O_RDONLY) < 0 && errno == EINTR ? 0 : 1);
    }
    while (!std::filesystem::exists(ready))
        std::this_thread::yield();
    // More than one, since the first may come before the child waits.
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (waitpid(child, &status, WNOHANG) == 0) {
        kill(child, std::chrono::steady_clock::now() < deadline ? SIGTERM : SIGKILL);
        std::this_thread::yield();
    }
    EXPECT_TRUE(WIFEXITED(status)) << "waited on";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(StopSignals, EndTheProcessThoughTheyWereCaught) {
    const pid_t child = fork();
    if (child == 0) {
        platform::catchStopSignals([](int) {});
        platform::endBySignal(SIGTERM);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(StopSignals, ThoseIgnoredFromTheStartStayIgnored) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGHUP, SIG_IGN);
        std::signal(SIGINT, SIG_DFL);
        const auto handler = [](int) {};
        platform::catchStopSignals(handler);
        struct sigaction hangup = {};
        struct sigaction interrupt = {};
        sigaction(SIGHUP, nullptr, &hangup);
        sigaction(SIGINT, nullptr, &interrupt);
        _exit(hangup.sa_handler == SIG_IGN && interrupt.sa_handler == +handler ? 0 : 1);
    }
    int status = 1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}
