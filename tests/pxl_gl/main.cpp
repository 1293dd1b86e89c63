#include "gl_test.h"

#include "pxl/gl_startup.h"
#include "support/gl_context.h"

std::string test::noContextReason;

pxl::Size test::Window::size() const {
    return {windowSide, windowSide};
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    test::noContextReason = test::makeOffscreenContextCurrent();
    if (test::noContextReason.empty() && !pxl::startGraphics())
        test::noContextReason = "the driver is older than OpenGL 3.3";
    const int result = RUN_ALL_TESTS();
    if (test::noContextReason.empty())
        pxl::stopGraphics();
    test::destroyOffscreenContext();
    return result;
}
