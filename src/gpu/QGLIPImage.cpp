#include "gpu/QGLIPImage.h"

#include "gpu/QGLSurface.h"
#include "image/QTDImageHelpers.h"

#include <cmath>

using QTD::ATTR;
using namespace QTD::Procs;

QGLIPImage::QGLIPImage(BrxDisplayProcessor* controller) : QGLStage(controller, nullptr) {
    name = "image.gpu";
    properties.set("readGPU", "0", false);
}

QGLIPImage::~QGLIPImage() {
    dropLast();
}

void QGLIPImage::dropLast() {
    if (lastTarget != target)
        delete lastTarget;
    lastTarget = nullptr;
}

void QGLIPImage::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    dropLast();
    QGLStage::Release();
}

uint32_t QGLIPImage::Init(BrxImage* input, BrxImage* outputArg) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginInit(input);
    if (code != CodeOk)
        return endInit(code, input, nullptr);
    QTD::PROPERTIES bag = QGLStages::setUp(input, surface, input->pixelType, properties);
    double coef = 1.0;
    if (outputArg) {
        double divisor = QTDImageHelpers::imageColorCoef(outputArg, nullptr);
        coef = std::fabs(divisor) < 1e-7
                   ? 0.0
                   : QTDImageHelpers::imageColorCoef(input, nullptr) / divisor;
    }
    bag.set("image.color.coef", ATTR::format("%f", coef), true);
    bag.set("image.color.mono", isIn(MONO_INDEXEXT, input->pixelType) ? "1" : "0", true);
    target = new QGLImage(surface);
    if (!target->init(input, &bag))
        return endInit(CodeNotReady, input, nullptr);
    lastTarget = target;
    if (outputArg && outputArg->pixelType != input->pixelType) {
        bag.set("pixeltype", ATTR::format("%u", outputArg->pixelType), true);
        // The first target already holds the image the right way up.
        bag.set("image.flip.vert", "0", true);
        lastTarget = new QGLImage(surface);
        if (!lastTarget->init(target->image(), &bag))
            return endInit(CodeNotReady, input, nullptr);
    }
    return endInit(CodeOk, input, lastTarget->image());
}

int QGLIPImage::process(BrxImage* input) {
    unsigned int given = QGLImage::GetTexture(input);
    if (given) {
        QTD::PROPERTIES plain;
        plain.set("image.color.coef", "1.0", true);
        plain.set("image.flip.vert", properties.get("image.flip.vert", "0"), true);
        if (!target->fillGPU(given, &plain))
            return CodeFailed;
    } else {
        if (!input->imageData)
            return CodeBadArgument;
        surface->glActiveTexture(GL_TEXTURE0);
        surface->glBindTexture(GL_TEXTURE_2D, target->texture());
        if (!target->fillGPU(input))
            return CodeFailed;
    }
    if (lastTarget != target && !lastTarget->fillGPU(target->texture(), nullptr))
        return CodeFailed;
    if (properties.getAs<int>("readGPU", "0") != 0)
        return readBack(lastTarget);
    return CodeOk;
}

uint32_t QGLIPImage::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("QGLIPImage::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginProcess(input);
    if (code == CodeOk)
        code = process(input);
    return endProcess(code, input, lastTarget ? lastTarget->image() : nullptr);
}

unsigned int QGLIPImage::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    unsigned int word = 0;
    return readCommand(ATTR(command), word) ? word : 0;
}

BrxDisplayQGL::Image* BrxDisplayQGL::Image::CreateComponent(BrxDisplayProcessor* display) {
    return new QGLIPImage(display);
}

void BrxDisplayQGL::Image::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
