#include "gpu/QGLIPUnpack.h"

#include "gpu/QGLSurface.h"
#include "gpu/QGLUnpackU3V.h"

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

// The packed forms the pass reads, and the pixels in one packing group of each depth.
constexpr uint32_t STREAM_INDEX[10] = {
    BRX_PIXEL_Mono10p,    BRX_PIXEL_Mono12p,    BRX_PIXEL_BayerGR10p, BRX_PIXEL_BayerRG10p,
    BRX_PIXEL_BayerGB10p, BRX_PIXEL_BayerBG10p, BRX_PIXEL_BayerGR12p, BRX_PIXEL_BayerRG12p,
    BRX_PIXEL_BayerGB12p, BRX_PIXEL_BayerBG12p,
};

} // namespace

QGLIPUnpack::QGLIPUnpack(BrxDisplayProcessor* controller) : QGLStage(controller, nullptr) {
    name = "unpack.gpu";
}

QGLIPUnpack::~QGLIPUnpack() {
    QTDImageHelpers::imageDelete(bytes);
}

QGLRenderObject* QGLIPUnpack::makePass() {
    return new RenderObjects::QGLUnpackU3V(surface);
}

void QGLIPUnpack::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QTDImageHelpers::imageDelete(bytes);
    bytes = nullptr;
    QGLStage::Release();
}

uint32_t QGLIPUnpack::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = beginInit(input);
    if (code != CodeOk)
        return endInit(code, input, nullptr);
    const int at = indexOf(PACKED_INDEX, input->pixelType);
    if (at < 0 || !isIn(STREAM_INDEX, input->pixelType))
        return endInit(CodeNotSupported, input, nullptr);
    QTD::PixelFormat unpacked;
    unpacked.setTypeID(UNPACK_INDEX[at]);
    const uint32_t group = unpacked.depth == 12 ? 2 : 4;
    if (input->width % group != 0)
        return endInit(CodeNotSupported, input, nullptr);
    const int rowBytes = int(input->width * uint32_t(unpacked.depth) / 8);
    bytes =
        QTDImageHelpers::imageCreateFormat(nullptr, rowBytes, int(input->height), BRX_PIXEL_Mono8);
    if (!bytes)
        return endInit(CodeNoResources, input, nullptr);
    // The stream's rows follow each other without padding.
    bytes->stride = uint32_t(rowBytes);
    bytes->imageSize = uint32_t(rowBytes) * input->height;
    QTD::PROPERTIES bag = QGLStages::setUp(input, surface, UNPACK_INDEX[at], properties);
    bag.set("src.size.x", ATTR(rowBytes), true);
    bag.set("src.size.y", ATTR(int(input->height)), true);
    return buildPass(input, bytes, bag, bag);
}

uint32_t QGLIPUnpack::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("QGLIPUnpack::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    int code = ready ? beginProcess(input) : CodeNotReady;
    if (code == CodeOk && (!isIn(PACKED_INDEX, input->pixelType) || !input->imageData ||
                           input->imageSize < bytes->imageSize))
        code = CodeBadArgument;
    if (code == CodeOk) {
        bytes->imageData = input->imageData;
        code = QGLStages::bindInput(surface, texture, bytes) && pass->process(input, nullptr)
                   ? CodeOk
                   : CodeFailed;
        bytes->imageData = nullptr;
    }
    return endProcess(code, input, target ? target->image() : nullptr);
}

unsigned int QGLIPUnpack::RunCommand(const char*) {
    lastError = CodeOk;
    return 0;
}

BrxDisplayQGL::Unpack* BrxDisplayQGL::Unpack::CreateComponent(BrxDisplayProcessor* display) {
    return new QGLIPUnpack(display);
}

void BrxDisplayQGL::Unpack::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
