#pragma once

#include "chain/Backend.h"
#include "core/ComponentImpl.h"

#include <brx/BrxImage.h>

#include <QLayout>
#include <QPointer>
#include <QScrollBar>
#include <QWidget>

#include <mutex>
#include <utility>
#include <vector>

class BrxImgProcessor;
class QResizeEvent;
class QTDDisplay;
class QTDProcessor;
class QTDWindow;

namespace QTD {
class Messenger;
}

// The widget that the display controller places in the application's widget: the render window
// in a container, a horizontal scroll bar below it and a vertical one beside the viewer in the
// parent widget. It also appends the last two stages of the chain, those that make what is shown.
class QTDViewer : public QWidget, public QTD::ComponentImpl {
    Q_OBJECT
public:
    // Status codes of init.
    enum : int32_t { Good = 0, NoColoration = 1, BadArguments = 7, NoWindow = 8, NoImages = 9 };

    QTDViewer(QWidget* parent, bool opengl);
    ~QTDViewer() override;

    // Appends the display stages for images like `image` to `processor`; the status.
    virtual int32_t init(BrxImage* image, QTDProcessor* processor);
    virtual int32_t initCPU(BrxImage* image, QTDProcessor* processor);
    virtual int32_t initQGL(BrxImage* image, QTDProcessor* processor);
    // Frees the stage images.
    virtual void shut();
    virtual void setImage(BrxImage* image, bool redraw);
    // Asks for a frame unless one is being prepared right now.
    virtual void redraw(bool force);

    void messenger(QTD::Messenger* messenger);
    void display(QTDDisplay* display) { controller = display; }
    QTDDisplay* display() const { return controller; }

    QScrollBar* horizontalBar() const { return horzBar; }
    QScrollBar* verticalBar() const { return vertBar; }

signals:
    // Sent first thing in the destructor, while window and surface still stand: whoever runs
    // stages on the surface lets them go now.
    void closing(QTDViewer* viewer);

public slots:
    void slotDisplayImage(BrxImage* image, bool redraw);
    void slotHorzSliderChanged(int value);
    void slotVertSliderChanged(int value);

protected:
    void resizeEvent(QResizeEvent* event) override;

public:
    // Owned; null when its init failed.
    QTDWindow* window = nullptr;
    int32_t status = 0;
    std::recursive_mutex imageMutex;
    // The images that the display stages work on; owned.
    BrxImage* processedImage = nullptr;
    BrxImage* displayImage = nullptr;
    QWidget* container = nullptr;
    // The last image given.
    BrxImage* image = nullptr;

private:
    using Settings = std::vector<std::pair<const char*, const char*>>;
    // The display stage with `display` settings, and the coloration stage unless told not to;
    // a status code.
    int32_t addDisplayStages(const QTD::Backend& backend, BrxImage* format, QTDProcessor* processor,
                             Settings display, bool coloration);
    BrxImgProcessor* addStage(const QTD::Backend& backend, QTD::StageKind kind, const char* name,
                              QTDProcessor* processor, const Settings& settings, BrxImage* input,
                              BrxImage* output);
    QTDWindow* sliderTarget();

    QTDDisplay* controller = nullptr;
    QScrollBar* horzBar = nullptr;
    // Both live in the application's widget when there is one, which may delete them first.
    QPointer<QScrollBar> vertBar;
    // The row that holds viewer and vertical bar in the application's widget, if made here.
    QPointer<QLayout> hostLayout;
};
