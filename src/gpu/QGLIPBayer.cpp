#include "gpu/QGLIPBayer.h"

#include "gpu/QGLBayerMHC.h"
#include "gpu/QGLSurface.h"

using QTD::ATTR;
using namespace QTD::Procs;

QGLIPBayer::QGLIPBayer(BrxDisplayProcessor* controller) : QGLStage(controller, nullptr) {
    name = "bayer.gpu";
    properties.set("image.color.coef", "1.", false);
}

QGLIPBayer::~QGLIPBayer() = default;

QGLRenderObject* QGLIPBayer::makePass() {
    return new RenderObjects::QGLBayerMHC(surface);
}

uint32_t QGLIPBayer::Init(BrxImage* input, BrxImage* outputArg) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginInit(input);
    if (code != CodeOk)
        return endInit(code, input, nullptr);
    const bool bgr = outputArg && isIn(BGR_INDEX, outputArg->pixelType);
    const uint32_t type = debayerType(input->pixelType, bgr);
    if (type == 0)
        return endInit(CodeNotSupported, input, nullptr);
    QTD::PROPERTIES bag = QGLStages::setUp(input, surface, type, properties);
    // The chain hands over "1.0" for data it has not scaled. The pass's edge thresholds are
    // fractions of full scale, so deeper mosaics go in on the full scale and the pass writes its
    // colours back on theirs: thresholds judge 10, 12 and 16 bits as they judge 8.
    double coef = properties.getAs<double>("image.color.coef", "1.");
    if (coef == 1.0 && input->bitsPerChannel > 8) {
        QTD::PixelFormat format;
        format.setTypeID(input->pixelType);
        coef = format.scale(16);
    }
    bag.set("image.color.coef", ATTR::format("%f", coef), true);
    bag.set("bgr", bgr ? "0" : "1", true);
    // The target copies values as they come: the pass has done the scaling.
    QTD::PROPERTIES targetBag = bag;
    targetBag.set("image.color.coef", "1.0", true);
    return buildPass(input, input, bag, targetBag);
}

uint32_t QGLIPBayer::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("QGLIPBayer::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = ready ? beginProcess(input) : CodeNotReady;
    if (code == CodeOk) {
        unsigned int t = QGLStages::bindInput(surface, texture, input);
        code = t && pass->process(input, nullptr) ? CodeOk : CodeFailed;
    }
    return endProcess(code, input, target ? target->image() : nullptr);
}

unsigned int QGLIPBayer::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    unsigned int word = 0;
    return readCommand(ATTR(command), word) ? word : 0;
}

BrxDisplayQGL::Bayer* BrxDisplayQGL::Bayer::CreateComponent(BrxDisplayProcessor* display) {
    return new QGLIPBayer(display);
}

void BrxDisplayQGL::Bayer::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
