#include "platform.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

/// A GLX of its own, exported by this program, since an off-screen server offers no swap control.
namespace {

struct FakeGlx {
    bool current = false;
    const char* extensions = "";
    std::string setBy;
    int interval = 0;
    int mesaResult = 0;
};
FakeGlx glx;
int display = 0;
int context = 0;

void setExt(void* on, unsigned long drawable, int interval) {
    EXPECT_EQ(on, &display);
    EXPECT_EQ(drawable, 7u);
    glx.setBy = "EXT";
    glx.interval = interval;
}
int setMesa(unsigned interval) {
    glx.setBy = "MESA";
    glx.interval = static_cast<int>(interval);
    return glx.mesaResult;
}
int setSgi(int interval) {
    glx.setBy = "SGI";
    glx.interval = interval;
    return 0;
}

class SwapInterval : public testing::Test {
protected:
    void SetUp() override {
        glx = FakeGlx();
        glx.current = true;
    }
};

} // namespace

extern "C" {
#pragma GCC visibility push(default)
void* glXGetCurrentDisplay();
void* glXGetCurrentContext();
unsigned long glXGetCurrentDrawable();
int glXQueryContext(void* display, void* context, int attribute, int* value);
const char* glXQueryExtensionsString(void* display, int screen);
void (*glXGetProcAddressARB(const char* name))();

void* glXGetCurrentDisplay() {
    return glx.current ? &display : nullptr;
}
void* glXGetCurrentContext() {
    return glx.current ? &context : nullptr;
}
unsigned long glXGetCurrentDrawable() {
    return glx.current ? 7 : 0;
}
int glXQueryContext(void*, void*, int attribute, int* value) {
    EXPECT_EQ(attribute, 0x800C);
    *value = 3;
    return 0;
}
const char* glXQueryExtensionsString(void*, int screen) {
    EXPECT_EQ(screen, 3);
    return glx.extensions;
}
void (*glXGetProcAddressARB(const char* name))() {
    using Procedure = void (*)();
    if (std::strcmp(name, "glXSwapIntervalEXT") == 0)
        return reinterpret_cast<Procedure>(setExt);
    if (std::strcmp(name, "glXSwapIntervalMESA") == 0)
        return reinterpret_cast<Procedure>(setMesa);
    return reinterpret_cast<Procedure>(setSgi);
}
#pragma GCC visibility pop
}

TEST_F(SwapInterval, IsRefusedWithoutACurrentContext) {
    glx.current = false;
    glx.extensions = "GLX_EXT_swap_control";
    EXPECT_FALSE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "");
}

TEST_F(SwapInterval, IsSetByTheDrawablesExtensionFirst) {
    glx.extensions = "GLX_SGI_swap_control GLX_MESA_swap_control GLX_EXT_swap_control";
    EXPECT_TRUE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "EXT");
    EXPECT_EQ(glx.interval, 1);
}

TEST_F(SwapInterval, FallsBackToTheOlderExtensions) {
    glx.extensions = "GLX_SGI_swap_control GLX_MESA_swap_control GLX_EXT_swap_control_tear";
    EXPECT_TRUE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "MESA");
    glx.extensions = "GLX_SGI_swap_control";
    EXPECT_TRUE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "SGI");
}

TEST_F(SwapInterval, IsLeftAloneWhereNoExtensionIsListed) {
    glx.extensions = "GLX_ARB_create_context GLX_EXT_swap_control_tear";
    EXPECT_FALSE(platform::setSwapInterval(1));
    EXPECT_EQ(glx.setBy, "");
}

TEST_F(SwapInterval, ReportsTheExtensionsRefusal) {
    glx.extensions = "GLX_MESA_swap_control";
    glx.mesaResult = 5;
    EXPECT_FALSE(platform::setSwapInterval(1));
}
