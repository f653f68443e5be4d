// Runs when libBrxDisplayQt is loaded and unloaded.
#include <brx/BrxLog4Cpp.h>

#include <log4cpp/Category.hh>

extern "C" __attribute__((constructor)) void InitializeImageApiLib() {
    BrxLog4Cpp_configure("brxlog4cpp.property", "BrxDisplayQt");
    log4cpp::Category::getInstance("BrxDisplayQt").info("DisplayQt: -> Enter");
}

extern "C" __attribute__((destructor)) void FinalizeImageApiLib() {
    log4cpp::Category::getInstance("BrxDisplayQt").info("DisplayQt: <- Exit");
}
