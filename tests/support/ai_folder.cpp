#include "support/ai_folder.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace test {

std::string testLibrary(const std::string& name) {
    return std::string(SHROUD_TEST_LIB_DIR "/") + name + ".so";
}

void writeFile(const std::string& path, const std::string& content) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file)
        throw std::runtime_error("can't write " + path);
}

AiFolder::AiFolder(const std::string& name)
    : configDir_(root_.file(name)), configHome_("XDG_CONFIG_HOME", configDir_) {
    fs::create_directories(configDir_);
}

void AiFolder::installLibrary(const std::string& source, const std::string& nameInFolder) {
    const std::string target = path() + "/" + nameInFolder;
    fs::create_directories(path());
    // A new file each time: the library of the name may be loaded, and its pages must not change.
    fs::remove(target);
    fs::copy_file(source.find('/') == std::string::npos ? testLibrary(source) : source, target);
}

void AiFolder::installModel(const std::string& names, const std::string& cfg, const std::string& weights) {
    writeFile(modelDir() + "/model.names", names);
    writeFile(modelDir() + "/model.cfg", cfg);
    writeFile(modelDir() + "/model.weights", weights);
}

void AiFolder::installFake(const std::string& instructions) {
    installLibrary("fake_doriq");
    installModel("person\ncar\nface\n", "[net]\n", instructions);
}

std::vector<std::string> AiFolder::fakeCalls() const {
    std::ifstream file(modelDir() + "/model.weights.calls");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

} // namespace test
