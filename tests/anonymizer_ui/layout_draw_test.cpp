#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "layout.h"
#include "pxl/batch.h"
#include "support/blank_texture.h"

namespace {

/// A button, a toggle and a button without a picture, and which pictures became textures.
class LayoutDraw : public testing::Test {
protected:
    using Picture = ui2::Layout::Picture;

    static Picture picture() { return std::make_shared<const pxl::Image>(1, 1); }
    std::vector<const pxl::Image*> draw() {
        made_.clear();
        layout_.draw(batch_, [this](const pxl::Image& image) {
            made_.push_back(&image);
            return refuse_ ? nullptr : std::make_shared<test::BlankTexture>();
        });
        return made_;
    }
    using Made = std::vector<const pxl::Image*>;

    Picture button_ = picture();
    Picture off_ = picture();
    Picture on_ = picture();
    ui2::Layout layout_;
    int toggle_ = -1;
    pxl::Batch batch_{nullptr, nullptr};
    bool refuse_ = false;
    Made made_;

    LayoutDraw() {
        layout_.addButton(button_, {32, 32, 0, 0}, {});
        toggle_ = layout_.addToggle(off_, on_, {32, 32, 32, 0}, {});
        layout_.addButton({}, {32, 32, 64, 0}, {});
    }
};

TEST_F(LayoutDraw, TexturesAreMadeWhenTheyAreDrawnFirst) {
    EXPECT_EQ(draw(), (Made{button_.get(), off_.get()}));
    EXPECT_EQ(draw(), Made{});
    layout_.setToggled(toggle_, true);
    EXPECT_EQ(draw(), Made{on_.get()});
    layout_.setToggled(toggle_, false);
    EXPECT_EQ(draw(), Made{});
}

TEST_F(LayoutDraw, InvisibleListMakesNone) {
    layout_.setVisible(false);
    EXPECT_EQ(draw(), Made{});
    layout_.setVisible(true);
    EXPECT_EQ(draw().size(), 2u);
}

TEST_F(LayoutDraw, ReleasedTexturesAreMadeAgain) {
    draw();
    layout_.releaseTextures();
    EXPECT_EQ(draw(), (Made{button_.get(), off_.get()}));
}

TEST_F(LayoutDraw, RefusedTexturesAreAskedForOnce) {
    refuse_ = true;
    EXPECT_EQ(draw().size(), 2u);
    EXPECT_EQ(draw(), Made{});
}

} // namespace
