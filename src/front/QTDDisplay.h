#pragma once

// The display controller. Images arrive on any thread and are copied into a double buffer; the
// thread that constructed the controller (which must run a Qt event loop) takes the newest one,
// runs the chain and hands the result to the viewer. The caller is never held up by the display:
// an image that comes before the last was taken overwrites it.

#include "core/ComponentImpl.h"
#include "core/FpsCounter.h"
#include "core/Messenger.h"
#include "core/PROPERTIES.h"
#include "core/RMutex.h"
#include "core/TripleBuffer.h"
#include "front/ImageReadout.h"

#include <brx/BrxDisplayProcessor.h>
#include <brx/BrxImage.h>

#include <QObject>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

class QTDConverter;
class QTDProcessor;
class QTDScreen;
class QTDViewer;
class QTDWindow;
class QTimer;
class QWidget;

class QTDDisplay : public QObject, public BrxDisplayProcessor, public QTD::ComponentImpl {
    Q_OBJECT
public:
    using Map = std::map<std::string, std::string>;

    // `parent` only goes into the bag ("system.parentWidget"); the QObject has no parent. The
    // constructing thread becomes the controller's thread.
    QTDDisplay(QWidget* parent, bool opengl);
    ~QTDDisplay() override;

    // The controller behind `processor` if its "class" says so, else null.
    static QTDDisplay* CastQTDDisplay(BrxDisplayProcessor* processor);

    // Rebuilds the display for images like `format` on the controller's thread; blocks the
    // caller meanwhile. Status word.
    uint32_t Init(BrxImage* format) override;
    // Copies the image for the controller's thread and returns at once; null clears the view.
    // Status word.
    uint32_t ProcessImage(BrxImage* image) override;
    BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
    // The older command entry: "text.add", "processing.proc.add", "processing.proc.del".
    unsigned int RunCommand(const char* command) override;
    // Drops chain, converter, buffers and timer; the viewer survives.
    void Release() override;
    BrxImgProcessingChain* GetProcessingChain() override;
    int RunCommandParams(const char* command, Map* params) override;
    uint32_t CreateConverter(BrxImage* target) override;
    void DeleteConverter() override;
    // Converts on the controller's thread while the caller waits. Status word.
    uint32_t ConvertImage(BrxImage* source, BrxImage* target) override;
    // The number of profile lines. With `lines` and `*lines` not null, writes four numbers per
    // line (x0, y0, x1, y1) into `*lines`, which must hold them: ask for the count first.
    int getProfileLines(int** lines) override;
    void deleteProfileLine(int index) override;
    void setActiveProfileLine(int index) override;
    void clearProfileLines() override;

    // Overlays on the window. Each needs a display that shows images without error; the
    // identifier of the object set is returned, or the empty text.
    virtual bool SetOverlayProperties(Map* props);
    virtual bool SetOverlayVariables(Map* vars);
    virtual QTD::ATTR SetOverlayText(const char* text, int x, int y, Map* params);
    virtual QTD::ATTR SetOverlayRect(int x, int y, int w, int h, Map* params);
    virtual QTD::ATTR SetOverlayProfileLine(int x0, int y0, int x1, int y1, Map* params);
    virtual bool DelOverlayObject(const char* id);
    virtual int AppendNotificationProc(BrxDisplayCommand* receiver);
    virtual int DeleteNotificationProc(BrxDisplayCommand* receiver);

    // The view; all false without a screen.
    virtual bool SetZoom(bool zoomIn, double coef, bool redraw);
    virtual bool CanZoom(bool zoomIn, double coef, bool query);
    virtual bool SetFitMode(int mode, bool redraw);
    virtual bool SetScale(double scale, bool redraw);
    virtual bool CenterAt(double x, double y, bool redraw);
    virtual QTD::Messenger* Messenger() { return &messenger; }

    virtual int RunCommandDisplayOverlay(const char* command, Map* params);
    virtual int RunCommandDisplayView(const char* command, Map* params);
    virtual int RunCommandSystemMenu(const char* command, Map* params);
    // "cmd.image.pixel", "cmd.image.statistics", "cmd.image.profile": the numbers of the frame
    // shown, read on the frame as the camera sent it; "cmd.image.save": the frame, the picture
    // or the processed image to a file. 1 when done, with the answers in `params`.
    int RunCommandImage(const char* command, Map* params);

    QTDScreen* getScreen();
    QTDWindow* getWindow();

    // The hand-over buffers: pixels first, the image record in the last 96 bytes. A third buffer
    // lets a camera hand over while a pass works on the frame before: the caller never waits
    // for the display.
    QTD::TripleBuffer incoming;
    // Reads the numbers of the frame shown, under the component lock.
    QTD::ImageReadout readout;
    // What the hand-over accepts, under `incoming.writeGuard`: the set-up's geometry, all 0
    // when there is none. Kept apart from the component lock, which a pass holds.
    struct Accepted {
        uint32_t width = 0, height = 0, pixelType = 0, imageSize = 0;
    } accepted;
    QTDProcessor* chain = nullptr;
    QTDConverter* converter = nullptr;
    QTDViewer* viewer = nullptr;
    // The format of the images expected; its data points into the buffer being shown.
    BrxImage* currentImage = nullptr;
    // A plain code written from both threads without a lock: a hint, not a record.
    std::atomic<int32_t> lastError{0};
    std::recursive_mutex setupLock;
    std::recursive_mutex convertLock;
    QTD::Messenger messenger;
    std::atomic<int32_t> messageDone{0};
    // A buffer check is queued and has not begun: frames handed over meanwhile need no second
    // one, so a busy controller's thread never finds a backlog of them.
    std::atomic<bool> checkPending{false};
    // A pass of the chain is running on the controller's thread.
    std::atomic<bool> passing{false};
    // The controller's thread put off its last check for a paint.
    bool checkDeferred = false;
    QTD::PROPERTIES statusBag;
    int32_t fpsWindow = 2;
    double lastFps = 0.0;
    std::vector<double> fpsHistory;
    QTD::RMutex fpsLock;
    QTD::FpsCounter receivedCounter;
    QTD::FpsCounter processedCounter;
    QTimer* timer = nullptr;
    // Bit 0: "notification.image" after each pass.
    std::atomic<int32_t> notificationFlags{0};

    // Carries the per-image notification.
    static Map imageProcParams;

protected:
    // Every queued call arrives here first.
    bool event(QEvent* event) override;

signals:
    void signalRebuildImage();
    void signalObjectMessage(const char* msgName, QTD::PROPERTIES* bag);
    void signalImageReceived();
    void signalImageProcessed(BrxImage* image, bool rebuilt);
    void signalCheckIncomingBuffer();
    void signalConvertImage(BrxImage* source, BrxImage* target);
    // Kept in the list; nothing listens.
    void signalInitProcessor(BrxImage* format);

public slots:
    void slotRebuildImage();
    void slotObjectMessage(const char* msgName, QTD::PROPERTIES* bag);
    void slotCheckIncomingBuffer();
    void slotImageProcessed(BrxImage* image, bool rebuilt);
    void slotConvertImage(BrxImage* source, BrxImage* target);
    void slotTimer();
    // The viewer went with its parent widget: nothing may point at it or at what it showed.
    void slotViewerDestroyed(QTDViewer* closing);

    void slotMenuZoomIn();
    void slotMenuZoomOut();
    void slotMenuFitWindow();
    void slotMenuFillWindow();
    void slotMenuZoom25();
    void slotMenuZoom50();
    void slotMenuZoom100();
    void slotMenuZoom200();
    void slotMenuCenterImage();
    void slotMenuCenterHere();

public:
    // Emits `signalObjectMessage` and pumps events until the controller's thread has run it.
    void sendObjectMessage(const char* name, QTD::PROPERTIES* bag);
    // On the controller's thread: rebuilds viewer, chain, buffer and timer. A plain code.
    int initDisplay(BrxImage* format);
    // Under the component lock: a new chain and buffer for `format`. Whether all went well.
    bool initProcessor(BrxImage* format);
    // An image that must be refused until the display is set up again.
    bool needInitialize(BrxImage* image);
    // What the hand-over accepts from now on: frames like `format`, or none for null.
    void acceptFrames(const BrxImage* format);
    // Copies what the geometry of `image` needs into the back buffer; a plain code.
    int handOver(BrxImage* image);
    // Fills `statusBag` and draws the status line, if it is switched on.
    void updateStatus();
    int processParameter(const char* command, Map* params);

    // The lock of the component side.
    std::recursive_mutex& componentLock() { return processorGuard; }

private:
    // Appends the latest processed rate to the history.
    void noteRate(double rate);
    // The rate shown in the status line.
    double shownRate();
    // Whether overlays and repaints make sense: an image, a chain, a window and no error.
    bool showing();
    template <class Set> QTD::ATTR addOverlay(Map* params, Set set);
    template <class Op> bool viewOperation(bool redraw, Op op);
    double zoomCoef(double coef);
    void scaleFromMenu(double scale);
    void deleteTimer();
    void drawInfo();
    // The overlay commands, once they are known and have their parameters.
    int runOverlayCommand(const QTD::ATTR& name, Map& params);
};
