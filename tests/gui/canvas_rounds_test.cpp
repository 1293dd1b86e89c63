#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <vector>

#include <epoxy/gl.h>

#include <gmock/gmock.h>
#include <wx/frame.h>
#include <wx/weakref.h>

#include "canvas_hand.h"
#include "mainframe_fixture.h"
#include "support/no_progress.h"
#include "videocanvas.h"
#include "videoplayer.h"

/// Whatever the canvas does, its video and its window may go away. How often each is tried is said by
/// SHROUD_ROUNDS.
namespace {

constexpr int kRounds = 3;

int rounds() {
    const char* text = std::getenv("SHROUD_ROUNDS");
    const int given = text ? std::atoi(text) : 0;
    return given > 0 ? given : kRounds;
}

/// What may be under way.
struct Doing {
    const char* name;
    const char* clip;
    /// Called with a canvas whose video is ready; false when it could not be brought about. Nothing: don't
    /// wait for the end of pre-processing.
    bool (*begin)(wxWindow& canvas, const test::LogCapture& log);
};

const Doing kDoings[] = {
    {"Nothing", "plain.mp4", [](wxWindow&, const test::LogCapture&) { return true; }},
    {"PreProcessing", "gop_250_1080p.mp4", nullptr},
    {"Playing", "plain.mp4", test::startPlaying},
    {"Recording", "plain.mp4", [](wxWindow& canvas, const auto&) { return test::startRecording(canvas); }},
    {"Seeking", "gop_250.mp4", test::startSeeking},
};

std::string nameOf(const testing::TestParamInfo<Doing>& info) {
    return info.param.name;
}

void PrintTo(const Doing& doing, std::ostream* out) {
    *out << doing.name;
}

class MainFrameRounds : public test::MainFrameTest, public testing::WithParamInterface<Doing> {
protected:
    void SetUp() override { ASSERT_TRUE(test::parkPointer(*frame_)); }
    void begin() {
        const wxString path = clip(GetParam().clip);
        if (!GetParam().begin) {
            frame_->openVideo(path);
            return;
        }
        openReady(GetParam().clip);
        ASSERT_TRUE(isReady());
        ASSERT_TRUE(GetParam().begin(canvas(), log_));
    }
    /// Every other round goes on before the window has heard of what was begun.
    void turn(int round) {
        if (round % 2 == 0)
            return;
        // The dialog that shows how far pre-processing is.
        if (!GetParam().begin)
            test::runUntil([this] { return !frame_->IsEnabled() || isReady(); });
        test::runPending();
    }
};

class CanvasRounds : public testing::TestWithParam<Doing> {};

} // namespace

TEST_P(MainFrameRounds, AnotherVideoIsOpened) {
    for (int round = 0; round < rounds(); ++round) {
        ASSERT_NO_FATAL_FAILURE(begin()) << "round " << round;
        turn(round);
        ASSERT_NO_FATAL_FAILURE(openReady("odd_321x181.mp4")) << "round " << round;
        ASSERT_TRUE(isReady());
        ASSERT_EQ(blurCount(), 0u);
    }
}

TEST_P(MainFrameRounds, TheWindowIsClosed) {
    for (int round = 0; round < rounds(); ++round) {
        ASSERT_NO_FATAL_FAILURE(begin()) << "round " << round;
        turn(round);
        const wxWeakRef<wxWindow> window(frame_);
        ASSERT_TRUE(frame_->Close());
        ASSERT_TRUE(test::runUntil([&] { return !window; })) << "round " << round;
        makeWindow();
    }
}

INSTANTIATE_TEST_SUITE_P(During, MainFrameRounds, testing::ValuesIn(kDoings), nameOf);

TEST_P(CanvasRounds, TheCanvasIsDestroyed) {
    const test::LogCapture log;
    for (int round = 0; round < rounds(); ++round) {
        SCOPED_TRACE(round);
        {
            const std::lock_guard<std::mutex> lock(blurtrack::store().mutex);
            blurtrack::clear();
            blurtrack::initFrames(1000);
        }
        test::NoProgress progress;
        wxString error;
        auto* window = new wxFrame(nullptr, wxID_ANY, "canvas", wxDefaultPosition, wxSize(500, 400));
        auto* canvas = new VideoCanvas2(window, wxID_ANY, wxDefaultPosition, wxDefaultSize);
        window->Show();
        ASSERT_TRUE(test::parkPointer(*window));
        auto player = std::make_unique<VideoPlayer>(&progress);
        std::atomic<bool> scanned{false};
        player->setOnReady([&] { scanned = true; });
        const std::string path = test::mediaDir() + "/" + GetParam().clip;
        ASSERT_TRUE(player->open(wxString::FromUTF8(path), error));
        if (GetParam().begin) {
            ASSERT_TRUE(test::runUntil([&] { return scanned.load(); }));
            canvas->set(player.get());
            ASSERT_TRUE(GetParam().begin(*canvas, log));
        }
        if (round % 2)
            test::runPending();
        if (round % 3 == 1)
            player->end();
        if (round % 3 == 2)
            canvas->set(nullptr);
        // The canvas lets go of a player by itself, whether or not that has ended.
        window->Destroy();
        test::runPending();
    }
}

INSTANTIATE_TEST_SUITE_P(During, CanvasRounds, testing::ValuesIn(kDoings), nameOf);

TEST(CanvasWindow, AsksTheDriverForAContextThatTellsItsErrors) {
    const test::LogCapture log;
    auto* window = new wxFrame(nullptr, wxID_ANY, "canvas", wxDefaultPosition, wxSize(500, 400));
    auto* canvas = new VideoCanvas2(window, wxID_ANY, wxDefaultPosition, wxDefaultSize);
    const auto painted = std::make_shared<bool>(false);
    canvas->Bind(wxEVT_PAINT, [painted](wxPaintEvent& event) {
        *painted = true;
        event.Skip();
    });
    window->Show();
    ASSERT_TRUE(test::runUntil([&] { return *painted; }));
    // The canvas leaves its context current.
    GLint flags = 0;
    GLint profile = 0;
    glGetIntegerv(GL_CONTEXT_FLAGS, &flags);
    glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &profile);
    EXPECT_TRUE(flags & GL_CONTEXT_FLAG_DEBUG_BIT);
    EXPECT_TRUE(profile & GL_CONTEXT_CORE_PROFILE_BIT);
    EXPECT_GE(epoxy_gl_version(), 33);
    window->Destroy();
    test::runPending();
}

TEST(CanvasWindow, TwoOfThemDrawSideBySide) {
    const test::LogCapture log;
    testing::internal::CaptureStdout();
    std::vector<wxFrame*> windows;
    // Shared with the handlers, which live as long as the windows.
    const auto paints = std::make_shared<std::array<int, 2>>();
    for (std::size_t i = 0; i < 2; ++i) {
        auto* window = windows.emplace_back(
            new wxFrame(nullptr, wxID_ANY, "canvas", wxDefaultPosition, wxSize(500, 400)));
        auto* canvas = new VideoCanvas2(window, wxID_ANY, wxDefaultPosition, wxDefaultSize);
        canvas->Bind(wxEVT_PAINT, [paints, i](wxPaintEvent& event) {
            ++(*paints)[i];
            event.Skip();
        });
        window->Show();
    }
    for (int round = 0; round < 3; ++round) {
        const std::array<int, 2> before = *paints;
        for (wxFrame* window : windows)
            window->Refresh();
        EXPECT_TRUE(test::runUntil([&] { return (*paints)[0] > before[0] && (*paints)[1] > before[1]; }));
    }
    for (wxFrame* window : windows)
        window->Destroy();
    test::runPending();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::Not(testing::HasSubstr("GL_INVALID")));
}
