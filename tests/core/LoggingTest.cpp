#include <brx/BrxLog4Cpp.h>

#include "core/ComponentImpl.h"

#include <gtest/gtest.h>

#include <log4cpp/Category.hh>

#include <climits>
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

std::string executableDirectory() {
    char path[PATH_MAX] = {0};
    ssize_t n = readlink("/proc/self/exe", path, sizeof(path) - 1);
    std::string dir(path, n < 0 ? 0 : static_cast<size_t>(n));
    return dir.substr(0, dir.rfind('/'));
}

std::string readFile(std::string const& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// A log4cpp property file that sends everything to `logFile`; removed again on destruction,
// together with the log.
struct PropertyFile {
    PropertyFile(std::string path, std::string logFile) : path(std::move(path)), log(logFile) {
        std::ofstream out(this->path);
        out << "log4cpp.rootCategory=DEBUG, A1\n"
               "log4cpp.appender.A1=FileAppender\n"
               "log4cpp.appender.A1.fileName="
            << logFile
            << "\n"
               "log4cpp.appender.A1.layout=PatternLayout\n"
               "log4cpp.appender.A1.layout.ConversionPattern=%p %c: %m%n\n";
    }
    ~PropertyFile() {
        std::remove(path.c_str());
        std::remove(log.c_str());
        // Later tests must not write into the removed file.
        log4cpp::Category::getRoot().removeAllAppenders();
    }
    std::string const path;
    std::string const log;
};

std::string unique(char const* stem) {
    return std::string(stem) + "-" + std::to_string(getpid());
}

} // namespace

TEST(Logging, PropertyFileBesideTheExecutableConfiguresLog4cpp) {
    PropertyFile file(executableDirectory() + "/brxlog4cpp.property",
                      "/tmp/" + unique("brxlog-beside") + ".log");
#ifdef BRX_DISPLAY_LIBRARY
    // The library's load hook reads it. The library is loaded in a child process that leaves
    // with _exit: once loaded it stays resident, and its unload hook would otherwise run at the
    // exit of this process, after log4cpp's own statics are gone.
    EXPECT_EXIT(_exit(dlopen(BRX_DISPLAY_LIBRARY, RTLD_NOW | RTLD_LOCAL) ? 0 : 1),
                testing::ExitedWithCode(0), "");
    EXPECT_NE(readFile(file.log).find("INFO BrxDisplayQt: DisplayQt: -> Enter"), std::string::npos);
#endif
    BrxLog4Cpp_configure("brxlog4cpp.property", "BrxDisplayQt");
    char info[] = "an info line";
    BrxLog4Cpp_Info("BrxDisplayQt", 42, info);
    QTD::ComponentImpl component;
    component.log.debug("from a component");
    std::string const text = readFile(file.log);
    EXPECT_NE(text.find("INFO BrxDisplayQt: an info line, code=42"), std::string::npos) << text;
    EXPECT_NE(text.find("DEBUG BrxDisplayQt: from a component"), std::string::npos);
}

TEST(Logging, WorkingDirectoryHasNoEffectAndWithoutFileEverythingWorks) {
    char scratch[] = "/tmp/brxlog-cwd-XXXXXX";
    ASSERT_NE(mkdtemp(scratch), nullptr);
    char previous[PATH_MAX];
    ASSERT_NE(getcwd(previous, sizeof(previous)), nullptr);
    ASSERT_EQ(chdir(scratch), 0);
    std::string const name = unique("brxlog4cpp-cwd") + ".property";
    {
        PropertyFile file(std::string(scratch) + "/" + name, std::string(scratch) + "/written.log");
        BrxLog4Cpp_configure(name.c_str(), "BrxDisplayQt");
        BrxLog4Cpp_configure(nullptr, nullptr);
        char text[] = "nowhere";
        for (auto log : {BrxLog4Cpp_Debug, BrxLog4Cpp_Info, BrxLog4Cpp_Warning, BrxLog4Cpp_Error,
                         BrxLog4Cpp_Fatal})
            log("BrxDisplayQt", 1, text);
        BrxLog4Cpp_Notice("BrxDisplayQt", text);
        BrxLog4Cpp_Info(nullptr, 6, text);
        QTD::ComponentImpl component;
        EXPECT_EQ(component.SetParamInt("x", 1), 0u);
        EXPECT_EQ(readFile(file.log), "");
    }
    ASSERT_EQ(chdir(previous), 0);
    rmdir(scratch);
}
