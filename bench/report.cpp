#include "report.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace bench {
namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

std::string list(const std::vector<double>& values) {
    std::string result = "[";
    for (const double value : values) {
        char text[32];
        std::snprintf(text, sizeof text, "%s%.6g", result.size() > 1 ? ", " : "", value);
        result += text;
    }
    return result + "]";
}

double inSeconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double secondsOf(clockid_t clock, const std::function<void()>& work) {
    const auto now = [clock] {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    };
    const double start = now();
    work();
    return now() - start;
}

} // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--media" && i + 1 < argc)
            options.mediaDir = argv[++i];
        else if (argument == "--repeat" && i + 1 < argc)
            options.repeat = std::atoi(argv[++i]);
        else
            options.rest.push_back(argument);
    }
    if (options.repeat < 1) {
        std::fprintf(stderr, "usage: %s --media FOLDER [--repeat N]\n", argv[0]);
        std::exit(2);
    }
    return options;
}

void print(const Figure& figure) {
    std::string line = "{\"name\": " + quoted(figure.name) + ", \"unit\": " + quoted(figure.unit) +
                       ", \"ours\": " + list(figure.ours);
    if (!figure.peer.empty())
        line += ", \"peer\": " + list(figure.peer) + ", \"peerName\": " + quoted(figure.peerName);
    if (figure.wantedRatio)
        line += ", \"wantedRatio\": " + std::to_string(*figure.wantedRatio);
    if (figure.wantedValue)
        line += ", \"wantedValue\": " + std::to_string(*figure.wantedValue);
    if (!figure.note.empty())
        line += ", \"note\": " + quoted(figure.note);
    std::printf("%s}\n", line.c_str());
    std::fflush(stdout);
}

double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double threadSeconds(const std::function<void()>& work) {
    return secondsOf(CLOCK_THREAD_CPUTIME_ID, work);
}

double processSeconds(const std::function<void()>& work) {
    return secondsOf(CLOCK_PROCESS_CPUTIME_ID, work);
}

Cost run(const std::vector<std::string>& arguments) {
    std::vector<std::string> copies = arguments;
    std::vector<char*> pointers;
    for (std::string& argument : copies)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    Cost cost;
    cost.wallSeconds = seconds([&] {
        pid_t child = 0;
        if (posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ) != 0)
            return;
        int status = 0;
        rusage usage{};
        if (wait4(child, &status, 0, &usage) != child)
            return;
        cost.cpuSeconds = inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime);
        cost.peakMiB = static_cast<double>(usage.ru_maxrss) / 1024;
        cost.succeeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    });
    posix_spawn_file_actions_destroy(&actions);
    return cost;
}

} // namespace bench
