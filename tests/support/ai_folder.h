#pragma once

#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace test {

/// A per-user configuration folder of its own for one test, removed with it. While it lives, the process
/// finds its settings and the AI folder there and nowhere else.
class AiFolder {
public:
    /// `name` is the last part of the folder's path, UTF-8.
    explicit AiFolder(const std::string& name = "config");

    std::string configDir() const { return configDir_; }
    std::string path() const { return configDir_ + "/Tarvex Shroud/Plugins/Tarvex AI"; }
    std::string olderPath() const { return configDir_ + "/Tarvex3/Plugins/Tarvex AI"; }
    std::string modelDir() const { return path() + "/Resources/yolov4-tiny"; }

    /// Copies a library built with the tests ("fake_doriq", …) or, by full path, any other.
    void installLibrary(const std::string& source, const std::string& nameInFolder = "Doriq.so");
    /// Writes model.names, model.cfg and model.weights.
    void installModel(const std::string& names, const std::string& cfg, const std::string& weights);
    /// A fake library that obeys `instructions` (fake_doriq.cpp) with the classes person, car and face.
    void installFake(const std::string& instructions);
    /// What the fake library noted, line by line.
    std::vector<std::string> fakeCalls() const;

private:
    TempFolder root_;
    std::string configDir_;
    Environment configHome_;
};

/// Path of a library built with the tests: "fake_doriq", "fake_doriq_without_builder", ….
std::string testLibrary(const std::string& name);
/// Makes the folders above the file too.
void writeFile(const std::string& path, const std::string& content);

} // namespace test
