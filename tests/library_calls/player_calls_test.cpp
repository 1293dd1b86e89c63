/// A player whose file the library cannot read on.
#include "videoplayer.h"

#include <atomic>
#include <future>

#include <gtest/gtest.h>

#include "support/clip_decoding.h"
#include "support/library_calls.h"
#include "support/no_progress.h"
#include "support/patience.h"

namespace {

class PlayerCalls : public testing::Test {
protected:
    /// Whether the opened video is told as uneven once it has been looked through.
    bool isUneven(const std::string& clip) {
        test::NoProgress progress;
        VideoPlayer player(&progress);
        std::promise<void> ready;
        player.setOnReady([&ready] { ready.set_value(); });
        wxString error;
        EXPECT_TRUE(player.open(test::clipPath(clip), error)) << error;
        test::waitFor(ready.get_future());
        return player.isUneven();
    }

    test::LibraryHooksReset reset_;
};

} // namespace

TEST_F(PlayerCalls, AVideoWithFramesThatCannotBeReadIsUneven) {
    EXPECT_FALSE(isUneven("plain.mp4"));
    test::libraryHooks().av_read_frame = [read = 0](AVFormatContext* format, AVPacket* packet) mutable {
        return ++read < 120 ? test::real::av_read_frame(format, packet) : format->pb->error = AVERROR(EIO);
    };
    EXPECT_TRUE(isUneven("plain.mp4"));
}
