#include "cpu/CPUIPColorCorrection.h"

#include "core/ATTR.h"
#include "image/QTDImageHelpers.h"

#include <cmath>
#include <exception>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

const char* const GainKeys[3] = {"gain.r", "gain.g", "gain.b"};
const char* const OffsetKeys[3] = {"offs.r", "offs.g", "offs.b"};

bool isIdentity(const QTD::LookupTable& lut) {
    for (int c = 0; c < 3; ++c) {
        if (lut.gain[c] != 1.0 || lut.offset[c] != 0.0) {
            return false;
        }
    }
    return std::fabs(lut.gamma - 1.0) < 1e-7;
}

} // namespace

CPUIPColorCorrection::CPUIPColorCorrection(BrxComponent* parentComponent)
    : CpuStage(parentComponent) {
    name = "correction.cpu";
    for (int c = 0; c < 3; ++c) {
        properties.set(GainKeys[c], ATTR(1.0), false);
        properties.set(OffsetKeys[c], ATTR(0.0), false);
    }
    properties.set("gamma", ATTR(1.0), false);
}

CPUIPColorCorrection::~CPUIPColorCorrection() {
    lut.shut();
}

bool CPUIPColorCorrection::tableReady() const {
    return lut.entries > 0 && lut.values[0];
}

void CPUIPColorCorrection::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    CpuStage::Release();
    lut.shut();
}

int CPUIPColorCorrection::init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    if (isRawTransport(input->pixelType)) {
        return CodeNotSupported;
    }
    const int height = input->orientation == 1 ? -int(input->height) : int(input->height);
    inputFormat = QTDImageHelpers::imageCreateFormat(inputFormat, int(input->width), height,
                                                     input->pixelType);
    if (inputFormat == nullptr) {
        return CodeNoResources;
    }
    const int depth = int(input->bitsPerChannel);
    lut.init(depth > 0 && depth < 31 ? 1 << depth : 0,
             isIn(RGBBGR_INDEX, input->pixelType) ? 3 : 1);
    return applyParams("1.0") ? CodeOk : CodeFailed;
}

bool CPUIPColorCorrection::applyParams(const char* gammaDefault) {
    for (int c = 0; c < 3; ++c) {
        lut.gain[c] = properties.getAs<double>(GainKeys[c], "1", true);
        lut.offset[c] = properties.getAs<double>(OffsetKeys[c], "0", true);
    }
    lut.gamma = properties.getAs<double>("gamma", gammaDefault, true);
    lut.calc();
    return tableReady();
}

void CPUIPColorCorrection::resetParams() {
    for (int c = 0; c < 3; ++c) {
        properties.set(GainKeys[c], ATTR(1.0), true);
        properties.set(OffsetKeys[c], ATTR(0.0), true);
    }
    properties.set("gamma", ATTR(1.0), true);
    lastError = CodeOk;
    // The next image rebuilds the table.
    ready = 0;
}

uint32_t CPUIPColorCorrection::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPColorCorrection::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    output = nullptr;
    lastError = CodeOk;
    if (input == nullptr || input->imageData == nullptr) {
        return report(CodeBadArgument);
    }
    if (!ready) {
        ready = applyParams("1.0") ? 1 : 0;
        if (!ready) {
            return report(CodeFailed);
        }
    }
    // The table was made for one depth and channel count; another image would index past it.
    if (inputFormat == nullptr || input->pixelType != inputFormat->pixelType) {
        return report(CodeBadArgument);
    }
    // Identity parameters: the stage's bypass, no pixel is touched.
    if (!isIdentity(lut)) {
        bool applied = false;
        try {
            applied = QTDImageHelpers::dataApplyLUT(input, &lut) != 0;
        } catch (const std::exception&) {
            applied = false;
        }
        if (!applied) {
            return report(CodeFailed);
        }
    }
    output = input;
    return 0;
}

unsigned int CPUIPColorCorrection::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    if (text.same("params.apply", false)) {
        ready = applyParams("1.0") ? 1 : 0;
        return report(ready ? CodeOk : CodeFailed);
    }
    if (text.same("params.reset", false)) {
        resetParams();
        return 0;
    }
    return report(CodeUnknownCommand);
}

bool CPUIPColorCorrection::RunCommandParams(const char* command,
                                            std::map<std::string, std::string>* params) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    if (text.same("cmd.params.reset", false)) {
        resetParams();
        return true;
    }
    if (!text.same("cmd.params.apply", false)) {
        return false;
    }
    std::map<std::string, std::string> none;
    std::map<std::string, std::string>& values = params != nullptr ? *params : none;
    auto take = [&](const char* key, const char* fallback) {
        auto it = values.find(key);
        const double value = ATTR(it != values.end() ? it->second.c_str() : fallback).as<double>();
        properties.set(key, ATTR(value), true);
        return value;
    };
    for (int c = 0; c < 3; ++c) {
        lut.gain[c] = take(GainKeys[c], "1.");
        lut.offset[c] = take(OffsetKeys[c], "0.");
    }
    // Deliberately not the bag's default: without "gamma" the table gets no gamma at all.
    lut.gamma = take("gamma", "0.");
    lut.calc();
    ready = tableReady() ? 1 : 0;
    return ready != 0;
}

BrxDisplayCPU::ColorCorrection*
BrxDisplayCPU::ColorCorrection::CreateComponent(BrxComponent* parent) {
    return new CPUIPColorCorrection(parent);
}

void BrxDisplayCPU::ColorCorrection::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
