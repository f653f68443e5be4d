#include <brx/BrxLog4Cpp.h>

#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/Configurator.hh>
#include <log4cpp/PropertyConfigurator.hh>

#include <string>
#include <syslog.h>
#include <unistd.h>

namespace {

log4cpp::Category& category(const char* name) {
    return log4cpp::Category::getInstance(name ? std::string(name) : std::string());
}

// The configuration fills log4cpp's appender table; it must exist before that and be torn
// down after every category that refers to it.
void keepAppenderTable() {
    static log4cpp::Appender::AppenderMapStorageInitializer storage;
    (void)storage;
}

} // namespace

extern "C" void BrxLog4Cpp_configure(const char* fileName, const char*) {
    keepAppenderTable();

    char exe[4096] = {0};
    ssize_t length = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    std::string dir(exe, length < 0 ? 0 : static_cast<size_t>(length));
    std::string::size_type slash = dir.rfind('/');
    if (slash != std::string::npos)
        dir.erase(slash);

    std::string path = dir + "/" + (fileName ? fileName : "");
    syslog(LOG_WARNING, "BrxLog4Cpp: trying to load %s\n", path.c_str());
    try {
        log4cpp::PropertyConfigurator::configure(path);
        syslog(LOG_WARNING, "BrxLog4Cpp: PropertyConfigurator::configure succeeded!\n");
    } catch (const log4cpp::ConfigureFailure&) {
        syslog(LOG_WARNING, "BrxLog4Cpp: PropertyConfigurator::configure failed, logging is disabled!");
    }
}

extern "C" void BrxLog4Cpp_Debug(const char* name, unsigned long code, char* text) {
    category(name).debug("%s, code=%lu", text, code);
}

extern "C" void BrxLog4Cpp_Info(const char* name, unsigned long code, char* text) {
    category(name).info("%s, code=%lu", text, code);
}

extern "C" void BrxLog4Cpp_Warning(const char* name, unsigned long code, char* text) {
    category(name).warn("%s, code=%lu", text, code);
}

extern "C" void BrxLog4Cpp_Error(const char* name, unsigned long code, char* text) {
    category(name).error("%s, code=%lu", text, code);
}

extern "C" void BrxLog4Cpp_Fatal(const char* name, unsigned long code, char* text) {
    category(name).fatal("%s, code=%lu", text, code);
}

extern "C" void BrxLog4Cpp_Notice(const char* name, char* text) {
    category(name).notice("%s", text);
}
