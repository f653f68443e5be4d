#include "cpu/MEMSurface.h"

#include "cpu/MEMSurfaceText.h"

MEMSurface::MEMSurface() = default;

MEMSurface::~MEMSurface() {
    shut();
}

bool MEMSurface::init(QTD::PROPERTIES*) {
    shut();
    textHandler = new MEMSurfaceText(&props);
    return true;
}

int MEMSurface::shut() {
    delete textHandler;
    textHandler = nullptr;
    return 1;
}

bool MEMSurface::begin(QTD::PROPERTIES* p) {
    if (!isValid() || !p)
        return false;
    auto* text = static_cast<MEMSurfaceText*>(textHandler);
    text->image = static_cast<BrxImage*>(p->get("image").as<void*>());
    return true;
}

// The image belongs to the frame: no pointer to it outlives the bracket.
void MEMSurface::end() {
    if (textHandler)
        static_cast<MEMSurfaceText*>(textHandler)->image = nullptr;
}
