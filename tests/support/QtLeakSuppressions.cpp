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
