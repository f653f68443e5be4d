#include "gpu/QGLRenderObjects.h"

#include "gpu/QGLHelpers.h"
#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLSurface.h"

#include <mutex>

namespace QTD {

RenderObject::RenderObject(QTDSurface* s) : surface(s) {}

RenderObject::~RenderObject() = default;

void RenderObject::reset(bool) {
    std::lock_guard<RMutex> lock(mutex);
    {
        std::lock_guard<std::recursive_mutex> rows(props.guard);
        props.rows.clear();
    }
    outputImage = formatIn = formatOut = nullptr;
}

bool RenderObject::connect(PROPERTIES*) {
    return true;
}

bool RenderObject::init(BrxImage*, PROPERTIES*) {
    return true;
}

bool RenderObject::process(BrxImage*, PROPERTIES*) {
    return true;
}

BrxImage* RenderObject::format(bool input) {
    return !input && formatOut ? formatOut : formatIn;
}

RenderPipe::~RenderPipe() {
    // Virtual calls from a destructor reach only this class, which is what is meant here.
    RenderPipe::reset(false);
}

RenderObject* RenderPipe::at(int index) {
    ATTR value = objects.valueAt(index);
    return value.empty() ? nullptr : static_cast<RenderObject*>(value.as<void*>());
}

void RenderPipe::reset(bool keepObjects) {
    std::lock_guard<RMutex> lock(mutex);
    RenderObject::reset(keepObjects);
    for (int i = 0; i < objects.count(); ++i)
        if (RenderObject* object = at(i))
            object->reset(keepObjects);
    if (keepObjects)
        return;
    for (int i = 0; i < objects.count(); ++i)
        delete at(i);
    std::lock_guard<std::recursive_mutex> rows(objects.guard);
    objects.rows.clear();
}

bool RenderPipe::connect(PROPERTIES* p) {
    std::lock_guard<RMutex> lock(mutex);
    for (int i = 0; i < objects.count(); ++i)
        if (RenderObject* object = at(i); object && !object->connect(p))
            return false;
    return true;
}

bool RenderPipe::init(BrxImage* image, PROPERTIES* p) {
    std::lock_guard<RMutex> lock(mutex);
    for (int i = 0; i < objects.count(); ++i) {
        RenderObject* object = at(i);
        if (!object)
            continue;
        if (stopped || !object->init(image, p))
            return false;
        if (BrxImage* next = object->format(false))
            image = next;
    }
    return true;
}

bool RenderPipe::process(BrxImage* image, PROPERTIES* p) {
    std::lock_guard<RMutex> lock(mutex);
    for (int i = 0; i < objects.count(); ++i) {
        RenderObject* object = at(i);
        if (!object)
            continue;
        if (stopped || !object->process(image, p))
            return false;
        if (BrxImage* next = object->output())
            image = next;
    }
    return true;
}

BrxImage* RenderPipe::output() {
    for (int i = objects.count() - 1; i >= 0; --i)
        if (RenderObject* object = at(i))
            if (BrxImage* image = object->output())
                return image;
    return nullptr;
}

BrxImage* RenderPipe::format(bool input) {
    int n = objects.count();
    for (int k = 0; k < n; ++k)
        if (RenderObject* object = at(input ? k : n - 1 - k))
            if (BrxImage* image = object->format(input))
                return image;
    return nullptr;
}

int RenderPipe::findObject(ATTR name) {
    for (int i = 0; i < objects.count(); ++i)
        if (objects.keyAt(i) == name)
            return i;
    return -1;
}

bool RenderPipe::insertObject(ATTR name, RenderObject* object, int position) {
    if (name.empty() || !object)
        return false;
    std::lock_guard<RMutex> lock(mutex);
    std::lock_guard<std::recursive_mutex> rows(objects.guard);
    int n = int(objects.rows.size());
    if (position < 0 || position > n)
        position = n;
    // Rows go in by hand: the bag's own set appends, and would fold a repeated name into one.
    objects.rows.insert(objects.rows.begin() + position,
                        PROP{name, ATTR(static_cast<void*>(object))});
    return true;
}

bool RenderPipe::deleteObject(ATTR name) {
    std::lock_guard<RMutex> lock(mutex);
    int index = findObject(name);
    if (index < 0)
        return false;
    if (RenderObject* object = at(index))
        object->reset(false);
    std::lock_guard<std::recursive_mutex> rows(objects.guard);
    objects.rows.erase(objects.rows.begin() + index);
    return true;
}

} // namespace QTD

QGLRenderObject::~QGLRenderObject() {
    delete ownTarget;
}

QGLSurface* QGLRenderObject::glSurface() {
    return dynamic_cast<QGLSurface*>(surface);
}

int QGLRenderObject::location(char const* name) {
    return uniforms.get(name, "-1").as<int>();
}

bool QGLRenderObject::connect(QTD::PROPERTIES*) {
    QGLSurface* gl = glSurface();
    if (!gl || shaderProgram.programId() == 0)
        return false;
    shaderProgram.bind();
    for (int i = 0; i < uniforms.count(); ++i) {
        QTD::ATTR name = uniforms.keyAt(i);
        uniforms.set(
            name, QTD::ATTR(int(gl->glGetUniformLocation(shaderProgram.programId(), name.c_str()))),
            true);
    }
    return true;
}

bool QGLRenderObject::prepare(BrxImage* image, QTD::PROPERTIES* p, QGLImage*& target,
                              QTD::PixelFormat& format, unsigned int targetType) {
    unsigned int pixelType = image->pixelType;
    format.setTypeID(pixelType);
    target = p ? static_cast<QGLImage*>(p->get("output").as<void*>()) : nullptr;
    if (p)
        p->set("output", QTD::ATTR(static_cast<void*>(target)), true);
    QTD::PROPERTIES local;
    if (!target) {
        delete ownTarget;
        local.set("size.x", QTD::ATTR(int(image->width)), true);
        local.set("size.y", QTD::ATTR(int(image->height)), true);
        local.set("surface", QTD::ATTR(static_cast<void*>(surface)), true);
        local.set("pixeltype", QTD::ATTR::format("%u", targetType ? targetType : pixelType), true);
        ownTarget = new QGLImage(glSurface());
        if (!ownTarget->init(image, &local)) {
            delete ownTarget;
            ownTarget = nullptr;
            return false;
        }
        target = ownTarget;
    }
    if (p)
        props.set(p, true);
    props.set(&local, true);
    if (!props.find("size.x")) {
        props.set("size.x", QTD::ATTR(int(image->width)), true);
        props.set("size.y", QTD::ATTR(int(image->height)), true);
    }
    return true;
}

bool QGLRenderObject::link(char const* vertexName, char const* vertexText, char const* fragmentName,
                           char const* fragmentText, std::initializer_list<char const*> names,
                           QGLImage* target) {
    if (!QTD::buildProgram(shaderProgram, vertexName, vertexText, fragmentName, fragmentText))
        return false;
    for (char const* name : names)
        uniforms.set(name, "0", true);
    if (!connect(nullptr))
        return false;
    shaderProgram.release();
    outputImage = target->image();
    return true;
}

bool QGLRenderObject::begin(QGLImage* target) {
    QGLSurface* gl = glSurface();
    if (!gl || !target || !target->begin(nullptr) || shaderProgram.programId() == 0)
        return false;
    gl->glUseProgram(shaderProgram.programId());
    return true;
}

void QGLRenderObject::end(QGLImage* target) {
    target->render();
    glSurface()->glUseProgram(0);
    target->end();
}
