#include "cpu/CPUIPImageOverlay.h"

#include "core/ATTR.h"
#include "cpu/MEMSurface.h"
#include "image/QTDImageHelpers.h"
#include "image/TextParser.h"

#include <algorithm>
#include <cstdint>

using QTD::ATTR;
using namespace QTD::Procs;

CPUIPImageOverlay::CPUIPImageOverlay(BrxComponent* parentComponent)
    : OverlayCommands(parentComponent) {
    name = "image.overlay.cpu";
    properties.set("text.font", "default", false);
    properties.set("line.width", "1", false);
}

CPUIPImageOverlay::~CPUIPImageOverlay() {
    objects.surface(nullptr);
    delete surface;
    surface = nullptr;
    releaseData();
}

void CPUIPImageOverlay::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    ImageProcessorData::Release();
    // A stage made for a new format starts with no objects.
    objects.clear();
    objects.surface(nullptr);
    delete surface;
    surface = nullptr;
}

uint32_t CPUIPImageOverlay::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    Release();
    lastError = init(input);
    if (lastError != CodeOk) {
        const int code = lastError;
        Release();
        return report(code);
    }
    ready = 1;
    return 0;
}

int CPUIPImageOverlay::init(BrxImage* input) {
    if (input == nullptr || input->width == 0 || input->height == 0)
        return CodeBadArgument;
    // Text is drawn on mono and RGB pixels only.
    if (isRawTransport(input->pixelType))
        return CodeNotSupported;
    surface = new MEMSurface();
    QTD::PROPERTIES none;
    if (!surface->init(&none))
        return CodeFailed;
    const int width = int(std::min<uint32_t>(input->width, INT32_MAX));
    const int height = int(std::min<uint32_t>(input->height, INT32_MAX));
    surface->setSize(width, height);
    // The image fills the surface; "adjust" keeps placed texts inside it.
    surface->area = {0.0, 0.0, double(width), double(height)};
    objects.surface(surface);
    inputFormat = QTDImageHelpers::imageCreateFormat(
        inputFormat, width, input->orientation == 1 ? -height : height, input->pixelType);
    return inputFormat == nullptr ? CodeNoResources : CodeOk;
}

uint32_t CPUIPImageOverlay::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPImageOverlay::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    lastError = CodeOk;
    if (surface == nullptr)
        return report(CodeNotReady);
    if (input == nullptr || input->imageData == nullptr)
        return report(CodeBadArgument);
    if (objects.count() == 0) {
        output = input;
        return 0;
    }
    QTD::PROPERTIES frame;
    const ATTR address(static_cast<void*>(input));
    frame.set("image", address, true);
    surface->begin(&frame);
    // A number that does not read leaves the frame by exception; the surface still lets go
    // of the caller's pixels.
    struct EndOnExit {
        MEMSurface* surface;
        ~EndOnExit() { surface->end(); }
    } bracket{surface};
    // Text templates read the image being drawn from the parser's variables.
    if (objects.parser() != nullptr)
        objects.parser()->vars.set("image", address, true);
    objects.updatePlacement(nullptr, true);
    objects.render(surface, &frame);
    output = input;
    return report(lastError);
}

unsigned int CPUIPImageOverlay::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const unsigned int word = runCommand(ATTR(command));
    return word == Unknown ? report(CodeUnknownCommand) : word;
}

BrxDisplayCPU::ImageOverlay* BrxDisplayCPU::ImageOverlay::CreateComponent(BrxComponent* parent) {
    return new CPUIPImageOverlay(parent);
}

void BrxDisplayCPU::ImageOverlay::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
