#include "appresources.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace {

class AppResources : public testing::Test {
protected:
    void make(const std::string& folder) { std::filesystem::create_directories(top_.path() / folder); }
    std::string path(const std::string& name) const { return top_.file(name); }
    std::string find(const std::string& subfolder) const {
        return appresources::findFolder(wxString::FromUTF8(path("build/bin")), subfolder).utf8_string();
    }

private:
    test::TempFolder top_;
};

} // namespace

TEST_F(AppResources, AFolderBesideTheExecutableIsTakenFirst) {
    make("build/bin/resources/images");
    make("resources/images");
    EXPECT_EQ(find("resources/images"), path("build/bin/resources/images"));
}

TEST_F(AppResources, OtherwiseTheOneTwoLevelsUpIs) {
    make("build/bin/resources");
    make("resources/images");
    EXPECT_EQ(find("resources/images"), path("resources/images"));
}

TEST_F(AppResources, EachFolderIsLookedForByItself) {
    make("build/bin/languages");
    make("Resources/Icons");
    EXPECT_EQ(find("languages"), path("build/bin/languages"));
    EXPECT_EQ(find("Resources/Icons"), path("Resources/Icons"));
}

TEST_F(AppResources, OneThatIsNowhereIsSoughtBesideTheExecutable) {
    make("build/bin");
    make("build/languages");
    EXPECT_EQ(find("languages"), path("build/bin/languages"));
}

TEST_F(AppResources, AnExecutableInTheTopFolderHasNothingTwoLevelsUp) {
    EXPECT_EQ(appresources::findFolder("/", "no such folder").utf8_string(), "//no such folder");
    EXPECT_EQ(appresources::findFolder("/bin", "no such folder").utf8_string(), "/bin/no such folder");
}

TEST_F(AppResources, TheIconLiesWhereTheButtonImagesAre) {
    const auto icon = [this] {
        return appresources::iconFile(wxString::FromUTF8(path("build/bin"))).utf8_string();
    };
    const std::string name = "/Resources/Icons/tarvex_shroud.ico";
    make("build/bin");
    make("Resources/Icons");
    EXPECT_EQ(icon(), path("build/bin") + name) << "the images are nowhere";
    make("resources/images");
    EXPECT_EQ(icon(), path("") + name.substr(1));
    make("build/bin/resources/images");
    EXPECT_EQ(icon(), path("build/bin") + name);
}
