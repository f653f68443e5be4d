#include <gtest/gtest.h>
#include <brx/BrxLog4Cpp.h>

TEST(Logging, ConfigureWithoutFileStillLogs) {
    BrxLog4Cpp_configure("no-such-file.property", "BrxDisplayQt");
    char text[] = "still here";
    BrxLog4Cpp_Info("BrxDisplayQt", 1, text);
}
