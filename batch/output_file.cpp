#include "output_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

#include "platform.h"

namespace {

namespace fs = std::filesystem;

constexpr int kAttempts = 100;
/// A file name has room for 255 bytes; this many characters of the target's leave enough for the rest.
constexpr std::size_t kKeptCharacters = 40;

fs::path pathFrom(const wxString& text) {
    return fs::u8path(text.utf8_string());
}

wxString textFrom(const fs::path& path) {
    return wxString::FromUTF8(path.u8string());
}

wxString systemText(int code) {
    return wxString::FromUTF8(std::strerror(code));
}

/// The file a chain of links ends at, so that the links stay.
fs::path resolved(const fs::path& path) {
    std::error_code failed;
    const fs::path target = fs::canonical(path, failed);
    return failed ? fs::absolute(path, failed) : target;
}

wxString randomLetters() {
    static std::random_device random;
    std::uniform_int_distribution<int> letters('a', 'z');
    wxString text;
    for (int i = 0; i < 6; ++i)
        text += static_cast<char>(letters(random));
    return text;
}

} // namespace

OutputFile::~OutputFile() {
    if (!draft_.empty())
        platform::removeFile(draft_);
}

bool OutputFile::create(Kind kind, const wxString& target, const std::vector<wxString>& sources,
                        wxString& error) {
    const wxString ending = textFrom(pathFrom(target).extension());
    if (kind == Kind::Video && !ending.IsSameAs(".mp4", false) && !ending.IsSameAs(".mov", false)) {
        error = "the name must end in .mp4 or .mov";
        return false;
    }
    for (const wxString& source : sources)
        if (platform::isSameFile(source, target)) {
            error = "is the same file as " + source;
            return false;
        }
    std::error_code ignored;
    const fs::path path = resolved(pathFrom(target));
    const fs::file_status status = fs::status(path, ignored);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        error = fs::is_directory(status) ? systemText(EISDIR) : wxString("is not a regular file");
        return false;
    }
    const wxString stem = textFrom(path.stem()).Left(kKeptCharacters);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const wxString name = "." + stem + ".partial-" + randomLetters() + ending;
        const wxString draft = textFrom(path.parent_path() / pathFrom(name));
        if (platform::createFile(draft)) {
            target_ = textFrom(path);
            draft_ = draft;
            return true;
        }
        if (errno != EEXIST)
            break;
    }
    error = "can't create a file in " + textFrom(path.parent_path()) + ": " + systemText(errno);
    return false;
}

bool OutputFile::commit(wxString& error) {
    if (!platform::syncToDisk(draft_) || !platform::replaceFile(draft_, target_)) {
        error = systemText(errno);
        return false;
    }
    draft_.clear();
    return true;
}
