#include <brx/BrxBayer.h>

#include "demosaic/BrxBayerImpl.h"

#include <new>

BrxBayer* BrxBayer::CreateComponent() {
    try {
        return new (std::nothrow) BrxBayerImpl;
    } catch (...) {
        return nullptr;
    }
}

void BrxBayer::DeleteComponent(BrxBayer* bayer) {
    delete static_cast<BrxBayerImpl*>(bayer);
}
