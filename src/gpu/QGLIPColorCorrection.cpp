#include "gpu/QGLIPColorCorrection.h"

#include "gpu/QGLColorCorrection.h"
#include "gpu/QGLSurface.h"

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

const char* const GainKeys[3] = {"gain.r", "gain.g", "gain.b"};
const char* const OffsetKeys[3] = {"offs.r", "offs.g", "offs.b"};
// Bag keys that go to the pass as they are.
const char* const PassKeys[5] = {"gamma", "debug.output", "debug.mode", "image.flip.vert",
                                 "image.color.coef"};

} // namespace

QGLIPColorCorrection::QGLIPColorCorrection(BrxDisplayProcessor* controller)
    : QGLStage(controller, nullptr) {
    name = "correction.gpu";
    resetParams(false);
    properties.set("image.color.coef", "1.", false);
}

QGLIPColorCorrection::~QGLIPColorCorrection() = default;

void QGLIPColorCorrection::resetParams(bool replace) {
    for (int c = 0; c < 3; ++c) {
        properties.set(GainKeys[c], ATTR(1.0), replace);
        properties.set(OffsetKeys[c], ATTR(0.0), replace);
    }
    properties.set("gamma", ATTR(1.0), replace);
    properties.set("debug.output", "0", replace);
    properties.set("debug.mode", "0", replace);
}

int QGLIPColorCorrection::applyParams() {
    auto* correction = static_cast<RenderObjects::QGLColorCorrection*>(pass);
    if (!correction)
        return CodeNotReady;
    std::lock_guard<QTD::RMutex> lock(correction->mutex);
    for (int c = 0; c < 3; ++c) {
        correction->gain[c] = properties.getAs<double>(GainKeys[c], "1");
        correction->offset[c] = properties.getAs<double>(OffsetKeys[c], "0");
    }
    for (const char* key : PassKeys) {
        ATTR value;
        if (properties.find(key, &value))
            correction->props.set(key, value, true);
    }
    return CodeOk;
}

QGLRenderObject* QGLIPColorCorrection::makePass() {
    return new RenderObjects::QGLColorCorrection(surface);
}

uint32_t QGLIPColorCorrection::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QTD::PROPERTIES extra;
    extra.set("image.color.coef", properties.get("image.color.coef", "1."), true);
    extra.set("image.color.high", "1.000000", true);
    uint32_t word = initPass(input, extra);
    applyParams();
    return word;
}

uint32_t QGLIPColorCorrection::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("QGLIPColorCorrection::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginProcess(input);
    if (code == CodeOk)
        code = drawPass(input, nullptr);
    return endProcess(code, input, target ? target->image() : nullptr);
}

unsigned int QGLIPColorCorrection::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    unsigned int word = 0;
    if (readCommand(text, word))
        return word;
    if (text.same("params.apply"))
        return report(applyParams());
    if (text.same("params.reset")) {
        resetParams(true);
        return 0;
    }
    if (text.same("enable") || text.same("disable"))
        Enable(text.same("enable"));
    return 0;
}

bool QGLIPColorCorrection::RunCommandParams(const char* command,
                                            std::map<std::string, std::string>* params) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    if (text.same("cmd.params.reset")) {
        resetParams(true);
        return true;
    }
    if (text.same("readGPU"))
        return RunCommand("readGPU") == 0;
    if (!text.same("cmd.params.apply"))
        return false;
    std::map<std::string, std::string> none;
    std::map<std::string, std::string>& values = params ? *params : none;
    auto take = [&](const char* from, const char* key, const char* fallback) {
        auto it = values.find(from);
        properties.set(key, ATTR(it != values.end() ? it->second.c_str() : fallback), true);
    };
    for (int c = 0; c < 3; ++c) {
        take(GainKeys[c], GainKeys[c], "1.");
        take(OffsetKeys[c], OffsetKeys[c], "0.");
    }
    // As on the CPU: without "gamma" there is no gamma at all.
    take("gamma", "gamma", "0.");
    take("debug.output", "debug.output", "0");
    take("debug.mode", "debug.mode", "0");
    take("flip.vert", "image.flip.vert", "0");
    take("image.color.coef", "image.color.coef", "1.");
    return applyParams() == CodeOk;
}

BrxDisplayQGL::ColorCorrection*
BrxDisplayQGL::ColorCorrection::CreateComponent(BrxDisplayProcessor* display) {
    return new QGLIPColorCorrection(display);
}

void BrxDisplayQGL::ColorCorrection::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
