#include "demosaic/BrxBayerImpl.h"

#include "demosaic/BayerPixelTypes.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <new>

using BrxDemosaic::BayerEngine;
using BrxDemosaic::BayerFrame;
using BrxDemosaic::BayerPixelTypes;

namespace {
char const* const KEY_ALGORITHM = "BayerAlgType";
char const* const KEY_THREADS = "BayerThreads";
uint32_t const MAX_SIDE = 1u << 24;

// Bytes an image's rows need from its first pixel: all strides but the last row's.
bool coversRows(BrxImage const* image, uint64_t rowBytes) {
    uint64_t const need = static_cast<uint64_t>(image->stride) * (image->height - 1) + rowBytes;
    return image->stride >= rowBytes && image->imageSize >= need;
}

bool overlaps(BrxImage const* a, BrxImage const* b) {
    auto const* a0 = static_cast<unsigned char const*>(a->imageData);
    auto const* b0 = static_cast<unsigned char const*>(b->imageData);
    return a0 < b0 + b->imageSize && b0 < a0 + a->imageSize;
}
} // namespace

BrxBayerImpl::BrxBayerImpl() {
    component.properties.set(KEY_ALGORITHM, "0", false);
    component.properties.set(KEY_THREADS, "0", false);
}

BrxBayerImpl::~BrxBayerImpl() {
    Release();
}

BrxComponent* BrxBayerImpl::GetComponent() {
    return &component;
}

long BrxBayerImpl::readInt(char const* key, long fallback) {
    QTD::ATTR text;
    if (!component.properties.find(key, &text) || text.empty())
        return fallback;
    char* end = nullptr;
    errno = 0;
    long const v = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || errno != 0)
        return fallback;
    return v;
}

unsigned short BrxBayerImpl::fail(char const* where, unsigned short code) {
    component.log.error("BrxBayer::%s(): failed with code %u", where, static_cast<unsigned>(code));
    return code;
}

unsigned short BrxBayerImpl::describe(BrxImage const* in, BrxImage const* out, bool withPixels,
                                      BayerFrame& f) {
    if (!in || !out)
        return STATUS_BAD_IMAGE;
    int pattern = 0, depth = 0, outDepth = 0;
    bool bgr = false;
    if (!BayerPixelTypes::bayer(in->pixelType, &pattern, &depth) ||
        !BayerPixelTypes::rgb(out->pixelType, &outDepth, &bgr) || outDepth != depth)
        return STATUS_NOT_SUPPORTED;
    if (in->width < 2 || in->height < 2 || in->width > MAX_SIDE || in->height > MAX_SIDE ||
        out->width != in->width || out->height != in->height)
        return STATUS_BAD_IMAGE;
    uint64_t const bytes = depth > 8 ? 2 : 1;
    if (!coversRows(in, in->width * bytes) || !coversRows(out, in->width * 3 * bytes))
        return STATUS_BAD_IMAGE;
    if (bytes == 2 && ((in->stride | out->stride) & 1))
        return STATUS_BAD_IMAGE;
    if (withPixels) {
        if (!in->imageData || !out->imageData || overlaps(in, out))
            return STATUS_BAD_IMAGE;
        if (bytes == 2 && ((reinterpret_cast<uintptr_t>(in->imageData) |
                            reinterpret_cast<uintptr_t>(out->imageData)) &
                           1))
            return STATUS_BAD_IMAGE;
    }
    f.src = static_cast<uint8_t const*>(in->imageData);
    f.srcStride = in->stride;
    f.dst = static_cast<uint8_t*>(out->imageData);
    f.dstStride = out->stride;
    // Images stored in opposite row orders: the output is written from its last row up.
    if (in->orientation != out->orientation && f.dst) {
        f.dst += static_cast<ptrdiff_t>(out->stride) * (out->height - 1);
        f.dstStride = -f.dstStride;
    }
    f.width = static_cast<int>(in->width);
    f.height = static_cast<int>(in->height);
    f.pattern = pattern;
    f.depth = depth;
    f.bytes = static_cast<int>(bytes);
    f.bgr = bgr;
    return STATUS_OK;
}

unsigned short BrxBayerImpl::Init(BrxImage* input, BrxImage* output) {
    component.log.debug("BrxBayer::Init()");
    Release();
    BayerFrame frame;
    unsigned short const code = describe(input, output, false, frame);
    if (code != STATUS_OK)
        return fail("Init", code);
    long const alg = readInt(KEY_ALGORITHM, BrxDemosaic::ALG_GRADIENT);
    algorithm = alg == BrxDemosaic::ALG_BILINEAR || alg == BrxDemosaic::ALG_RCD ||
                        alg == BrxDemosaic::ALG_QUALITY
                    ? static_cast<int>(alg)
                    : BrxDemosaic::ALG_GRADIENT;
    long threads = readInt(KEY_THREADS, 0);
    if (threads < 0 || threads > 256)
        threads = 0;
    try {
        engine.reset(new BayerEngine(static_cast<int>(threads)));
    } catch (std::exception const&) {
        engine.reset();
        return fail("Init", STATUS_NO_MEMORY);
    }
    return STATUS_OK;
}

unsigned short BrxBayerImpl::ProcessImage(BrxImage* input, BrxImage* output) {
    component.log.debug("BrxBayer::ProcessImage()");
    if (!engine)
        return fail("ProcessImage", STATUS_NOT_READY);
    BayerFrame frame;
    unsigned short const code = describe(input, output, true, frame);
    if (code != STATUS_OK)
        return fail("ProcessImage", code);
    try {
        if (!engine->run(frame, algorithm))
            return fail("ProcessImage", STATUS_NO_MEMORY);
    } catch (std::exception const&) {
        return fail("ProcessImage", STATUS_NO_MEMORY);
    }
    return STATUS_OK;
}

unsigned short BrxBayerImpl::Release() {
    engine.reset();
    return STATUS_OK;
}
