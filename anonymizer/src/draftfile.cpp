#include "draftfile.h"

#include <cerrno>
#include <filesystem>
#include <random>

#include "platform.h"

namespace draftfile {
namespace {

namespace fs = std::filesystem;

constexpr int kAttempts = 100;
/// As many as the system itself follows.
constexpr int kLongestChain = 40;

fs::path pathFrom(const wxString& text) {
    return fs::u8path(platform::fileName(text));
}

wxString textFrom(const fs::path& path) {
    return platform::fileNameText(path.u8string());
}

wxString randomLetters() {
    std::random_device random;
    std::uniform_int_distribution<int> letters('a', 'z');
    wxString text;
    for (int i = 0; i < 6; ++i)
        text += static_cast<char>(letters(random));
    return text;
}

} // namespace

wxString placeOf(const wxString& path) {
    std::error_code failed;
    fs::path place = pathFrom(path);
    for (int i = 0; i < kLongestChain && fs::is_symlink(place, failed); ++i) {
        const fs::path next = fs::read_symlink(place, failed);
        // Replaced since it was looked at.
        if (failed)
            break;
        place = place.parent_path() / next;
    }
    const fs::path canonical = fs::weakly_canonical(fs::absolute(place, failed), failed);
    return textFrom(failed ? fs::absolute(place, failed) : canonical);
}

wxString create(const wxString& place, const wxString& prefix, const wxString& suffix) {
    const fs::path folder = pathFrom(place).parent_path();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const wxString draft = textFrom(folder / pathFrom(prefix + randomLetters() + suffix));
        if (platform::createFile(draft)) {
            // While it is empty: what is to come is for nobody else's eyes than the replaced file was.
            if (platform::copyPermissions(place, draft) || errno == ENOENT)
                return draft;
            const int code = errno;
            platform::removeFile(draft);
            errno = code;
            return wxString();
        }
        // Those six letters are taken, which hardly ever happens: others are tried.
        if (errno != EEXIST)
            break;
    }
    return wxString();
}

} // namespace draftfile
