#pragma once

#include <filesystem>
#include <string>

namespace test {

/// A new empty folder, removed with everything in it at the end.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Absolute UTF-8 path of a name in it.
    std::string file(const std::string& name) const;
    /// Writes a file byte for byte and returns its path.
    std::string write(const std::string& name, const std::string& content) const;
    /// Names in it, UTF-8, sorted.
    std::string listing() const;

private:
    std::filesystem::path path_;
};

/// Content of a file byte for byte; empty when it can't be read.
std::string readFile(const std::string& path);

/// While it lives, file permissions apply to this process even if it is run by the administrator.
class WithoutPrivileges {
public:
    WithoutPrivileges();
    ~WithoutPrivileges();
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;

private:
    bool dropped_;
};

/// Gives a file to the user as whom WithoutPrivileges acts. False unless the administrator runs the tests.
bool giveToOrdinaryUser(const std::string& path);

/// Sets an environment variable for its life time.
class Environment {
public:
    Environment(const std::string& name, const std::string& value);
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::string name_;
    std::string previous_;
    bool existed_;
};

} // namespace test
