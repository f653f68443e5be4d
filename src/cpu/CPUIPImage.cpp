#include "cpu/CPUIPImage.h"

#include "image/ImageLayout.h"
#include "image/ParallelRows.h"
#include "image/QTDImageHelpers.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>

using namespace QTD::Procs;

namespace {

bool hasPixels(const BrxImage* image) {
    return image != nullptr && image->width != 0 && image->height != 0 &&
           image->imageData != nullptr && image->imageSize != 0;
}

bool sameArea(const BrxImage* a, const BrxImage* b) {
    return a->width == b->width && a->height == b->height;
}

// The type an 8-bit result of `type` has when no output format is given; 0 where there is none.
uint32_t narrowedType(uint32_t type) {
    if (isIn(MONO_INDEX, type)) {
        return PixelType::Mono8;
    }
    int i = indexOf(BAYER_INDEX, type);
    if (i >= 0) {
        return BAYER_INDEX[i & 3];
    }
    i = indexOf(TS16_INDEX, type);
    if (i >= 0) {
        return TS8_INDEX[i & 15];
    }
    if (isIn(PACKED_INDEX, type) || isIn(YUV_INDEX, type)) {
        return 0;
    }
    return type;
}

// The conversions between two pixel types.
struct Conditions {
    bool reduce;
    bool monoToRgb;
    bool sourceBgr;
    bool targetBgr;
    bool swap;
};

Conditions conditionsFor(uint32_t sourceType, uint32_t sourceDepth, uint32_t targetType,
                         uint32_t targetDepth) {
    Conditions c;
    c.reduce = sourceDepth > 8 && targetDepth == 8;
    c.monoToRgb = isIn(MONO_INDEXEXT, sourceType) && isIn(RGBBGR_INDEX, targetType);
    c.sourceBgr = isIn(BGR_INDEX, sourceType);
    c.targetBgr = isIn(BGR_INDEX, targetType);
    c.swap = c.sourceBgr != c.targetBgr || (targetType == 0 && c.sourceBgr);
    return c;
}

// Rows of `bytesPerRow` bytes, `stride` apart, that lie inside the record's buffer.
bool rowsFit(const BrxImage* image, uint64_t bytesPerRow) {
    return uint64_t(image->stride) >= bytesPerRow &&
           uint64_t(image->stride) * image->height <= image->imageSize;
}

// Narrows deep samples to 8 bits exactly as shifting right by `shift` and saturating does:
// floor(v / 2^shift) is v * 2^-shift less just under one half, rounded. All of it is exact in
// single precision, and OpenCV's vectorised convertTo does it without touching the source.
void narrow(const cv::Mat& wide, cv::Mat& narrowed, int shift) {
    const double scale = std::ldexp(1.0, -shift);
    const double offset = shift > 0 ? std::ldexp(1.0, -shift - 1) - 0.5 : 0.0;
    wide.convertTo(narrowed, CV_8U, scale, offset);
}

// One row of deep grey to three equal 8-bit channels: each sample shifted right by `shift`,
// saturated at 255 and written three times.
void greyRowToRgbScalar(const uint16_t* source, uint8_t* target, int from, int width, int shift) {
    for (int x = from; x < width; ++x) {
        const uint8_t v = uint8_t(std::min(source[x] >> shift, 255));
        target[3 * x] = target[3 * x + 1] = target[3 * x + 2] = v;
    }
}

#if defined(__x86_64__) || defined(__i386__)
// Sixteen pixels a step. After a shift of at least one bit the samples are below 32768, so the
// signed saturating pack gives exactly the saturation at 255.
__attribute__((target("ssse3"))) void greyRowToRgbSsse3(const uint16_t* source, uint8_t* target,
                                                        int width, int shift) {
    const __m128i bits = _mm_cvtsi32_si128(shift);
    const __m128i first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const __m128i second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const __m128i third =
        _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    int x = 0;
    for (; x + 16 <= width; x += 16) {
        const __m128i low =
            _mm_srl_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source + x)), bits);
        const __m128i high =
            _mm_srl_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source + x + 8)), bits);
        const __m128i grey = _mm_packus_epi16(low, high);
        __m128i* out = reinterpret_cast<__m128i*>(target + 3 * x);
        _mm_storeu_si128(out, _mm_shuffle_epi8(grey, first));
        _mm_storeu_si128(out + 1, _mm_shuffle_epi8(grey, second));
        _mm_storeu_si128(out + 2, _mm_shuffle_epi8(grey, third));
    }
    greyRowToRgbScalar(source, target, x, width, shift);
}

const bool haveSsse3 = __builtin_cpu_supports("ssse3");
#endif

void greyRowToRgb(const uint16_t* source, uint8_t* target, int width, int shift) {
#if defined(__x86_64__) || defined(__i386__)
    if (haveSsse3 && shift >= 1) {
        greyRowToRgbSsse3(source, target, width, shift);
        return;
    }
#endif
    greyRowToRgbScalar(source, target, 0, width, shift);
}

using QTD::parallelFor;

// Deep mono to an 8-bit three-channel image in one pass over the pixels, rows shared out over
// OpenCV's worker threads. The result is that of shifting a copy of the source, narrowing it and
// expanding grey to RGB, without the copy and the two further passes.
bool narrowMonoToRgb(BrxImage* source, BrxImage* target) {
    const int width = int(source->width);
    const int height = int(source->height);
    if (source->channels != 1 || target->channels != 3 || source->bitsPerChannel <= 8 ||
        source->stride % 2 != 0 || !rowsFit(source, 2ull * width) ||
        !rowsFit(target, 3ull * width)) {
        return false;
    }
    const int shift = int(source->bitsPerChannel) - 8;
    const auto* from = static_cast<const uint8_t*>(source->imageData);
    auto* to = static_cast<uint8_t*>(target->imageData);
    parallelFor(cv::Range(0, height), [&](const cv::Range& rows) {
        for (int y = rows.start; y < rows.end; ++y) {
            greyRowToRgb(reinterpret_cast<const uint16_t*>(from + size_t(y) * source->stride),
                         to + size_t(y) * target->stride, width, shift);
        }
    });
    return true;
}

// One block copy; a large one is shared out over OpenCV's worker threads in parts of a few
// megabytes, as its own conversions are.
void copyBlock(void* target, const void* source, size_t bytes) {
    constexpr size_t Part = size_t(4) << 20;
    if (bytes < 2 * Part) {
        std::memcpy(target, source, bytes);
        return;
    }
    const int parts = int((bytes + Part - 1) / Part);
    parallelFor(cv::Range(0, parts), [&](const cv::Range& range) {
        const size_t begin = size_t(range.start) * Part;
        const size_t end = std::min(bytes, size_t(range.end) * Part);
        std::memcpy(static_cast<char*>(target) + begin, static_cast<const char*>(source) + begin,
                    end - begin);
    });
}

// Red and blue change places; 8- and 16-bit samples.
bool swapChannels(BrxImage* source, BrxImage* target) {
    const int type = source->bitsPerChannel > 8 ? CV_16UC3 : CV_8UC3;
    const size_t pixelBytes = source->bitsPerChannel > 8 ? 6 : 3;
    if (source->channels != 3 || source->stride < source->width * pixelBytes ||
        size_t(source->stride) * source->height > source->imageSize) {
        return false;
    }
    cv::Mat from(int(source->height), int(source->width), type, source->imageData, source->stride);
    const int pairs[] = {0, 2, 1, 1, 2, 0};
    if (target == nullptr || target == source || target->imageData == source->imageData) {
        cv::Mat mixed(from.size(), type);
        cv::mixChannels(&from, 1, &mixed, 1, pairs, 3);
        mixed.copyTo(from);
        return true;
    }
    if (!sameArea(source, target) || target->stride < target->width * pixelBytes ||
        size_t(target->stride) * target->height > target->imageSize ||
        (target->bitsPerChannel > 8) != (source->bitsPerChannel > 8)) {
        return false;
    }
    cv::Mat to(int(target->height), int(target->width), type, target->imageData, target->stride);
    cv::mixChannels(&from, 1, &to, 1, pairs, 3);
    return true;
}

} // namespace

CPUIPImage::CPUIPImage(BrxComponent* parentComponent) : CpuStage(parentComponent) {
    name = "image.cpu";
}

CPUIPImage::~CPUIPImage() {
    freeBuffers();
}

unsigned int CPUIPImage::RunCommand(const char* command) {
    (void)command;
    return statusWord(CodeUnknownCommand);
}

void CPUIPImage::freeBuffers() {
    QTDImageHelpers::imageDelete(depthImage);
    QTDImageHelpers::imageDelete(rgbImage);
    depthImage = nullptr;
    rgbImage = nullptr;
    convertFlags = 0;
}

void CPUIPImage::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    CpuStage::Release();
    freeBuffers();
}

int CPUIPImage::init(BrxImage* input, BrxImage* outputArg) {
    uint32_t targetType = input->pixelType;
    uint32_t targetDepth = 0;
    if (outputArg != nullptr) {
        targetType = outputArg->pixelType;
        targetDepth = outputArg->bitsPerChannel;
    } else {
        targetDepth = uint32_t(properties.getAs<int>("depth", "0", true));
        if (targetDepth == 8 && input->bitsPerChannel > 8) {
            targetType = narrowedType(input->pixelType);
        }
    }
    // No packed image and no YUV: those are unpacked or converted before.
    if (isIn(PACKED_INDEX, input->pixelType) || input->pixelType == PixelType::YUV422_8_UYVY) {
        return CodeNotSupported;
    }
    const Conditions c =
        conditionsFor(input->pixelType, input->bitsPerChannel, targetType, targetDepth);

    convertFlags = 0;
    const int flip = properties.getAs<int>("image.flip.vert", "0", true);
    const int width = int(input->width);
    const int height = orientedHeight(input, flip);
    if (c.reduce) {
        depthImage = QTDImageHelpers::imageCreateImage(nullptr, width, height, input->pixelType);
        if (depthImage == nullptr) {
            return CodeNoResources;
        }
        convertFlags |= ReduceDepth;
    }
    if (c.monoToRgb || c.swap) {
        rgbImage = QTDImageHelpers::imageCreateImage(nullptr, width, height, targetType);
        if (rgbImage == nullptr) {
            return CodeNoResources;
        }
        if (c.sourceBgr != c.targetBgr) {
            convertFlags |= SwapRedBlue;
        }
        if (c.monoToRgb) {
            convertFlags |= MonoToRgb;
        }
    }
    if (convertFlags == 0) {
        targetType = input->pixelType;
    }
    if (properties.getAs<int>("external", "0", true) == 0) {
        ownOutput =
            QTDImageHelpers::imageCreateImage(nullptr, width, int(input->height), targetType);
        if (ownOutput == nullptr) {
            return CodeNoResources;
        }
    }
    return makeFormats(input, height, targetType);
}

uint32_t CPUIPImage::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)context;
    log.debug("CPUIPImage::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    output = nullptr;
    lastError = CodeOk;
    if (input == nullptr || input->imageData == nullptr) {
        return report(CodeBadArgument);
    }
    BrxImage* destination = outputArg != nullptr ? outputArg : ownOutput;
    // A caller's image may have any stride that holds its rows.
    if (destination == nullptr ||
        (outputArg != nullptr && (outputFormat == nullptr || !sameArea(outputArg, outputFormat) ||
                                  !QTD::holdsGeometry(*outputArg, outputFormat->pixelType)))) {
        return report(CodeNotReady);
    }
    // A disabled stage hands its input on untouched, as long as nothing about the image has
    // to change, its rows included: the stages behind take them as this stage's own. Otherwise
    // it still does its work.
    const bool same = input->width != 0 && input->height != 0 && sameArea(input, destination) &&
                      destination->imageData != nullptr &&
                      input->imageSize == destination->imageSize &&
                      input->stride == destination->stride;
    if (!IsEnabled() && same) {
        output = input;
        return 0;
    }
    // With "share.input" 1 (the display path's last stages) an enabled stage that has nothing
    // to change hands its input on too: a copy there would only cost a full frame.
    if (same && outputArg == nullptr && convertFlags == 0 &&
        input->pixelType == destination->pixelType &&
        input->orientation == destination->orientation &&
        properties.getAs<int>("share.input", "0", true) == 1) {
        output = input;
        return 0;
    }
    lastError = process(input, destination);
    if (lastError != CodeOk) {
        return statusWord(lastError);
    }
    output = destination;
    return 0;
}

int CPUIPImage::process(BrxImage* input, BrxImage* destination) {
    destination->imageID = input->imageID;
    if (convertFlags != 0) {
        try {
            return convertImage(input, destination) ? CodeOk : CodeFailed;
        } catch (const std::exception&) {
            return CodeFailed;
        }
    }
    if (destination->imageData == nullptr) {
        return CodeFailed;
    }
    if (input->stride == destination->stride) {
        // Never more than either buffer holds, whatever the records claim.
        copyBlock(destination->imageData, input->imageData,
                  std::min(input->imageSize, destination->imageSize));
        return CodeOk;
    }
    const bool copied = input->bitsPerChannel == 8
                            ? QTDImageHelpers::dataCopy8b(input, destination)
                            : QTDImageHelpers::dataCopy16b(input, destination);
    return copied ? CodeOk : CodeFailed;
}

bool CPUIPImage::convertImage(BrxImage* source, BrxImage* target) {
    if (convertFlags == 0 || !hasPixels(source) || !hasPixels(target) ||
        !sameArea(source, target)) {
        return false;
    }
    const Conditions c = conditionsFor(source->pixelType, source->bitsPerChannel, target->pixelType,
                                       target->bitsPerChannel);
    if (c.reduce) {
        if (!hasPixels(depthImage)) {
            return false;
        }
        if (!c.monoToRgb && !c.swap) {
            if (!sameArea(depthImage, target) || depthImage->bitsPerChannel == 8 ||
                target->bitsPerChannel != 8) {
                return false;
            }
            // Rows of 16-bit samples must start on even addresses: others are copied first.
            BrxImage* wideRows = source;
            if (source->stride % 2 != 0) {
                if (!sameArea(depthImage, source) ||
                    !QTDImageHelpers::dataCopy16b(source, depthImage)) {
                    return false;
                }
                wideRows = depthImage;
            }
            const int samples = int(source->width * source->channels);
            if (!rowsFit(wideRows, uint64_t(samples) * 2) || !rowsFit(target, uint64_t(samples))) {
                return false;
            }
            const cv::Mat wide(int(source->height), samples, CV_16UC1, wideRows->imageData,
                               wideRows->stride);
            cv::Mat narrowed(int(target->height), samples, CV_8UC1, target->imageData,
                             target->stride);
            // Bands of rows over OpenCV's workers: convertTo alone runs on one core.
            const int shift = int(source->bitsPerChannel) - 8;
            parallelFor(cv::Range(0, wide.rows), [&](const cv::Range& rows) {
                cv::Mat part = narrowed.rowRange(rows);
                narrow(wide.rowRange(rows), part, shift);
            });
            return true;
        }
        if (c.monoToRgb && narrowMonoToRgb(source, target)) {
            return true;
        }
        // The general way: shift a copy of the source, narrow it, then expand or swap. The copy
        // takes the source's rows whatever their padding.
        if (!sameArea(depthImage, source)) {
            return false;
        }
        if (depthImage->stride == source->stride && depthImage->imageSize == source->imageSize) {
            std::memcpy(depthImage->imageData, source->imageData, source->imageSize);
        } else if (!QTDImageHelpers::dataCopy16b(source, depthImage)) {
            return false;
        }
        if (!hasPixels(rgbImage) || !QTDImageHelpers::dataShift16b8b(depthImage, rgbImage)) {
            return false;
        }
        if (c.monoToRgb) {
            // Grey expands to three equal channels, so a swap has nothing left to do.
            return QTDImageHelpers::dataMonoRgb8b(rgbImage, static_cast<char*>(target->imageData),
                                                  int(target->stride));
        }
        return swapChannels(rgbImage, target);
    }
    if (c.monoToRgb) {
        if (source->bitsPerChannel != 8 || target->bitsPerChannel != 8) {
            return false;
        }
        return QTDImageHelpers::dataMonoRgb8b(source, static_cast<char*>(target->imageData),
                                              int(target->stride));
    }
    if (c.swap) {
        return swapChannels(source, target);
    }
    return QTDImageHelpers::dataCopy8b(source, target);
}

BrxDisplayCPU::Image* BrxDisplayCPU::Image::CreateComponent(BrxComponent* parent) {
    return new CPUIPImage(parent);
}

void BrxDisplayCPU::Image::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
