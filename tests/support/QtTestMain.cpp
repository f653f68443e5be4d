#include "GraphicsDriver.h"

#include <QApplication>
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests (ctest's discovery) and runs without an X server use the offscreen
    // platform; the GL programs are started under xvfb-run, which sets DISPLAY.
    if (!std::getenv("DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    const int result = RUN_ALL_TESTS();
    BrxTest::keepGraphicsDriversLoaded();
    return result;
}
