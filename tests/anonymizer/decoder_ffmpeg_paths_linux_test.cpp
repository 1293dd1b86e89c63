#include <clocale>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <wx/filefn.h>

#include "platform.h"
#include "support/clip_decoding.h"
#include "support/log_capture.h"
#include "support/temp_folder.h"

namespace {

/// Opens a clip by a path relative to one of the folders of the clips.
void expectRelativeOpen(const std::string& folder, const std::string& name) {
    const wxString before = wxGetCwd();
    ASSERT_EQ(chdir((test::mediaDir() + folder).c_str()), 0);
    Decoder_ffmpeg decoder;
    EXPECT_TRUE(decoder.open(wxString::FromUTF8(name))) << name;
    EXPECT_TRUE(decoder.next());
    ASSERT_EQ(chdir(before.utf8_str()), 0);
}

class Locale {
public:
    explicit Locale(const char* name) : before_(std::setlocale(LC_ALL, nullptr)) {
        std::setlocale(LC_ALL, name);
    }
    ~Locale() { std::setlocale(LC_ALL, before_.c_str()); }
    Locale(const Locale&) = delete;
    Locale& operator=(const Locale&) = delete;

private:
    std::string before_;
};

TEST(DecoderPaths, FailsOnAFileItMayNotRead) {
    constexpr uid_t nobody = 65534;
    const bool isSuperuser = geteuid() == 0;
    if (isSuperuser) {
        ASSERT_EQ(seteuid(nobody), 0);
    }
    const test::LogCapture log;
    Decoder_ffmpeg decoder;
    EXPECT_FALSE(decoder.open(test::clipPath("unreadable.mp4")));
    EXPECT_EQ(decoder.lastError(), "Permission denied");
    EXPECT_TRUE(log.contains("[DecoderFFMPEG] Permission denied"));
    if (isSuperuser) {
        ASSERT_EQ(seteuid(0), 0);
    }
}

TEST(DecoderPaths, TakesAColonForPartOfTheName) {
    expectRelativeOpen("", "a:b.mp4");
}

TEST(DecoderPaths, TakesRelativePaths) {
    expectRelativeOpen("/path with spaces", "clip one.mp4");
    expectRelativeOpen("/path with spaces", "../plain.mp4");
    expectRelativeOpen("/пример видео", "Клип 🎬.mp4");
}

TEST(DecoderPaths, TakesANameWhoseBytesAreNoText) {
    const test::TempFolder folder;
    const std::string bytes = folder.path().string() + "/Stra\xDF"
                                                       "e \xC3\xA4\xFF.mp4";
    std::filesystem::copy_file(test::mediaDir() + "/plain.mp4", bytes);
    std::string texts[] = {"program", bytes};
    std::vector<char*> argv{texts[0].data(), texts[1].data()};
    const wxString name = platform::commandLineFileNames(2, argv.data()).at(0);
    EXPECT_EQ(platform::fileName(name), bytes);
    EXPECT_TRUE(platform::isWritable(name));
    Decoder_ffmpeg decoder;
    EXPECT_TRUE(decoder.open(name)) << decoder.lastError();
    EXPECT_TRUE(decoder.next());
}

TEST(DecoderPaths, TakesAnyNameInTheCLocale) {
    const Locale locale("C");
    expectRelativeOpen("", "a:b.mp4");
    expectRelativeOpen("", "пример видео/Клип 🎬.mp4");
    expectRelativeOpen("/пример видео", "Клип 🎬.mp4");
    Decoder_ffmpeg decoder;
    EXPECT_TRUE(decoder.open(test::clipPath("пример видео/Клип 🎬.mp4")));
    EXPECT_EQ(test::scanAll(decoder), 30);
}

} // namespace
