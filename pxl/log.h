#pragma once

#include <memory>
#include <string>

/// Diagnostics of the rendering layer, on standard output. Separate from the GUI library's log, which writes
/// the per-run log file.
namespace pxl::log {

/// Receiver of finished lines. Called from any thread, possibly from several at once.
class ILog {
public:
    virtual ~ILog() = default;
    virtual void message(const std::string& line) = 0;
    virtual void error(const std::string& line) = 0;
    /// Line of a level between the two; nothing in this system writes one.
    virtual void warning(const std::string& line) = 0;
};

/// Sends "[Message] " and the text to the sink's `message`.
void message(const std::string& text);
/// Sends "[Error] " and the text to the sink's `error`.
void error(const std::string& text);

/// Puts `sink` in the place of the current one, which is returned. An empty pointer restores the console
/// sink that is in force from the start. Lines being written meanwhile may still reach the previous sink.
std::shared_ptr<ILog> setSink(std::shared_ptr<ILog> sink);

} // namespace pxl::log
