#pragma once

// The facade behind the handle of the flat functions: owns one display controller, writes the
// parent and the backend into it, forwards images and turns plain codes into status words.

#include "core/ComponentImpl.h"

#include <brx/BrxDisplay.h>
#include <brx/BrxDisplayCommand.h>

#include <map>
#include <string>

class QTDDisplay;

class BrxDisplayImpl : public BrxDisplay, public QTD::ComponentImpl, public BrxDisplayCommand {
public:
    BrxDisplayImpl();
    ~BrxDisplayImpl() override;

    BrxDisplayImpl(BrxDisplayImpl const&) = delete;
    BrxDisplayImpl& operator=(BrxDisplayImpl const&) = delete;

    BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
    int GetSystemInfo(char* buffer, int size, const char* key) override;
    uint32_t Initialize(void* parent, const char* mode, BrxImage* format) override;
    uint32_t SetVideoMode(BrxImage* format, const char* mode) override;
    uint32_t DisplayVideo(BrxImage* image) override;
    uint32_t DisplayImage(BrxImage* image, const char* name) override;
    uint32_t ConvertImage(BrxImage* source, BrxImage* target) override;
    void Shut() override;

    // Window and image coordinates: `mode` 1 from the window to the image, any other the
    // reverse. Fractions are dropped on the way back.
    int Translate(int* first, int* second, int mode) override;

    // The older command vocabulary, on the facade's own bag. Only the parameter messages of the
    // facade's bag pass here; the controller's commands do not.
    int RunCommandParams(const char* command, std::map<std::string, std::string>* params) override;
    unsigned int RunCommand(const char* command) override;

    // Turns the older parameter names into the controller's; always 0, so that the facade's
    // bag keeps the value as well.
    int processParameter(const char* command, std::map<std::string, std::string>* params);

    // Owned.
    QTDDisplay* display = nullptr;

private:
    // The failure word of this component for a plain code; 0 stays 0.
    uint32_t word(uint32_t code);
    // Writes "system.opengl" from `mode` and rebuilds the controller for `format`.
    uint32_t setUp(const char* mode, BrxImage* format);
};
