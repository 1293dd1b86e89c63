#include "output_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "draftfile.h"
#include "platform.h"

namespace {

namespace fs = std::filesystem;

/// A file name has room for 255 bytes; this many characters of the target's leave enough for the rest.
constexpr std::size_t kKeptCharacters = 40;

fs::path pathFrom(const wxString& text) {
    return fs::u8path(platform::fileName(text));
}

wxString textFrom(const fs::path& path) {
    return platform::fileNameText(path.u8string());
}

wxString systemText(int code) {
    return wxString::FromUTF8(std::strerror(code));
}

/// Also where neither exists yet.
bool isSameFile(const wxString& first, const wxString& second) {
    return platform::isSameFile(first, second) ||
           (!first.empty() && draftfile::placeOf(first) == draftfile::placeOf(second));
}

} // namespace

OutputFile::~OutputFile() {
    if (!draft_.empty())
        platform::removeFile(draft_);
    dropOld();
}

bool OutputFile::aimAt(Kind kind, const wxString& target, const std::vector<wxString>& sources,
                       wxString& error) {
    const wxString ending = textFrom(pathFrom(target).extension());
    if (kind == Kind::Video && !ending.IsSameAs(".mp4", false) && !ending.IsSameAs(".mov", false)) {
        error = "the name must end in .mp4 or .mov";
        return false;
    }
    for (const wxString& source : sources)
        if (isSameFile(source, target)) {
            error = "is the same file as " + source;
            return false;
        }
    const wxString place = draftfile::placeOf(target);
    std::error_code ignored;
    const fs::file_status status = fs::status(pathFrom(place), ignored);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        error = fs::is_directory(status) ? systemText(EISDIR) : wxString("is not a regular file");
        return false;
    }
    if (fs::exists(status) && !platform::isWritable(place)) {
        error = systemText(EACCES);
        return false;
    }
    target_ = place;
    ending_ = ending;
    return true;
}

bool OutputFile::create(wxString& error) {
    return createDraft(draft_, error);
}

bool OutputFile::createDraft(wxString& draft, wxString& error) {
    const fs::path path = pathFrom(target_);
    const wxString stem = textFrom(path.stem()).Left(kKeptCharacters);
    draft = draftfile::create(target_, "." + stem + ".partial-", ending_);
    if (!draft.empty())
        return true;
    const int code = errno;
    error = "can't create a file in " + textFrom(path.parent_path()) + ": " + systemText(code);
    return false;
}

bool OutputFile::sync(wxString& error) {
    if (platform::syncToDisk(draft_))
        return true;
    const int code = errno;
    error = systemText(code);
    return false;
}

bool OutputFile::keepOld(wxString& error) {
    dropOld();
    std::error_code failed;
    const fs::file_type type = fs::status(pathFrom(target_), failed).type();
    if (type == fs::file_type::not_found)
        return true;
    if (type == fs::file_type::none) {
        error = systemText(failed.value());
        return false;
    }
    if (!createDraft(old_, error))
        return false;
    if (fs::copy_file(pathFrom(target_), pathFrom(old_), fs::copy_options::overwrite_existing, failed) &&
        platform::syncToDisk(old_))
        return true;
    const int code = failed ? failed.value() : errno;
    error = systemText(code);
    return false;
}

bool OutputFile::commit(wxString& error) {
    if (!platform::replaceFile(draft_, target_)) {
        const int code = errno;
        error = systemText(code);
        return false;
    }
    draft_.clear();
    return true;
}

bool OutputFile::revert(wxString& left) {
    left.clear();
    if (old_.empty())
        return platform::removeFile(target_);
    // Moved or not, it is no longer this object's to remove.
    const wxString old = std::exchange(old_, wxString());
    if (platform::replaceFile(old, target_))
        return true;
    left = old;
    return false;
}

void OutputFile::dropOld() {
    if (!old_.empty())
        platform::removeFile(old_);
    old_.clear();
}
