#include "support/temp_folder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <stdexcept>

#include <unistd.h>

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

} // namespace

TempFolder::TempFolder() {
    std::random_device random;
    do
        path_ = fs::temp_directory_path() / ("shroud-test-" + std::to_string(random()));
    while (!fs::create_directory(path_));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(path_, ignored);
}

std::string TempFolder::file(const std::string& name) const {
    return (path_ / fs::u8path(name)).u8string();
}

std::string TempFolder::write(const std::string& name, const std::string& content) const {
    const fs::path path = path_ / fs::u8path(name);
    std::ofstream stream(path, std::ios::binary);
    stream << content;
    if (!stream.flush())
        throw std::runtime_error("can't write " + path.u8string());
    return path.u8string();
}

std::string TempFolder::listing() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_))
        names.insert(entry.path().filename().u8string());
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

std::string readFile(const std::string& path) {
    std::ifstream stream(fs::u8path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

WithoutPrivileges::WithoutPrivileges() : dropped_(geteuid() == 0 && seteuid(kNobody) == 0) {}

WithoutPrivileges::~WithoutPrivileges() {
    if (dropped_ && seteuid(0) != 0)
        std::abort();
}

bool giveToOrdinaryUser(const std::string& path) {
    return geteuid() == 0 && chown(path.c_str(), kNobody, static_cast<gid_t>(-1)) == 0;
}

Environment::Environment(const std::string& name, const std::string& value) : name_(name) {
    const char* before = std::getenv(name.c_str());
    existed_ = before != nullptr;
    previous_ = before ? before : "";
    setenv(name.c_str(), value.c_str(), 1);
}

Environment::~Environment() {
    if (existed_)
        setenv(name_.c_str(), previous_.c_str(), 1);
    else
        unsetenv(name_.c_str());
}

} // namespace test
