#pragma once

// Stand-ins for what a chain holds and reaches: stages that record their calls, the controller
// whose bag names the chain and the surface, and a surface that counts how each pass is bracketed.

#include "chain/QTDProcessor.h"
#include "core/ComponentImpl.h"
#include "screen/QTDSurface.h"

#include <brx/BrxDisplayProcessor.h>

#include <map>
#include <string>
#include <vector>

namespace ChainFakes {

struct Journal {
    std::vector<std::string> calls;
    int released = 0;
    int destroyed = 0;
};

class FakeStage : public BrxImgProcessor {
public:
    FakeStage(Journal* journal, std::string id, uint32_t result = 0, BrxImage* produced = nullptr)
        : journal(journal), id(std::move(id)), result(result), produced(produced) {}
    ~FakeStage() override { ++journal->destroyed; }
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void*) override {
        journal->calls.push_back(id);
        seenInput = input;
        seenOutput = output;
        return result;
    }
    void Release() override { ++journal->released; }
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return produced; }
    BrxImage* Format(bool input) override { return input ? inFormat : outFormat; }

    Journal* journal;
    std::string id;
    uint32_t result;
    BrxImage *produced, *inFormat = nullptr, *outFormat = nullptr;
    BrxImage *seenInput = nullptr, *seenOutput = nullptr;
};

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
    explicit BorrowedChain(BrxImage* format, bool opengl = false) : chain(&controller, opengl) {
        chainCode = chain.Init(format, nullptr);
        controller.component.properties.set(
            "processor", QTD::ATTR(static_cast<void*>(static_cast<QTDProcessor*>(&chain))), true);
    }
    FakeController controller;
    QTDProcessor chain;
    uint32_t chainCode = 0;
};

} // namespace ChainFakes
