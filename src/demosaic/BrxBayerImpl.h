#pragma once

#include <brx/BrxBayer.h>

#include "core/ComponentImpl.h"
#include "demosaic/BayerEngine.h"
#include "demosaic/BayerFrame.h"

#include <memory>

// The one implementation of BrxBayer: checks the images, keeps the algorithm chosen at Init and
// an engine with its threads and scratch memory until Release.
class BrxBayerImpl final : public BrxBayer {
public:
    BrxBayerImpl();
    ~BrxBayerImpl();
    BrxBayerImpl(BrxBayerImpl const&) = delete;
    BrxBayerImpl& operator=(BrxBayerImpl const&) = delete;

    BrxComponent* GetComponent() override;
    unsigned short ProcessImage(BrxImage* input, BrxImage* output) override;
    unsigned short Init(BrxImage* input, BrxImage* output) override;
    unsigned short Release() override;

private:
    // Checks the pair of images and describes the job; `withPixels` also asks for pixel memory.
    unsigned short describe(BrxImage const* input, BrxImage const* output, bool withPixels,
                            BrxDemosaic::BayerFrame& frame);
    // An integer parameter; `fallback` when it is absent or not a number.
    long readInt(char const* key, long fallback);
    unsigned short fail(char const* where, unsigned short code);

    QTD::ComponentImpl component;
    std::unique_ptr<BrxDemosaic::BayerEngine> engine;
    int algorithm = BrxDemosaic::ALG_GRADIENT;
};
