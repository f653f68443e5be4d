#include "gpu/QGLStage.h"

#include "gpu/QGLSurface.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplayProcessor.h>

namespace QGLStages {

QGLSurface* surfaceOf(BrxDisplayProcessor* display) {
    BrxComponent* bag = display ? display->GetComponent() : nullptr;
    if (!bag)
        return nullptr;
    char text[64] = {};
    unsigned int size = sizeof(text);
    if (bag->GetParamAsString("surface", text, &size, nullptr) != 0)
        return nullptr;
    return static_cast<QGLSurface*>(QTD::ATTR(text).as<void*>());
}

QTD::PROPERTIES setUp(BrxImage* input, QGLSurface* surface, unsigned int pixelType,
                      QTD::PROPERTIES& stageBag) {
    QTD::PROPERTIES bag;
    bag.set("size.x", QTD::ATTR::format("%d", int(input->width)), true);
    bag.set("size.y", QTD::ATTR::format("%d", int(input->height)), true);
    bag.set("surface", QTD::ATTR(static_cast<void*>(surface)), true);
    bag.set("pixeltype", QTD::ATTR::format("%u", pixelType), true);
    bag.set("image.flip.vert", stageBag.get("image.flip.vert", "0"), true);
    // A stage's target copies values as they come; only a change of type scales them.
    bag.set("image.color.coef", "1.0", true);
    return bag;
}

unsigned int bindInput(QGLSurface* surface, QGLTexture& texture, BrxImage* input) {
    unsigned int name = QGLImage::GetTexture(input);
    surface->glEnable(GL_TEXTURE_2D);
    if (!name) {
        if (!input->imageData || !texture.fill(input))
            return 0;
        name = texture.texture();
    }
    surface->glActiveTexture(GL_TEXTURE0);
    surface->glBindTexture(GL_TEXTURE_2D, name);
    return name;
}

} // namespace QGLStages
