// Leaks that Qt's platform plugins leave at exit are not ours (read by LeakSanitizer, when built
// with it).

#include "GraphicsDriver.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libqoffscreen\n"
           "leak:libqxcb\n"
           "leak:libQt5Gui\n"
           "leak:libQt5Core\n"
           "leak:libQt5XcbQpa\n"
           "leak:libfontconfig\n"
           "leak:libdbus-1\n";
}

namespace BrxTest {

void keepGraphicsDriversLoaded() {
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void*) {
            if (info->dlpi_name && std::strstr(info->dlpi_name, "_dri.so"))
                dlopen(info->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
            return 0;
        },
        nullptr);
}

} // namespace BrxTest
