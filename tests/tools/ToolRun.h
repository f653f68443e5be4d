#pragma once

// Running the tools as a user does, from a shell line.

#include <cstdio>
#include <string>
#include <sys/wait.h>

namespace ToolTest {

// What `line` writes to stdout, and its exit status (-1 if it did not exit).
inline std::string run(const std::string& line, int& status) {
    std::string out;
    status = -1;
    if (FILE* p = popen(line.c_str(), "r")) {
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof(buffer), p)) > 0) {
            out.append(buffer, n);
        }
        const int raw = pclose(p);
        status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }
    return out;
}

} // namespace ToolTest
