/// The installation command, driven as a user does.
#include <array>
#include <cstdio>
#include <filesystem>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "support/ai_folder.h"
#include "support/darknet_models.h"
#include "support/paths.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

struct Outcome {
    int status;
    std::string text;
};

class InstallModel : public testing::Test {
protected:
    void SetUp() override {
        write("mine.names", model.names);
        write("mine.cfg", model.cfg);
        write("mine.weights", model.weights);
    }

    std::string file(const std::string& name) const { return folder.configDir() + "/model dir/" + name; }
    void write(const std::string& name, const std::string& content) { test::writeFile(file(name), content); }

    /// Runs the command with the arguments as a shell reads them; standard error included.
    static Outcome run(const std::string& arguments) {
        const std::string command =
            word(test::binDir() + "/tarvex_shroud_install_model") + " " + arguments + " 2>&1";
        std::FILE* pipe = popen(command.c_str(), "r");
        Outcome outcome{-1, {}};
        if (!pipe)
            return outcome;
        std::array<char, 4096> buffer;
        while (const size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
            outcome.text.append(buffer.data(), count);
        outcome.status = WEXITSTATUS(pclose(pipe));
        return outcome;
    }
    /// `text` as one word of a shell command.
    static std::string word(const std::string& text) {
        return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
    }
    Outcome installFolder() const { return run(word(file(""))); }

    void expectNothingInstalled() const { EXPECT_FALSE(fs::exists(folder.path())); }

    test::AiFolder folder{"Größe 🎬"};
    test::DarknetModel model = test::colourModel();
};

} // namespace

TEST_F(InstallModel, PutsLibraryAndModelWhereTheApplicationLooks) {
    const Outcome outcome = installFolder();
    ASSERT_EQ(outcome.status, 0) << outcome.text;
    EXPECT_THAT(outcome.text, HasSubstr(folder.path()));
    EXPECT_TRUE(fs::exists(folder.path() + "/Doriq.so"));
    EXPECT_EQ(test::readFile(folder.modelDir() + "/model.names"), model.names);
    EXPECT_EQ(test::readFile(folder.modelDir() + "/model.cfg"), model.cfg);
    EXPECT_EQ(test::readFile(folder.modelDir() + "/model.weights"), model.weights);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.modelDir()), fs::directory_iterator()), 3);
}

TEST_F(InstallModel, TakesTheThreeFilesInAnyOrder) {
    const Outcome outcome =
        run(word(file("mine.weights")) + " " + word(file("mine.names")) + " " + word(file("mine.cfg")));
    ASSERT_EQ(outcome.status, 0) << outcome.text;
    EXPECT_TRUE(fs::exists(folder.modelDir() + "/model.weights"));
}

TEST_F(InstallModel, ReplacesAnEarlierModelWhole) {
    folder.installModel("old", "old", "old");
    test::writeFile(folder.modelDir() + "/another.weights", "old");
    test::writeFile(folder.modelDir() + "/notes.txt", "mine");
    ASSERT_EQ(installFolder().status, 0);
    EXPECT_FALSE(fs::exists(folder.modelDir() + "/another.weights"));
    EXPECT_TRUE(fs::exists(folder.modelDir() + "/notes.txt"));
    EXPECT_EQ(test::readFile(folder.modelDir() + "/model.weights"), model.weights);
    // And once more from the installed files themselves.
    fs::remove(folder.modelDir() + "/notes.txt");
    ASSERT_EQ(run(word(folder.modelDir())).status, 0);
    EXPECT_EQ(test::readFile(folder.modelDir() + "/model.weights"), model.weights);
}

TEST_F(InstallModel, CheckingInstallsNothing) {
    const Outcome outcome = run("--check " + word(file("")));
    EXPECT_EQ(outcome.status, 0) << outcome.text;
    expectNothingInstalled();
}

TEST_F(InstallModel, SaysWhichFilesAreMissing) {
    fs::remove(file("mine.names"));
    fs::remove(file("mine.weights"));
    const Outcome outcome = installFolder();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.text, "The .names file (the class names, one per line) is missing\n"
                            "The .weights file (the trained weights) is missing\n");
    expectNothingInstalled();
}

TEST_F(InstallModel, RefusesTwoFilesOfOneKind) {
    write("other.cfg", model.cfg);
    const Outcome outcome = installFolder();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.text, HasSubstr("more than one .cfg file"));
    expectNothingInstalled();
}

TEST_F(InstallModel, SaysWhatDoesNotFit) {
    write("mine.names", "person\nface\n");
    write("mine.weights", model.weights.substr(0, 100));
    const Outcome outcome = installFolder();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.text, HasSubstr("it has 2 names, the network has 3 classes"));
    EXPECT_THAT(outcome.text, HasSubstr("mine.weights: it holds 80 bytes of weights, the network has"));
    expectNothingInstalled();
}

TEST_F(InstallModel, RefusesAModelThatHidesNothing) {
    write("mine.names", "tree\nhouse\ncar\n");
    const Outcome outcome = installFolder();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.text, HasSubstr("neither \"person\" nor \"face\""));
    expectNothingInstalled();
}

TEST_F(InstallModel, RefusesABrokenNetwork) {
    write("mine.cfg", "this is no network\n");
    const Outcome outcome = installFolder();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.text, HasSubstr("line 1"));
    expectNothingInstalled();
}

TEST_F(InstallModel, RefusesALibraryThatIsNone) {
    const Outcome text = run("--library " + word(file("mine.cfg")) + " " + word(file("")));
    EXPECT_EQ(text.status, 1);
    EXPECT_THAT(text.text, HasSubstr("can't be loaded"));
    const Outcome half =
        run("--library " + word(test::testLibrary("fake_doriq_without_destroyer")) + " " + word(file("")));
    EXPECT_EQ(half.status, 1);
    EXPECT_THAT(half.text, HasSubstr("is no detection library"));
    const Outcome none = run("--library /nowhere/Doriq.so " + word(file("")));
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.text, HasSubstr("/nowhere/Doriq.so does not exist"));
    expectNothingInstalled();
}

TEST_F(InstallModel, SaysWhenTheFolderCannotBeMade) {
    test::writeFile(folder.configDir() + "/Tarvex Shroud", "a file in the way");
    const Outcome outcome = installFolder();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.text, HasSubstr("can't be made"));
}

TEST_F(InstallModel, WrongUsageIsExplained) {
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("--nonsense").status, 2);
    const Outcome help = run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.text, HasSubstr("--library"));
}
