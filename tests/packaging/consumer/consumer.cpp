// The smallest program built against the installed package.
#include <brx/BrxLog4Cpp.h>

#include <cstdio>

int main() {
    char text[] = "consumer linked";
    BrxLog4Cpp_Notice("BrxDisplayQt", text);
    std::puts("consumer ok");
    return 0;
}
