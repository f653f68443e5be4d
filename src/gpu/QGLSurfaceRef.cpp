#include "gpu/QGLSurfaceRef.h"

#include "core/AutoLock.h"
#include "gpu/QGLSurfaceText.h"

#include <QWindow>

QGLSurfaceRef::~QGLSurfaceRef() {
    // Before the base's destructor, whose shut would delete the borrowed context.
    shut();
}

bool QGLSurfaceRef::init(QTD::PROPERTIES* p) {
    shut();
    QTD::AutoLock hold(&guard, "QGLSurfaceRef::init");
    if (!source && p)
        source = static_cast<QGLSurface*>(p->get("surface").as<void*>());
    if (!source)
        return false;
    if (&source->props != &props)
        props.importData(&source->props, 0, -1);
    context = static_cast<QOpenGLContext*>(props.get("context").as<void*>());
    if (p)
        window = static_cast<QWindow*>(p->get("window").as<void*>());
    if (!context)
        return false;
    initializeOpenGLFunctions();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    // Text burned into an image stands as the memory surface puts it, glyph after glyph.
    props.set("text.layout", "strip", true);
    textHandler = new QGLSurfaceText(&props);
    QTD::ATTR value;
    width = p && p->find("size.x", &value) ? value.as<int>() : source->width;
    height = p && p->find("size.y", &value) ? value.as<int>() : source->height;
    area = QTD::TRECT<double>();
    area.width = width;
    area.height = height;
    props.set("size", QTD::ATTR::format("%d;%d", width, height), true);
    props.set("area", area.text(), true);
    props.set("class", "QGLSurfaceRef", true);
    props.set("state", "ready", true);
    return true;
}

int QGLSurfaceRef::shut() {
    QTD::AutoLock hold(&guard, "QGLSurfaceRef::shut");
    delete textHandler;
    textHandler = nullptr;
    context = nullptr;
    window = nullptr;
    lastFlush = 0;
    current = false;
    props.set("state", "deleted", true);
    return 1;
}
