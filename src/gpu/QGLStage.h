#pragma once

// What the GPU stages share beyond the stage frame: the controller whose bag names the surface,
// an input texture for pixels that come from main memory, the render target the result lies
// in, and the pass that draws it. GL objects are made in Init and deleted in Release, both with
// the surface's context current; Release also forgets the surface, so that a released stage
// holds nothing of a surface that may go away.

#include "chain/ImgProcessorImpl.h"
#include "chain/QTDProcs.h"
#include "gpu/QGLImage.h"
#include "gpu/QGLRenderObjects.h"
#include "gpu/QGLSurface.h"
#include "gpu/QGLTexture.h"
#include "image/QTDImageHelpers.h"

#include <mutex>

class BrxDisplayProcessor;

namespace QGLStages {

// The surface named by "surface" in the controller's bag, or null.
QGLSurface* surfaceOf(BrxDisplayProcessor* display);
// The bag for a stage's texture, target and pass, for `input`'s size on `surface`.
QTD::PROPERTIES setUp(BrxImage* input, QGLSurface* surface, unsigned int pixelType,
                      QTD::PROPERTIES& stageBag);
// Binds `input` at unit 0: its own target's texture when it is one, else `texture` filled from
// its pixels. The texture's name, 0 when the pixels cannot be uploaded.
unsigned int bindInput(QGLSurface* surface, QGLTexture& texture, BrxImage* input);

} // namespace QGLStages

namespace QTD {

template <class Interface> class QGLStage : public ImgProcessorImpl<Interface> {
public:
    QGLStage(BrxDisplayProcessor* controller, BrxComponent* parent)
        : ImgProcessorImpl<Interface>(parent), display(controller) {
        this->properties.set("image.flip.vert", "0", false);
    }
    ~QGLStage() override { dropGL(); }

    void Release() override {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        dropGL();
        this->releaseData();
    }

    BrxDisplayProcessor* display = nullptr;
    QGLSurface* surface = nullptr;
    QGLTexture texture;
    QGLImage* target = nullptr;
    QGLRenderObject* pass = nullptr;

protected:
    // The start of every Init: a released stage, an input with an area, a surface. A plain code.
    int beginInit(BrxImage* input) {
        this->Release();
        this->lastError = Procs::CodeOk;
        if (input == nullptr || input->width == 0 || input->height == 0)
            return Procs::CodeBadArgument;
        surface = QGLStages::surfaceOf(display);
        return surface ? Procs::CodeOk : Procs::CodeNotReady;
    }

    // The end of every Init: the format records, the output, `ready`; the status word.
    uint32_t endInit(int code, BrxImage* input, BrxImage* result) {
        if (code == Procs::CodeOk) {
            this->inputFormat = QTDImageHelpers::imageCopyFormat(nullptr, input);
            this->outputFormat = QTDImageHelpers::imageCopyFormat(nullptr, result);
            if (!this->inputFormat || !this->outputFormat)
                code = Procs::CodeNoResources;
        }
        if (code != Procs::CodeOk) {
            this->Release();
            return this->report(code);
        }
        this->output = result;
        this->ready = 1;
        return 0;
    }

    // The pass this stage draws with; none in the image and overlay stages. Tests put passes of
    // their own in its place.
    virtual QGLRenderObject* makePass() { return nullptr; }

    // Init of a stage that draws its input through its pass into a target of the input's type;
    // `extra` joins the bag of texture, target and pass.
    uint32_t initPass(BrxImage* input, PROPERTIES& extra) {
        int code = beginInit(input);
        if (code != Procs::CodeOk)
            return endInit(code, input, nullptr);
        PROPERTIES bag = QGLStages::setUp(input, surface, input->pixelType, this->properties);
        bag.set(&extra, true);
        return buildPass(input, input, bag, bag);
    }

    // The end of Init of a stage with a pass: the input texture for pixels like `upload`, the
    // target from `targetBag`, the pass from `bag`, which learns the target as "output".
    uint32_t buildPass(BrxImage* input, BrxImage* upload, PROPERTIES& bag, PROPERTIES targetBag) {
        if (!texture.init(upload, &bag))
            return endInit(Procs::CodeNotReady, input, nullptr);
        target = new QGLImage(surface);
        if (!target->init(input, &targetBag))
            return endInit(Procs::CodeNotReady, input, nullptr);
        bag.set("output", ATTR(static_cast<void*>(target)), true);
        pass = makePass();
        if (!pass || !pass->init(input, &bag))
            return endInit(Procs::CodeNotReady, input, nullptr);
        return endInit(Procs::CodeOk, input, target->image());
    }

    // The work of a stage with a pass: the input bound at unit 0 and drawn through the pass with
    // `passBag`, or, disabled, copied on unchanged. A plain code.
    int drawPass(BrxImage* input, PROPERTIES* passBag) {
        unsigned int t = QGLStages::bindInput(surface, texture, input);
        if (!t)
            return Procs::CodeFailed;
        if (!this->IsEnabled())
            return target->fillGPU(t, nullptr) ? Procs::CodeOk : Procs::CodeFailed;
        return pass->process(input, passBag) ? Procs::CodeOk : Procs::CodeFailed;
    }

    // The start of every ProcessImage: a set-up stage, a surface, an input of the set-up's size.
    int beginProcess(BrxImage* input) {
        this->output = nullptr;
        this->lastError = Procs::CodeOk;
        if (!target)
            return Procs::CodeNotReady;
        if (!surface)
            surface = QGLStages::surfaceOf(display);
        if (!surface)
            return Procs::CodeNotReady;
        BrxImage* own = target->image();
        if (input == nullptr || own == nullptr || input->width != own->width ||
            input->height != own->height)
            return Procs::CodeBadArgument;
        return Procs::CodeOk;
    }

    // `result` is the stage's output from here on, stamped with the input's identity, and its
    // texture is left bound at unit 0, where the next stage looks for its input.
    uint32_t endProcess(int code, BrxImage* input, BrxImage* result) {
        if (code != Procs::CodeOk)
            return this->report(code);
        surface->glActiveTexture(GL_TEXTURE0);
        surface->glBindTexture(GL_TEXTURE_2D, QGLImage::GetTexture(result));
        result->imageID = input->imageID;
        result->timestamp = input->timestamp;
        this->output = result;
        return 0;
    }

    // The main-memory copy of the last target; code 1 when it cannot be read.
    int readBack(QGLImage* last) {
        return last->readGPU(last->image()) ? Procs::CodeOk : Procs::CodeFailed;
    }

    // The start of every RunCommand: true, with its word, for "readGPU" when there is a target
    // to read; other texts go on to the stage's own commands.
    bool readCommand(ATTR const& text, unsigned int& word) {
        this->lastError = Procs::CodeOk;
        QGLImage* last = resultTarget();
        if (!text.same("readGPU") || !last)
            return false;
        word = this->report(readBack(last));
        return true;
    }

    // The target that holds the stage's result.
    virtual QGLImage* resultTarget() { return target; }

private:
    void dropGL() {
        delete pass;
        pass = nullptr;
        delete target;
        target = nullptr;
        texture.shut();
        texture.surface = nullptr;
        texture.props.set("surface", ATTR(static_cast<void*>(nullptr)), true);
        surface = nullptr;
        this->output = nullptr;
    }
};

} // namespace QTD
