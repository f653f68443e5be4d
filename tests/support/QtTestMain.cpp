#include <QApplication>
#include <gtest/gtest.h>

#include <cstdlib>

// Leaks that Qt's platform plugins leave at exit are not ours (read by LeakSanitizer, when
// built with it).
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libqoffscreen\n"
           "leak:libqxcb\n"
           "leak:libQt5Gui\n"
           "leak:libQt5Core\n"
           "leak:libQt5XcbQpa\n"
           "leak:libfontconfig\n"
           "leak:libdbus-1\n";
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Listing the tests (ctest's discovery) and runs without an X server use the offscreen
    // platform; the GL programs are started under xvfb-run, which sets DISPLAY.
    if (!std::getenv("DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
