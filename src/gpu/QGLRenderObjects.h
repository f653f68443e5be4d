#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"
#include "core/RMutex.h"
#include "image/PixelFormat.h"

#include <brx/BrxImage.h>

#include <QOpenGLShaderProgram>

#include <initializer_list>

class QTDSurface;
class QGLSurface;
class QGLImage;

namespace QTD {

// One pass of the GPU path: what it draws into and the settings it draws with. The base does
// nothing and succeeds, so that a pipe can hold placeholders.
class RenderObject {
public:
    explicit RenderObject(QTDSurface* surface = nullptr);
    virtual ~RenderObject();

    RenderObject(RenderObject const&) = delete;
    RenderObject& operator=(RenderObject const&) = delete;

    virtual void reset(bool keepObjects);
    virtual bool connect(PROPERTIES* props);
    virtual bool init(BrxImage* image, PROPERTIES* props);
    virtual bool process(BrxImage* image, PROPERTIES* props);
    virtual BrxImage* output() { return outputImage; }
    // The output's record if there is one and it is asked for, else the input's.
    virtual BrxImage* format(bool input);

    QTDSurface* surface = nullptr;
    PROPERTIES props;
    BrxImage* outputImage = nullptr;
    BrxImage* formatIn = nullptr;
    BrxImage* formatOut = nullptr;
    RMutex mutex{"RenderObject"};
};

// Render objects run one after the other: each one's output is the next one's input. Owns its
// objects; deleteObject hands one back to the caller.
class RenderPipe : public RenderObject {
public:
    explicit RenderPipe(QTDSurface* surface = nullptr) : RenderObject(surface) {}
    ~RenderPipe() override;

    void reset(bool keepObjects) override;
    bool connect(PROPERTIES* props) override;
    bool init(BrxImage* image, PROPERTIES* props) override;
    bool process(BrxImage* image, PROPERTIES* props) override;
    BrxImage* output() override;
    BrxImage* format(bool input) override;

    virtual int findObject(ATTR name);
    // Before `position`; out of range appends. Names need not be unique.
    virtual bool insertObject(ATTR name, RenderObject* object, int position);
    // Resets the object and leaves it to the caller.
    virtual bool deleteObject(ATTR name);

    // A stopped pipe fails init and process at its first object.
    void stop(bool on) { stopped = on; }

    PROPERTIES objects;
    bool stopped = false;

private:
    RenderObject* at(int index);
};

} // namespace QTD

// A render object with a shader program; `uniforms` maps each uniform's name to its location.
class QGLRenderObject : public QTD::RenderObject {
public:
    explicit QGLRenderObject(QTDSurface* surface = nullptr) : RenderObject(surface) {}
    ~QGLRenderObject() override;

    // The program and its uniform table outlive a reset.
    void reset(bool) override {}
    bool connect(QTD::PROPERTIES* props) override;

    QOpenGLShaderProgram shaderProgram;
    QTD::PROPERTIES uniforms;

protected:
    QGLSurface* glSurface();
    int location(char const* name);
    // The common first half of a pass: the target from "output" in `props`, or one made here
    // for `image`, of `targetType` or else the input's type; both bags merged into the
    // object's; `format` of the input's type. False without a target.
    bool prepare(BrxImage* image, QTD::PROPERTIES* props, QGLImage*& target,
                 QTD::PixelFormat& format, unsigned int targetType = 0);
    // The common second half: builds the program from the two texts, enters `names` in the
    // table and connects. A program that does not build fails here, logged.
    bool link(char const* vertexName, char const* vertexText, char const* fragmentName,
              char const* fragmentText, std::initializer_list<char const*> names, QGLImage* target);
    // Binds the target and the program; false without either.
    bool begin(QGLImage* target);
    void end(QGLImage* target);

private:
    QGLImage* ownTarget = nullptr; // made by prepare when none came in
};
