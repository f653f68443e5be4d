#include "gpu/QGLIPImageOverlay.h"

#include "gpu/QGLSurfaceRef.h"

using QTD::ATTR;
using namespace QTD::Procs;

QGLIPImageOverlay::QGLIPImageOverlay(BrxDisplayProcessor* controller)
    : OverlayCommands(controller, nullptr) {
    name = "image.overlay.gpu";
    properties.set("text.font", "default", false);
    properties.set("line.width", "1", false);
}

QGLIPImageOverlay::~QGLIPImageOverlay() {
    dropSurface();
}

void QGLIPImageOverlay::dropSurface() {
    objects.surface(nullptr);
    delete drawSurface;
    drawSurface = nullptr;
}

void QGLIPImageOverlay::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QGLStage::Release();
    // A stage made for a new format starts with no objects.
    objects.clear();
    dropSurface();
}

uint32_t QGLIPImageOverlay::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginInit(input);
    if (code != CodeOk)
        return endInit(code, input, nullptr);
    QTD::PROPERTIES bag = QGLStages::setUp(input, surface, input->pixelType, properties);
    target = new QGLImage(surface);
    if (!target->init(input, &bag))
        return endInit(CodeNotReady, input, nullptr);
    properties.set("color.depth", ATTR::format("%u", input->bitsPerChannel), true);
    drawSurface = new QGLSurfaceRef();
    drawSurface->source = surface;
    if (!drawSurface->init(&bag))
        return endInit(CodeNotReady, input, nullptr);
    objects.surface(drawSurface);
    objects.resize(0, 0, int(input->width), int(input->height));
    return endInit(CodeOk, input, target->image());
}

int QGLIPImageOverlay::draw(BrxImage* input) {
    int w = int(input->width), h = int(input->height);
    if (!target->begin(nullptr))
        return CodeFailed;
    surface->glViewport(0, 0, w, h);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    // The surface draws y up from the bottom edge; rows that lie top-down in the target's record
    // take the drawing mirrored, so that objects land where the CPU burns them.
    if (target->image()->orientation == 1)
        glOrtho(0, w, 0, h, -1, 1);
    else
        glOrtho(0, w, h, 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    if (objects.parser() != nullptr)
        objects.parser()->vars.set("image", ATTR(static_cast<void*>(input)), true);
    objects.updatePlacement(nullptr, true);
    QTD::PROPERTIES frame;
    frame.set("color.depth", properties.get("color.depth", "8"), true);
    objects.render(drawSurface, &frame);
    target->end();
    return CodeOk;
}

uint32_t QGLIPImageOverlay::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("QGLIPImageOverlay::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginProcess(input);
    if (code == CodeOk) {
        unsigned int given = QGLImage::GetTexture(input);
        if (given) {
            code = target->fillGPU(given, nullptr) ? CodeOk : CodeFailed;
        } else {
            surface->glActiveTexture(GL_TEXTURE0);
            surface->glBindTexture(GL_TEXTURE_2D, target->texture());
            code = input->imageData && target->fillGPU(input) ? CodeOk : CodeFailed;
        }
    }
    if (code == CodeOk && IsEnabled() && objects.count() > 0)
        code = draw(input);
    return endProcess(code, input, target ? target->image() : nullptr);
}

unsigned int QGLIPImageOverlay::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    unsigned int word = 0;
    if (readCommand(text, word))
        return word;
    word = runCommand(text);
    return word == Unknown ? 0 : word;
}

bool QGLIPImageOverlay::RunCommandParams(const char* command, Map* params) {
    if (ATTR(command).same("readGPU"))
        return RunCommand("readGPU") == 0;
    return OverlayCommands::RunCommandParams(command, params);
}

BrxDisplayQGL::ImageOverlay*
BrxDisplayQGL::ImageOverlay::CreateComponent(BrxDisplayProcessor* display) {
    return new QGLIPImageOverlay(display);
}

void BrxDisplayQGL::ImageOverlay::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
