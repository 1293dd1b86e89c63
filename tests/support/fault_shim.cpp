// A library to be preloaded into a program: lets system calls and allocations fail, and the clock jump, where
// the environment says.
//
// SHROUD_FAULT_FILES    only files whose path contains this text count
// SHROUD_FAULT_CALL     the call that fails, from 1, of those that change such a file; none without it
// SHROUD_FAULT_ERROR    its errno
// SHROUD_FAULT_LASTING  set: all calls after it fail too, as on a full disk
// SHROUD_FAULT_READS    set: reading counts instead of changing
// SHROUD_FAULT_MEMORY   allocations of at least so many bytes fail
// SHROUD_FAULT_CLOCK    seconds that the wall clock jumps at every look at it, forth and back
// SHROUD_FAULT_CONTROL  a file with two numbers: a round and the call that fails in it, which counts from 1
// in each
//                       round; nothing fails and no clock jumps while there is no such file. Allocations are
//                       calls then, too, and only that one fails.
// SHROUD_FAULT_REPORT   a file that gets one line for every call that counts; those that fail begin with "!"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
}

namespace {

// Everything here runs inside other people's system calls and allocations: no memory, no locks.

struct Settings {
    const char* files;
    long call;
    int error;
    bool lasting;
    bool reads;
    size_t memory;
    long clock;
    const char* control;
    const char* report;
};
/// Zeros, thus no faults, until the environment has been read.
Settings settings;

__attribute__((constructor)) void readEnvironment() {
    const auto number = [](const char* name) {
        const char* value = std::getenv(name);
        return value ? std::strtol(value, nullptr, 10) : 0;
    };
    settings = {std::getenv("SHROUD_FAULT_FILES"),
                number("SHROUD_FAULT_CALL"),
                static_cast<int>(number("SHROUD_FAULT_ERROR")),
                std::getenv("SHROUD_FAULT_LASTING") != nullptr,
                std::getenv("SHROUD_FAULT_READS") != nullptr,
                static_cast<size_t>(number("SHROUD_FAULT_MEMORY")),
                number("SHROUD_FAULT_CLOCK"),
                std::getenv("SHROUD_FAULT_CONTROL"),
                std::getenv("SHROUD_FAULT_REPORT")};
}

template <class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

std::atomic<long> calls{0};

/// The call that fails, 0 for none. Counting starts again where the file says so.
long failingCall() {
    if (!settings.control)
        return settings.call;
    const long file = syscall(SYS_openat, AT_FDCWD, settings.control, O_RDONLY | O_CLOEXEC, 0);
    if (file < 0)
        return 0;
    char text[64] = {};
    syscall(SYS_read, file, text, sizeof text - 1);
    syscall(SYS_close, file);
    char* rest = text;
    const long round = std::strtol(text, &rest, 10);
    static std::atomic<long> lastRound{0};
    if (lastRound.exchange(round) != round)
        calls = 0;
    return std::strtol(rest, nullptr, 10);
}

bool failsNow() {
    const long failing = failingCall();
    const long count = ++calls;
    return failing > 0 && (count == failing || (count > failing && settings.lasting));
}

void report(const char* call, bool fails) {
    if (!settings.report)
        return;
    const long file =
        syscall(SYS_openat, AT_FDCWD, settings.report, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0)
        return;
    char line[64];
    const int length = std::snprintf(line, sizeof line, "%s%s\n", fails ? "!" : "", call);
    syscall(SYS_write, file, line, length);
    syscall(SYS_close, file);
}

bool isMeant(const char* path) {
    return settings.files && path && std::strstr(path, settings.files);
}

bool isMeant(int file) {
    char link[64];
    char path[4096];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    const ssize_t length = readlink(link, path, sizeof path - 1);
    if (length <= 0)
        return false;
    path[length] = 0;
    return isMeant(path);
}

/// Counts a call on a file that is meant. True when it has to fail; `errno` is set then.
bool fails(const char* call, bool isReading = false) {
    if (isReading != settings.reads)
        return false;
    const bool now = failsNow();
    report(call, now);
    if (now)
        errno = settings.error;
    return now;
}

template <class File>
bool failsOn(File file, const char* call, bool isReading = false) {
    const int before = errno;
    if (isMeant(file) && fails(call, isReading))
        return true;
    errno = before;
    return false;
}

bool isTooLarge(size_t bytes) {
    if (settings.memory == 0 || bytes < settings.memory)
        return false;
    const int before = errno;
    const bool now = !settings.control || failsNow();
    report("memory", now);
    errno = now ? ENOMEM : before;
    return now;
}

/// Seconds to add to the wall clock this time.
long jump() {
    static std::atomic<unsigned> looks{0};
    if (settings.control && failingCall() == 0)
        return 0;
    return looks++ % 2 == 0 ? settings.clock : -settings.clock;
}

} // namespace

extern "C" {

#define SHIM_OPEN(name)                                                                                      \
    int name(const char* path, int flags, ...) {                                                             \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = (flags & O_CREAT) ? va_arg(arguments, mode_t) : 0;                               \
        va_end(arguments);                                                                                   \
        if ((flags & (O_CREAT | O_TRUNC)) && failsOn(path, "open"))                                          \
            return -1;                                                                                       \
        return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));                           \
    }
SHIM_OPEN(open)
SHIM_OPEN(open64)
#undef SHIM_OPEN

ssize_t write(int file, const void* data, size_t size) {
    return failsOn(file, "write") ? -1 : syscall(SYS_write, file, data, size);
}

ssize_t writev(int file, const iovec* parts, int count) {
    return failsOn(file, "writev") ? -1 : syscall(SYS_writev, file, parts, count);
}

ssize_t read(int file, void* data, size_t size) {
    return failsOn(file, "read", true) ? -1 : syscall(SYS_read, file, data, size);
}

int fsync(int file) {
    return failsOn(file, "fsync") ? -1 : static_cast<int>(syscall(SYS_fsync, file));
}

int chmod(const char* path, mode_t mode) {
    return failsOn(path, "chmod") ? -1 : static_cast<int>(syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

int rename(const char* from, const char* to) {
    return failsOn(from, "rename")
               ? -1
               : static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

/// Like a network's: the file is closed and the error told.
int close(int file) {
    const bool failing = failsOn(file, "close");
    const int code = errno;
    const int result = static_cast<int>(syscall(SYS_close, file));
    if (!failing)
        return result;
    errno = code;
    return -1;
}

// The C library writes its streams behind everybody's back.
size_t fwrite(const void* data, size_t size, size_t count, FILE* stream) {
    static const auto real = next<size_t (*)(const void*, size_t, size_t, FILE*)>("fwrite");
    return failsOn(fileno(stream), "fwrite") ? 0 : real(data, size, count, stream);
}

int fflush(FILE* stream) {
    static const auto real = next<int (*)(FILE*)>("fflush");
    return stream && failsOn(fileno(stream), "fflush") ? EOF : real(stream);
}

int fclose(FILE* stream) {
    static const auto real = next<int (*)(FILE*)>("fclose");
    const bool failing = failsOn(fileno(stream), "fclose");
    const int code = errno;
    const int result = real(stream);
    if (!failing)
        return result;
    errno = code;
    return EOF;
}

void* malloc(size_t size) {
    return isTooLarge(size) ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return isTooLarge(count * size) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
    return isTooLarge(size) ? nullptr : __libc_realloc(memory, size);
}

void* memalign(size_t alignment, size_t size) {
    return isTooLarge(size) ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) {
    void* const block = memalign(alignment, size);
    if (!block)
        return ENOMEM;
    *memory = block;
    return 0;
}

int clock_gettime(clockid_t clock, timespec* time) {
    const int result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += jump();
    return result;
}

time_t time(time_t* target) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (target)
        *target = now.tv_sec;
    return now.tv_sec;
}

int gettimeofday(timeval* target, void*) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    target->tv_sec = now.tv_sec;
    target->tv_usec = now.tv_nsec / 1000;
    return 0;
}

} // extern "C"
