#include <brx/BrxLog4Cpp.h>

#include "core/ComponentImpl.h"

#include <gtest/gtest.h>

#include <log4cpp/Category.hh>

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string readFile(std::string const& path) {
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A log4cpp property file that sends everything to `log`; both removed again at the end.
struct PropertyFile {
    PropertyFile(std::string path, std::string log) : path(path), log(log) {
        std::ofstream(path) << "log4cpp.rootCategory=DEBUG, A1\n"
                               "log4cpp.appender.A1=FileAppender\n"
                               "log4cpp.appender.A1.fileName="
                            << log
                            << "\nlog4cpp.appender.A1.layout=PatternLayout\n"
                               "log4cpp.appender.A1.layout.ConversionPattern=%p %c: %m%n\n";
    }
    ~PropertyFile() {
        fs::remove(path);
        fs::remove(log);
        log4cpp::Category::getRoot().removeAllAppenders(); // later tests must not write into it
    }
    std::string const path, log;
};

} // namespace

TEST(Logging, PropertyFileBesideTheExecutableConfiguresLog4cpp) {
    PropertyFile file(fs::read_symlink("/proc/self/exe").parent_path() / "brxlog4cpp.property",
                      "/tmp/brxlog-beside-" + std::to_string(getpid()) + ".log");
    // The library's load hook reads it. It is loaded in a child that leaves with _exit: its
    // unload hook would otherwise run at this process's exit, after log4cpp's statics are gone.
    EXPECT_EXIT(_exit(dlopen(BRX_DISPLAY_LIBRARY, RTLD_NOW | RTLD_LOCAL) ? 0 : 1),
                testing::ExitedWithCode(0), "");
    EXPECT_NE(readFile(file.log).find("INFO BrxDisplayQt: DisplayQt: -> Enter"), std::string::npos);
    BrxLog4Cpp_configure("brxlog4cpp.property", "BrxDisplayQt");
    char info[] = "an info line";
    BrxLog4Cpp_Info("BrxDisplayQt", 42, info);
    QTD::ComponentImpl component;
    component.log.debug("from a component");
    std::string const text = readFile(file.log);
    EXPECT_NE(text.find("INFO BrxDisplayQt: an info line, code=42"), std::string::npos) << text;
    EXPECT_NE(text.find("DEBUG BrxDisplayQt: from a component"), std::string::npos);
}

// A property file in the working directory is not read, and everything works without one.
TEST(Logging, WorkingDirectoryHasNoEffectAndWithoutFileEverythingWorks) {
    fs::path const scratch = fs::temp_directory_path() / ("brxlog-cwd-" + std::to_string(getpid()));
    ASSERT_TRUE(fs::create_directory(scratch));
    fs::path const previous = fs::current_path();
    fs::current_path(scratch);
    {
        PropertyFile file(scratch / "brxlog4cpp-cwd.property", scratch / "written.log");
        BrxLog4Cpp_configure("brxlog4cpp-cwd.property", "BrxDisplayQt");
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
    fs::current_path(previous);
    fs::remove(scratch);
}
