#pragma once

// Stand-ins for what a chain reaches outside itself: the controller whose bag names the chain
// and the surface, and a surface that counts how each pass is bracketed.

#include "chain/QTDProcessor.h"
#include "core/ComponentImpl.h"
#include "screen/QTDSurface.h"

#include <brx/BrxDisplayProcessor.h>

#include <map>
#include <string>

namespace ChainFakes {

// Just enough of a controller: a component whose bag may name the chain and the surface.
class FakeController : public BrxDisplayProcessor {
public:
    int RunCommandParams(const char*, std::map<std::string, std::string>*) override { return 0; }
    BrxComponent* GetComponent() override { return &component; }
    uint32_t Init(BrxImage*) override { return 0; }
    uint32_t ProcessImage(BrxImage*) override { return 0; }
    void Release() override {}
    BrxImgProcessingChain* GetProcessingChain() override { return nullptr; }
    QTD::ComponentImpl component;
};

class CountingSurface : public QTDSurface {
public:
    bool begin(QTD::PROPERTIES*) override {
        ++begins;
        return true;
    }
    void end() override { ++ends; }
    int begins = 0;
    int ends = 0;
};

// A chain composed for `format` and published in the controller's bag, as the display does.
struct BorrowedChain {
    explicit BorrowedChain(BrxImage* format) : chain(&controller, false) {
        chainCode = chain.Init(format, nullptr);
        controller.component.properties.set(
            "processor", QTD::ATTR(static_cast<void*>(static_cast<QTDProcessor*>(&chain))), true);
    }
    FakeController controller;
    QTDProcessor chain;
    uint32_t chainCode = 0;
};

} // namespace ChainFakes
