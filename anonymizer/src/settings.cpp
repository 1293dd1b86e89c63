#include "settings.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <wx/arrstr.h>
#include <wx/file.h>
#include <wx/fileconf.h>
#include <wx/filename.h>
#include <wx/log.h>
#include <wx/sstream.h>
#include <wx/stdpaths.h>
#include <wx/textbuf.h>
#include <wx/wfstream.h>

#include "draftfile.h"
#include "platform.h"

namespace settings {
namespace {

namespace fs = std::filesystem;

constexpr const char* kCompany = "Harmo Labs";

/// Where the data folder belongs, whether or not it exists.
wxString folderPath() {
    return userConfigFolder() + wxFileName::GetPathSeparator() + "Tarvex Shroud";
}

bool createFolder(const wxString& folder) {
    // Another start may create the folder, or one above it, at the same moment. To the library's own function
    // that is a failure; it is asked last, for its log line.
    std::error_code failed;
    fs::create_directories(fs::u8path(platform::fileName(folder)), failed);
    return !failed || wxFileName::Mkdir(folder, 0777, wxPATH_MKDIR_FULL);
}

bool isSafeName(const wxString& name) {
    // The library takes these for places: here, and above.
    if (name == "." || name == "..")
        return false;
    return !name.empty() && std::all_of(name.begin(), name.end(), [](const wxUniChar& character) {
        return character.IsAscii() && (wxIsalnum(character) || wxString("_-.").Contains(character));
    });
}

/// The library raises assertions on some malformed lines, and loses keys after others: it never sees them.
bool isSafeLine(wxString line) {
    line.Trim(true).Trim(false);
    // One way or another, the library reads a text up to a zero only.
    if (line.find(wxUniChar(0)) != wxString::npos)
        return false;
    if (line.empty() || line[0] == '#' || line[0] == ';')
        return true;
    // A tab is a blank to the library, and kept.
    if (std::any_of(line.begin(), line.end(),
                    [](const wxUniChar& character) { return character < 32 && character != '\t'; }))
        return false;
    if (line[0] == '[')
        return line.Last() == ']' && isSafeName(line.Mid(1, line.length() - 2));
    return line.Contains("=") && isSafeName(line.BeforeFirst('=').Trim(true));
}

/// Name of the group that a header line begins, as the library compares names; empty for any other line.
wxString groupOf(wxString line) {
    line.Trim(true).Trim(false);
    return line.StartsWith("[") ? line.Mid(1, line.length() - 2).Lower() : wxString();
}

/// Safe lines, each group's together: the library raises assertions when a group begins twice.
class KeptLines {
public:
    void add(const wxString& line) {
        if (const wxString group = groupOf(line); !group.empty()) {
            current_ = find(group);
            if (current_ < groups_.size()) {
                hasRepeatedGroup_ = true;
                return;
            }
            groups_.push_back({group, {}});
        }
        groups_[current_].lines += line + "\n";
    }
    bool hasRepeatedGroup() const { return hasRepeatedGroup_; }
    wxString text() const {
        wxString text;
        for (const Group& group : groups_)
            text += group.lines;
        return text;
    }

private:
    struct Group {
        wxString name;
        wxString lines;
    };

    std::size_t find(const wxString& name) const {
        const auto found = std::find_if(groups_.begin(), groups_.end(),
                                        [&](const Group& group) { return group.name == name; });
        return static_cast<std::size_t>(found - groups_.begin());
    }

    /// The first holds the lines before any header.
    std::vector<Group> groups_{1};
    std::size_t current_ = 0;
    bool hasRepeatedGroup_ = false;
};

/// The file's text, nothing when it isn't there. No value for a file that is there and can't be read to its
/// end.
std::optional<wxString> textOf(const wxString& path) {
    const wxLogNull silence;
    if (!wxFileName::FileExists(path))
        return wxString();
    wxFile file(path);
    std::string bytes;
    std::array<char, 4096> part;
    ssize_t count = file.IsOpened() ? 1 : wxInvalidOffset;
    while (count > 0) {
        count = file.Read(part.data(), part.size());
        bytes.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    if (count < 0)
        return std::nullopt;
    return wxString(bytes.data(), wxConvAuto(), bytes.size());
}

/// The lines of the text worth keeping, when there are others as well; nothing for a text in order.
std::optional<wxString> salvage(const wxString& text) {
    KeptLines kept;
    bool isDamaged = false;
    for (const wxString& line :
         wxSplit(wxTextBuffer::Translate(text, wxTextFileType_Unix), '\n', wxS('\0'))) {
        if (isSafeLine(line))
            kept.add(line);
        else
            isDamaged = true;
    }
    return isDamaged || kept.hasRepeatedGroup() ? std::optional<wxString>(kept.text()) : std::nullopt;
}

/// Company and product only label the object, but with an empty global name the library reads a global file
/// of its own choice, named by the company. On a system that has one, only ours is asked for.
long configStyle() {
    return wxFileConfig::GetGlobalFile(kCompany).FileExists()
               ? wxCONFIG_USE_LOCAL_FILE
               : wxCONFIG_USE_LOCAL_FILE | wxCONFIG_USE_GLOBAL_FILE;
}

std::unique_ptr<wxFileConfig> parse(const wxString& text) {
    wxStringInputStream lines(text);
    return std::make_unique<wxFileConfig>(lines, wxConvUTF8);
}

using Entries = std::map<wxString, wxString>;

/// Adds the keys of the group that the path is set to, and of those in it.
void addEntries(wxFileConfig& config, Entries& entries) {
    wxString name;
    long position = 0;
    for (bool more = config.GetFirstEntry(name, position); more; more = config.GetNextEntry(name, position))
        entries[config.GetPath() + "/" + name] = config.Read(name);
    for (bool more = config.GetFirstGroup(name, position); more; more = config.GetNextGroup(name, position)) {
        config.SetPath(name);
        addEntries(config, entries);
        config.SetPath("..");
    }
}

Entries entriesOf(wxFileConfig& config) {
    Entries entries;
    addEntries(config, entries);
    return entries;
}

/// The file in memory. Changes are not saved on destruction.
struct Loaded {
    std::unique_ptr<wxFileConfig> config;
    /// False when a part of the file could not be read; the library takes that for the end of the file.
    bool isWhole = false;
};

Loaded load(const wxString& path) {
    const wxLogNull silence;
    const std::optional<wxString> text = textOf(path);
    Loaded loaded;
    if (!text) {
        loaded.config = parse({});
    } else if (const std::optional<wxString> salvaged = salvage(*text)) {
        loaded = {parse(*salvaged), true};
    } else {
        loaded.config =
            std::make_unique<wxFileConfig>(kCompany, "Tarvex Shroud", path, wxString(), configStyle());
        loaded.isWhole = entriesOf(*loaded.config) == entriesOf(*parse(*text));
    }
    loaded.config->DisableAutoSave();
    return loaded;
}

/// Replaces the file, at the end of a link if it is one, in one step; the library's own `Flush` first removes
/// the old one.
bool save(wxFileConfig& config, const wxString& path) {
    const wxString place = draftfile::placeOf(path);
    const wxString draft = draftfile::create(place, ".config.ini.", wxString());
    if (draft.empty())
        return false;
    wxFileOutputStream stream(draft);
    if (stream.IsOk() && config.Save(stream) && stream.Close() && platform::syncToDisk(draft) &&
        platform::replaceFile(draft, place))
        return true;
    platform::removeFile(draft);
    return false;
}

/// Loads the file, lets `edit` change it and saves it, alone among all writers. `edit` returns false to leave
/// the file as it is; a file that can't be read stays as it is too, with all that it may hold.
template <class Edit>
void change(Edit edit) {
    static std::mutex mutex; // where the file system knows no locks, at least the threads are kept apart
    const std::lock_guard<std::mutex> threads(mutex);
    const wxString path = configPath();
    const platform::FolderLock processes(folderPath());
    const Loaded loaded = load(path);
    if (loaded.isWhole && edit(*loaded.config))
        save(*loaded.config, path);
}

} // namespace

wxString userConfigFolder() {
    // Settings belong into the user's configuration folder; the library's own choice is the home folder.
    static const bool layoutChosen = [] {
        wxStandardPaths::Get().SetFileLayout(wxStandardPaths::FileLayout_XDG);
        return true;
    }();
    (void)layoutChosen;
    return wxStandardPaths::Get().GetUserConfigDir();
}

wxString dataFolder() {
    const wxString folder = folderPath();
    return createFolder(folder) ? folder : wxString();
}

wxString configPath() {
    const wxString folder = folderPath();
    createFolder(folder);
    return folder + wxFileName::GetPathSeparator() + "config.ini";
}

int32_t readInt(const wxString& key) {
    const wxLogNull silence;
    const auto config = load(configPath()).config;
    long value = 0;
    if (!config->Read(key, &value))
        return 0;
    using Limits = std::numeric_limits<int32_t>;
    return value < Limits::min() || value > Limits::max() ? 0 : static_cast<int32_t>(value);
}

bool readBool(const wxString& key) {
    const wxLogNull silence;
    const auto config = load(configPath()).config;
    bool value = false;
    return config->Read(key, &value) && value;
}

void writeInt(const wxString& key, int32_t value) {
    change([&](wxFileConfig& config) { return config.Write(key, static_cast<long>(value)); });
}

void writeBool(const wxString& key, bool value) {
    change([&](wxFileConfig& config) { return config.Write(key, value); });
}

void writeFirstRunDefaults() {
    change([](wxFileConfig& config) {
        if (wxFileName::FileExists(configPath()))
            return false;
        // In memory, under names like these, that can't fail.
        config.Write(kGpu, true);
        config.Write(kPreblurSeconds, 1L);
        config.Write(kUserLanguage, false);
        config.Write(kLanguage, 0L);
        return true;
    });
}

} // namespace settings
