#include "support/process.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/temp_folder.h"

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes kPatience{2};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (std::string& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

int openTerminal() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
        throw std::runtime_error("no terminal");
    return terminal;
}

std::string readTerminal(int terminal) {
    std::string text;
    std::array<char, 4096> buffer;
    fcntl(terminal, F_SETFL, O_NONBLOCK);
    for (;;) {
        const ssize_t count = read(terminal, buffer.data(), buffer.size());
        if (count <= 0)
            return text;
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

} // namespace

Process::Process(const ProcessStart& start) {
    std::string pattern = (fs::temp_directory_path() / "shroud-process-XXXXXX").u8string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("no temporary folder");
    folder_ = pattern;
    const std::string output = folder_ + "/output";
    const std::string error = folder_ + "/error";
    std::string terminalName;
    if (start.terminal) {
        terminal_ = openTerminal();
        terminalName = ptsname(terminal_);
    }
    std::vector<std::string> words = {start.program};
    words.insert(words.end(), start.arguments.begin(), start.arguments.end());
    const std::vector<char*> argv = pointers(words);

    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("no process");
    if (pid_ > 0)
        return;
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, SIG_DFL);
    const int none = open("/dev/null", O_RDONLY);
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int err = start.terminal ? open(terminalName.c_str(), O_WRONLY | O_NOCTTY)
                                   : open(error.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    dup2(none, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    // A test that gave up its privileges for a while hands on none at all, but the program may lie where only
    // they lead: below /root, for example.
    const uid_t user = geteuid();
    const bool hasGivenUp = user != getuid();
    if (hasGivenUp && seteuid(getuid()) != 0)
        _exit(126);
    const int program = hasGivenUp ? open(start.program.c_str(), O_PATH | O_CLOEXEC) : -1;
    if (hasGivenUp && setreuid(user, user) != 0)
        _exit(126);
    for (const auto& [name, value] : start.environment)
        setenv(name.c_str(), value.c_str(), 1);
    if (!start.folder.empty() && chdir(start.folder.c_str()) != 0)
        _exit(127);
    if (hasGivenUp)
        fexecve(program, argv.data(), environ);
    else
        execv(start.program.c_str(), argv.data());
    _exit(127);
}

Process::~Process() {
    if (isRunning()) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (terminal_ >= 0)
        close(terminal_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void Process::sendSignal(int signal) const {
    kill(pid_, signal);
}

bool Process::isRunning() {
    int status = 0;
    if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_)
        status_ = status;
    return !status_;
}

ProcessResult Process::wait() {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    std::string shown;
    while (isRunning()) {
        if (terminal_ >= 0)
            shown += readTerminal(terminal_);
        if (std::chrono::steady_clock::now() > deadline)
            kill(pid_, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // between two looks at the process
    }
    ProcessResult result;
    if (WIFEXITED(*status_))
        result.exitCode = WEXITSTATUS(*status_);
    result.output = readFile(folder_ + "/output");
    result.error = terminal_ >= 0 ? shown + readTerminal(terminal_) : readFile(folder_ + "/error");
    return result;
}

ProcessResult run(const ProcessStart& start) {
    return Process(start).wait();
}

} // namespace test
