#pragma once

// Burns overlay objects into the image pixels, in place, as the chain's "image.overlay": what is
// drawn here becomes part of the image, and so of a converted or saved one. Draws through a
// memory surface, which carries text only. With no objects the stage touches nothing.

#include "chain/ImageProcessorData.h"
#include "chain/QTDProcs.h"
#include "core/ComponentImpl.h"
#include "screen/DrawObjects.h"

#include <map>
#include <string>

class MEMSurface;

class CPUIPImageOverlay : public BrxDisplayCPU::ImageOverlay,
                          public QTD::ImageProcessorData,
                          public QTD::ComponentImpl {
public:
    using Map = std::map<std::string, std::string>;

    explicit CPUIPImageOverlay(BrxComponent* parent);
    ~CPUIPImageOverlay() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
    BrxImage* Output() override { return ImageProcessorData::Output(); }
    BrxImage* Format(bool input) override { return ImageProcessorData::Format(input); }
    bool Enable(bool on) override { return ImageProcessorData::Enable(on); }
    bool IsEnabled() override { return ImageProcessorData::IsEnabled(); }

    // "cmd.text.add", "cmd.rect.add" (the identifier goes back as "objectID"), "cmd.del",
    // "cmd.text.del", "cmd.rect.del".
    virtual bool RunCommandParams(const char* command, Map* params);
    // Style keys for all objects, and the variables of the text templates.
    virtual bool SetOverlayProperties(Map* props);
    virtual bool SetOverlayVariables(Map* vars);
    // A negative y places the text by the rule x (top left 1, bottom left 2, ...). Returns the
    // identifier, empty on failure.
    virtual QTD::ATTR SetOverlayText(char const* text, int x, int y, Map* params);
    virtual bool DelOverlayObject(const std::string& id);
    // "text.add", "rect.add", "del", "text.del", "rect.del", "params.apply", "params.reset",
    // with their values in the stage's bag.
    unsigned int RunCommand(const char* command) override;
    virtual QTD::ATTR SetOverlayRect(int x, int y, int w, int h, Map* params);

    MEMSurface* surface = nullptr;
    QTD::DrawObjects objects;

private:
    int init(BrxImage* input);
    unsigned int fail(int code);
    unsigned int runCommand(QTD::ATTR const& text);
    bool runCommandParams(QTD::ATTR const& text, Map* params);
};
