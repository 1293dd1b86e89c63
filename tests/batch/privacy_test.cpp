#include <csignal>
#include <set>
#include <thread>

#include "batch_fixture.h"
#include "support/ai_folder.h"
#include "support/mp4_boxes.h"

using namespace batch_test;
using testing::IsEmpty;

namespace {

/// Stands in everything that a source says about itself, its name included.
constexpr const char* kSecret = "Zuzana";

/// How a source is coded.
struct Source {
    const char* name;
    const char* size;
    const char* ending;
    const char* options;
    /// Only picture and sound, copied from the middle on, so that an edit list hides the start of a group.
    bool isCut;
};

void PrintTo(const Source& source, std::ostream* out) {
    *out << source.name;
}

/// Fresh folders for all that a program may think of writing to.
class BatchPrivacy : public BatchTest, public testing::WithParamInterface<Source> {
protected:
    void SetUp() override {
        for (const char* name : {"in", "out", "home", "temporary", "config", "cache", "data", "state", "run"})
            fs::create_directory(folder_.path() / name);
    }

    std::string inputPath() const {
        return folder_.file("in/" + std::string(kSecret) + "." + GetParam().ending);
    }

    /// A video with sound, subtitles, time code, chapters, a cover, a place, a device, a date and a title.
    void makeSource() const {
        folder_.write("in/subtitles.srt", "1\n00:00:00,500 --> 00:00:03,000\nZuzana Subtitle\n");
        folder_.write("in/metadata.txt",
                      ";FFMETADATA1\ntitle=Zuzana Title\nartist=Zuzana Artist\n"
                      "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=Zuzana First Chapter\n"
                      "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=3000\ntitle=Zuzana Second Chapter\n");
        const std::string whole = GetParam().isCut ? folder_.file("in/whole.mp4") : inputPath();
        test::outputOf("ffmpeg -nostdin -y -f lavfi -i testsrc2=s=" + std::string(GetParam().size) +
                       ":r=25:d=3 -f lavfi -i sine=d=3 -i '" + folder_.file("in/subtitles.srt") + "' -i '" +
                       folder_.file("in/metadata.txt") +
                       "' -f lavfi -i color=red:s=64x64:r=1:d=1 -map 0:v -map 1:a -map 2:s -map 4:v "
                       "-map_metadata 3 -map_chapters 3 -pix_fmt:v:0 yuv420p -bf 2 -g 25 -c:a aac "
                       "-c:s mov_text -c:v:1 png -frames:v:1 1 -disposition:v:1 attached_pic "
                       "-metadata:s:v:0 handler_name='Zuzana Handler' -metadata:s:a:0 title='Zuzana Sound' "
                       "-metadata creation_time=2001-02-03T04:05:06Z -metadata location=+48.1234+011.5678/ "
                       "-metadata make='Zuzana Make' -metadata model='Zuzana Model' "
                       "-metadata comment='Zuzana Comment' -timecode 01:02:03:04 " +
                       GetParam().options + " '" + whole + "'");
        if (GetParam().isCut)
            test::outputOf("ffmpeg -nostdin -y -ss 1.3 -i '" + whole +
                           "' -map 0:v:0 -map 0:a -c copy -metadata creation_time=2001-02-03T04:05:06Z '" +
                           inputPath() + "'");
        ASSERT_GT(fs::file_size(inputPath()), 20000u);
        const std::string said =
            test::outputOf("ffprobe -show_format -show_streams -show_chapters '" + inputPath() + "'");
        for (const char* text : {"Zuzana Title", "Zuzana Handler", "Zuzana Comment", "+48.1234", "2001-02-03",
                                 "Zuzana Second Chapter", "codec_type=audio"})
            ASSERT_NE(said.find(text), std::string::npos) << text;
    }

    test::ProcessStart startIn(const std::vector<std::string>& arguments) const {
        test::ProcessStart how = start(arguments);
        how.folder = folder_.file("run");
        how.environment = {{"HOME", folder_.file("home")},
                           {"TMPDIR", folder_.file("temporary")},
                           {"XDG_CONFIG_HOME", folder_.file("config")},
                           {"XDG_CACHE_HOME", folder_.file("cache")},
                           {"XDG_DATA_HOME", folder_.file("data")},
                           {"XDG_STATE_HOME", folder_.file("state")},
                           {"XDG_RUNTIME_DIR", folder_.file("run")}};
        return how;
    }

    /// Every file under the test's folder but those of the source.
    std::set<std::string> filesLeft() const {
        std::set<std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.path()))
            if (!entry.is_directory())
                files.insert(fs::relative(entry.path(), folder_.path()).u8string());
        for (auto file = files.begin(); file != files.end();)
            file = file->compare(0, 3, "in/") == 0 ? files.erase(file) : std::next(file);
        return files;
    }

    static void expectNothingOfTheSource(const std::string& file) {
        SCOPED_TRACE(file);
        EXPECT_THAT(test::privacyFaults(file), IsEmpty());
        const std::string bytes = test::readFile(file);
        for (const char* text : {kSecret, "48.1234", "011.5678", "2001", "testsrc", "/tmp/"})
            EXPECT_EQ(bytes.find(text), std::string::npos) << text;

        const std::string quoted = test::quoted(wxString::FromUTF8(file));
        EXPECT_EQ(test::outputOf("ffprobe -v error -show_entries stream=codec_type:chapter=id -of csv=p=0 " +
                                 quoted),
                  "video\n");
        const auto count = [&](const std::string& options) {
            return test::outputOf("ffprobe -v error " + options +
                                  " -count_frames -show_entries stream=nb_read_frames -of csv=p=0 " + quoted);
        };
        EXPECT_EQ(count(""), count("-ignore_editlist 1")) << "an edit list hides frames";

        const test::StreamReport report = test::probe(wxString::FromUTF8(file));
        for (const auto* entries : {&report.format, &report.stream})
            for (const auto& entry : *entries) {
                if (entry.first.compare(0, 4, "tag:") == 0) {
                    EXPECT_EQ(kTags.count(entry.first), 1u) << entry.first << "=" << entry.second;
                }
            }
        EXPECT_EQ(report.format.at("tag:comment"), "Tarvex Shroud");
    }

private:
    /// What the muxer says of itself, and the product's comment.
    static const inline std::set<std::string> kTags = {
        "tag:major_brand", "tag:minor_version", "tag:compatible_brands", "tag:encoder",
        "tag:comment",     "tag:handler_name",  "tag:vendor_id",         "tag:language"};
};

} // namespace

TEST_P(BatchPrivacy, TheExportSaysNothingOfItsSource) {
    makeSource();
    folder_.write("in/regions.csv", "1,20,100,60,100,75\n");
    for (const std::string mode : {"blur", "unblur"})
        for (const std::string ending : {"mp4", "mov"}) {
            const std::string output = folder_.file("out/" + mode + "." + ending);
            const test::ProcessResult result = test::run(
                startIn({"--mode", mode, "--regions", folder_.file("in/regions.csv"), inputPath(), output}));
            ASSERT_EQ(result.exitCode, 0) << result.error;
            EXPECT_EQ(result.output + result.error, "");
            expectNothingOfTheSource(output);
        }
    EXPECT_EQ(filesLeft(),
              (std::set<std::string>{"out/blur.mov", "out/blur.mp4", "out/unblur.mov", "out/unblur.mp4"}))
        << "files of its own";
}

TEST_P(BatchPrivacy, NoMoreBytesAreWrittenThanTheExportHas) {
    if (!fs::exists("/proc/self/io"))
        GTEST_SKIP() << "this system does not count the bytes that a program writes";
    makeSource();
    folder_.write("in/regions.csv", "1,20,100,60,100,75\n");
    test::ProcessStart how = startIn({});
    const std::string program = how.program;
    how.program = "/bin/sh";
    // A shell's own count takes in that of the programs it has waited for.
    how.arguments = {
        "-c",        "\"$@\"; cat /proc/$$/io",      "sh",        program,
        "--regions", folder_.file("in/regions.csv"), inputPath(), folder_.file("out/result.mp4")};
    const test::ProcessResult result = test::run(how);
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const std::size_t at = result.output.find("wchar: ");
    ASSERT_NE(at, std::string::npos) << result.output;
    const long long written = std::atoll(result.output.c_str() + at + 7);
    const auto length = static_cast<long long>(fs::file_size(folder_.file("out/result.mp4")));
    EXPECT_GE(written, length) << "the count is at work";
    // The length of the media data is set at the end; there is no room for a picture.
    EXPECT_LE(written, length + 10000);
}

TEST_P(BatchPrivacy, AStoppedExportLeavesNothing) {
    makeSource();
    // The export of one minute takes longer than the stopping.
    const std::string longer = folder_.file("in/longer.mp4");
    test::outputOf("ffmpeg -nostdin -y -stream_loop 20 -i '" + inputPath() + "' -map 0:v:0 -c copy '" +
                   longer + "'");
    test::Process process(startIn({"--mode", "unblur", longer, folder_.file("out/result.mp4")}));
    const auto draftHasGrown = [&] {
        for (const auto& entry : fs::directory_iterator(folder_.path() / "out")) {
            std::error_code gone;
            const auto size = entry.file_size(gone);
            if (!gone && size > 1000)
                return true;
        }
        return false;
    };
    while (process.isRunning() && !draftHasGrown())
        std::this_thread::yield();
    process.sendSignal(SIGTERM);
    const test::ProcessResult result = process.wait();
    EXPECT_EQ(result.exitCode, 1) << result.error;
    EXPECT_THAT(filesLeft(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sources, BatchPrivacy,
                         testing::Values(Source{"H264", "320x180", "mp4", "-c:v:0 libx264", false},
                                         Source{"QuickTime", "320x180", "mov",
                                                "-c:v:0 libx264 -movflags use_metadata_tags", false},
                                         Source{"EditList", "320x180", "mp4", "-c:v:0 libx264", true},
                                         Source{"OddSize", "321x181", "mp4", "-c:v:0 mpeg4", false}),
                         [](const auto& source) { return source.param.name; });

TEST(PrivacyCheck, SeesWhatSourcesSay) {
    const auto faultsOf = [](const std::string& name) {
        return test::privacyFaults(test::mediaDir() + "/" + name);
    };
    EXPECT_THAT(faultsOf("audio_first.mp4"), testing::Contains("more than one moov/trak"));
    EXPECT_THAT(faultsOf("edit_list.mp4"), testing::Contains("an edit skips the first frames"));
    EXPECT_THAT(faultsOf("fragmented.mp4"), testing::Contains("unknown box moof"));
    EXPECT_THAT(faultsOf("truncated_3.mp4"), testing::Contains(testing::HasSubstr("mdat has ")));
    test::TempFolder folder;
    folder.write("tail.mp4", test::readFile(test::mediaDir() + "/plain.mp4") + "more");
    EXPECT_THAT(test::privacyFaults(folder.file("tail.mp4")),
                testing::Contains(testing::HasSubstr("bytes of 4")));
    test::outputOf("ffmpeg -nostdin -y -i " +
                   test::quoted(wxString::FromUTF8(test::mediaDir() + "/plain.mp4")) +
                   " -c copy -metadata title=A -metadata creation_time=2001-02-03T04:05:06Z "
                   "-metadata:s:v handler_name=B '" +
                   folder.file("told.mp4") + "'");
    EXPECT_THAT(test::privacyFaults(folder.file("told.mp4")),
                testing::IsSupersetOf({"moov/mvhd holds a date", "moov/trak/tkhd holds a date",
                                       "moov/trak/mdia/mdhd holds a date", "the track has a name"}));
}
