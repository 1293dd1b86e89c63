#include "pxl/log.h"

#include <iostream>
#include <utility>

namespace pxl::log {
namespace {

/// Standard output; levels differ by their prefix only.
class ConsoleLog : public ILog {
public:
    void message(const std::string& line) override { write(line); }
    void error(const std::string& line) override { write(line); }
    void warning(const std::string& line) override { write(line); }

private:
    // One insertion keeps lines of several threads whole without a lock.
    static void write(const std::string& line) { std::cout << line + '\n' << std::flush; }
};

/// Created on first use, so that static objects of other files can log before `main`; never destroyed, so
/// that they can after it.
std::shared_ptr<ILog>& sinkSlot() {
    static const std::ios_base::Init streamsAreReady;
    static auto* const slot = new std::shared_ptr<ILog>(std::make_shared<ConsoleLog>());
    return *slot;
}

} // namespace

void message(const std::string& text) {
    std::atomic_load(&sinkSlot())->message("[Message] " + text);
}

void error(const std::string& text) {
    std::atomic_load(&sinkSlot())->error("[Error] " + text);
}

std::shared_ptr<ILog> setSink(std::shared_ptr<ILog> sink) {
    if (!sink)
        sink = std::make_shared<ConsoleLog>();
    return std::atomic_exchange(&sinkSlot(), std::move(sink));
}

} // namespace pxl::log
