// The smallest program built against the installed package: creates a display through the flat
// functions, reads its class, and deletes it.
#include <brx/BrxComponent.h>
#include <brx/BrxDisplay.h>
#include <brx/BrxLog4Cpp.h>

#include <cstdio>
#include <cstring>

int main() {
    char text[] = "consumer linked";
    BrxLog4Cpp_Notice("BrxDisplayQt", text);

    BrxDisplay* display = BrxDisplay_CreateComponent();
    BrxComponent* component = BrxDisplay_GetComponent(display);
    if (display == nullptr || component == nullptr) {
        std::puts("consumer: no display");
        return 1;
    }
    char name[64] = {0};
    unsigned int size = sizeof(name);
    if (component->GetParamString("class", name, &size) != 0 ||
        std::strcmp(name, "BrxDisplayImpl") != 0) {
        std::printf("consumer: unexpected class '%s'\n", name);
        return 1;
    }
    if (BrxDisplay_DisplayVideo(nullptr, nullptr) != 0x80070007u) {
        std::puts("consumer: null handle not refused");
        return 1;
    }
    BrxDisplay_DeleteComponent(display);
    std::puts("consumer ok");
    return 0;
}
