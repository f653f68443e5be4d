#include "gpu/QGLIPExposureColoration.h"

#include "gpu/QGLExposureColoration.h"
#include "gpu/QGLSurface.h"

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

const char* const Keys[4] = {"thres.lo", "thres.hi", "color.lo", "color.hi"};

} // namespace

QGLIPExposureColoration::QGLIPExposureColoration(BrxDisplayProcessor* controller,
                                                 BrxComponent* parentComponent)
    : QGLStage(controller, parentComponent) {
    name = "correction.gpu";
    properties.set("thres.lo", "-1", false);
    properties.set("thres.hi", "-1", false);
    properties.set("color.lo", ATTR(int(QTD::ExposureLimits::ColorLo)), false);
    properties.set("color.hi", ATTR(int(QTD::ExposureLimits::ColorHi)), false);
}

QGLIPExposureColoration::~QGLIPExposureColoration() = default;

void QGLIPExposureColoration::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QGLStage::Release();
    limits = QTD::ExposureLimits();
    reference = nullptr;
}

void QGLIPExposureColoration::initFromProperties(BrxImage* format) {
    auto* coloration = static_cast<RenderObjects::QGLExposureColoration*>(pass);
    if (!format || !coloration)
        return;
    limits = QTD::ExposureLimits::read(properties, format);
    // The shader's tests are strict and work on fractions of the texture's full scale, where
    // deep samples lie right-aligned in 16 bits: half a level outside marks exactly the levels
    // the CPU marks.
    const double scale = format->bitsPerChannel == 8 ? 255.0 : 65535.0;
    std::lock_guard<QTD::RMutex> lock(coloration->mutex);
    coloration->thresholdLow = (limits.lo - 0.5) / scale;
    coloration->thresholdHigh = (limits.hi + 0.5) / scale;
    coloration->colorLow = limits.colorLo;
    coloration->colorHigh = limits.colorHi;
    ready = 1;
}

QGLRenderObject* QGLIPExposureColoration::makePass() {
    return new RenderObjects::QGLExposureColoration(surface);
}

uint32_t QGLIPExposureColoration::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QTD::PROPERTIES extra;
    extra.set("image.color.mono", input && isIn(MONO_INDEXEXT, input->pixelType) ? "1" : "0", true);
    uint32_t word = initPass(input, extra);
    auto* chain = dynamic_cast<BrxImgProcessingChain*>(parent);
    reference = chain ? chain->GetProcessor("image.unpacked") : nullptr;
    // Thresholds follow the raw format, known once the chain has its source.
    ready = 0;
    if (reference)
        initFromProperties(reference->Format(true));
    return word;
}

uint32_t QGLIPExposureColoration::ProcessImage(BrxImage* input, BrxImage* outputArg,
                                               void* context) {
    (void)outputArg;
    (void)context;
    log.debug("QGLIPExposureColoration::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginProcess(input);
    BrxImage* raw = reference ? reference->Output() : nullptr;
    unsigned int rawTexture = QGLImage::GetTexture(raw);
    if (code == CodeOk && IsEnabled()) {
        if (!ready)
            initFromProperties(raw);
        if (!ready)
            code = CodeNotReady;
        else if (!rawTexture)
            code = CodeFailed;
        else if (raw->width != input->width || raw->height != input->height)
            code = CodeBadArgument;
    }
    QTD::PROPERTIES judge;
    if (code == CodeOk && IsEnabled()) {
        judge.set("source", ATTR::format("%u", rawTexture), true);
        judge.set("colors", ATTR::format("%d", 1 << input->bitsPerChannel), true);
        judge.set("mono", isIn(RGBBGR_INDEX, raw->pixelType) ? "0" : "1", true);
        // Records say how their rows lie; the marks must land on the pixels judged.
        judge.set("upright", raw->orientation == target->image()->orientation ? "1" : "0", true);
    }
    if (code == CodeOk)
        code = drawPass(input, &judge);
    return endProcess(code, input, target ? target->image() : nullptr);
}

unsigned int QGLIPExposureColoration::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    unsigned int word = 0;
    if (readCommand(text, word))
        return word;
    if (text.same("params.apply")) {
        if (!pass)
            return report(CodeNotReady);
        initFromProperties(reference ? reference->Format(true) : nullptr);
        return 0;
    }
    if (text.same("enable") || text.same("disable"))
        Enable(text.same("enable"));
    return 0;
}

bool QGLIPExposureColoration::RunCommandParams(const char* command,
                                               std::map<std::string, std::string>* params) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    std::map<std::string, std::string> none;
    std::map<std::string, std::string>& values = params ? *params : none;
    auto value = [&](const char* key, const char* fallback) {
        auto it = values.find(key);
        return ATTR(it != values.end() ? it->second.c_str() : fallback);
    };
    if (text.same("cmd.enable")) {
        Enable(value("enabled", "1").as<int>() != 0);
        return true;
    }
    if (text.same("cmd.params.reset") || text.same("readGPU"))
        return RunCommand(text.same("readGPU") ? "readGPU" : "params.reset") == 0;
    if (!text.same("cmd.params.apply"))
        return false;
    for (const char* key : Keys)
        if (values.count(key))
            properties.set(key, value(key, ""), true);
    if (value("apply", "1").as<int>() == 0)
        return true;
    return RunCommand("params.apply") == 0;
}

BrxDisplayQGL::ExposureColoration*
BrxDisplayQGL::ExposureColoration::CreateComponent(BrxDisplayProcessor* display,
                                                   BrxComponent* parent) {
    return new QGLIPExposureColoration(display, parent);
}

void BrxDisplayQGL::ExposureColoration::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
