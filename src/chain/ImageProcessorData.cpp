#include "chain/ImageProcessorData.h"

#include "chain/QTDProcs.h"

#include <cstdlib>

namespace QTD {

namespace {

// Format records carry no pixels, and a copied record shares its source's user data list, so
// only the record itself is freed (QTDImageHelpers makes records with malloc).
void deleteImageRecord(BrxImage* record) {
    std::free(record);
}

} // namespace

ImageProcessorData::ImageProcessorData(BrxComponent* parentComponent) : parent(parentComponent) {}

ImageProcessorData::~ImageProcessorData() {
    releaseData();
}

BrxImage* ImageProcessorData::Output() {
    return output;
}

BrxImage* ImageProcessorData::Format(bool input) {
    if (input || outputFormat == nullptr) {
        return inputFormat;
    }
    return outputFormat;
}

bool ImageProcessorData::Enable(bool on) {
    if (on) {
        ++enableCount;
    } else if (enableCount > 0) {
        --enableCount;
    }
    return enableCount > 0;
}

bool ImageProcessorData::IsEnabled() {
    return enableCount > 0;
}

bool ImageProcessorData::isReady() {
    return ready != 0;
}

void ImageProcessorData::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    releaseData();
}

BrxComponent* ImageProcessorData::Parent() {
    return parent;
}

uint32_t ImageProcessorData::report(int code) {
    lastError = code;
    return Procs::statusWord(code);
}

void ImageProcessorData::releaseData() {
    if (outputFormat != inputFormat) {
        deleteImageRecord(outputFormat);
    }
    deleteImageRecord(inputFormat);
    inputFormat = nullptr;
    outputFormat = nullptr;
    output = nullptr;
    enableCount = 1;
    ready = 0;
}

} // namespace QTD
