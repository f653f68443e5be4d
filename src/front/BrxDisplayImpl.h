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
    int Translate(int* first, int* second, int mode) override;
    void Shut() override;

    // The older command vocabulary, on the facade's own bag.
    int RunCommandParams(const char* command, std::map<std::string, std::string>* params) override;
    unsigned int RunCommand(const char* command) override;

    // Owned.
    QTDDisplay* display = nullptr;

private:
    // The failure word of this component for a plain code; 0 stays 0.
    uint32_t word(uint32_t code);
    // Writes "system.opengl" from `mode` and rebuilds the controller for `format`.
    uint32_t setUp(const char* mode, BrxImage* format);
};
