#pragma once

#include "core/ATTR.h"
#include "core/CommandProcessor.h"
#include "core/ComponentImpl.h"
#include "core/PROPERTIES.h"
#include "image/TPAIR.h"
#include "image/TRECT.h"
#include "screen/DrawObjects.h"
#include "window/KeyboardCommand.h"
#include "window/QTDInput.h"

#include <brx/BrxImage.h>

#include <QEvent>
#include <QWindow>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

class QScrollBar;
class QTDScreen;
class QTDSurface;
class QTDZoom;
class QWidget;

namespace QTD {
class Messenger;
}

// The on-screen surface of a display: a QWindow embedded in the viewer widget. It owns the
// drawing surface, the screen that holds the view geometry and the zoom navigator, receives all
// mouse and keyboard events and draws one frame per update request, always of the latest image.
//
// Images come from the display controller's thread as a bare pointer under `stateMutex`; frames
// run on the thread that owns the window.
class QTDWindow : public QWindow,
                  public QTDInput,
                  public QTD::ComponentImpl,
                  public QTD::CommandProcessor {
    Q_OBJECT
public:
    QTDWindow(QWidget* parent, bool opengl);
    ~QTDWindow() override;

    // Creates surface, navigator and screen; false (and shut) if a step failed.
    virtual bool init();
    // Deletes surface, screen and navigator, in this order.
    virtual bool shut();
    virtual bool isValid();
    virtual bool isValidImage();
    // One frame, on the calling thread.
    virtual void render();
    // Asks for a frame; safe from any thread.
    virtual void update();
    // A frame asked for by update() and not drawn yet.
    bool framePending() const { return updatePending; }
    virtual void setImage(BrxImage* image, bool redraw);
    // Passes the window size to screen and overlay; not QWindow's geometry change.
    virtual void resize(int width, int height);
    bool mouseDown(int x, int y, bool left, int modifiers) override;
    bool mouseMove(int x, int y, int modifiers) override;
    bool mouseUp(int x, int y, bool left, int modifiers) override;
    bool mouseDblClick(int x, int y, bool left, int modifiers) override;
    bool mouseWheel(int delta) override;
    bool mouseFree() override;
    bool keyDown(int key) override;
    virtual QTD::TPAIR<int> cursorPos(bool global);
    virtual QTD::TRECT<int> windowRect(bool frame);
    virtual void window2global(QTD::TPAIR<int>& point);
    virtual void global2window(QTD::TPAIR<int>& point);
    bool processCommand(QTD::ATTR command, QTD::PROPERTIES* props) override;
    virtual QTD::ATTR getProperty(QTD::ATTR key, QTD::ATTR fallback);
    virtual void setProperty(QTD::ATTR key, QTD::ATTR value, bool replace);
    virtual QTD::ATTR setOverlayText(char* text, int x, int y, QTD::PROPERTIES& props);
    virtual QTD::ATTR setOverlayRect(int x, int y, int w, int h, QTD::PROPERTIES& props);
    virtual QTD::ATTR setOverlayProfileLine(int x0, int y0, int x1, int y1, QTD::PROPERTIES& props);
    // From the scroll bars to the screen; a negative coordinate is left alone.
    virtual void setScroll(int x, int y);
    virtual void deleteLine(int index);
    virtual void activeLine(int index);
    virtual void clearLines();
    // From the screen to the scroll bars: bit 1 the horizontal one, bit 0 the vertical one.
    virtual void updateScrollParameters(int which);

    void messenger(QTD::Messenger* messenger);
    QTD::Messenger* messenger() const { return messengerRef; }
    // Asks the window's thread to move the bars.
    static QEvent::Type scrollRequest();
    void setScrollBars(QScrollBar* horz, QScrollBar* vert);
    // A null `before` puts `input` at the front; a `before` not in the chain inserts nothing.
    void insertInputProcessor(QTDInput* input, QTDInput* before);
    void removeInputProcessor(QTDInput* input);

    BrxImage* currentImage() const { return image.load(); }

    QTDSurface* surface = nullptr;
    QTDScreen* screen = nullptr;
    QTDZoom* zoomView = nullptr;
    // Not owned: the display controller keeps it alive until the next one has been taken.
    std::atomic<BrxImage*> image{nullptr};
    // The record of the image of the last frame, for text templates. Overlay calls on other
    // threads expand templates while the chain rewrites the live record; the copy changes only
    // under the overlay list's lock, as every expansion runs.
    BrxImage frameRecord{};
    // The identifier of `image` when it was set, for log lines written on other threads.
    std::atomic<unsigned long> imageID{0};
    // 0 while creation goes well, 1 once a step of init failed.
    int32_t status = 0;
    // What is drawn over the image. Objects keep the coordinates they were given ("*.cs" in
    // their "cs") and are converted to window pixels again after every view change.
    QTD::DrawObjects drawObjects;
    // The widget that maps coordinates.
    QWidget* parent;
    std::vector<QTDInput*> inputs;
    std::mutex inputMutex;
    std::recursive_mutex renderMutex;
    std::recursive_mutex stateMutex;
    QScrollBar* horzBar = nullptr;
    QScrollBar* vertBar = nullptr;
    QTD::KeyboardCommand keyboard;
    // Bit 0: view notifications; bit 1: mouse moves; bit 2: mouse buttons.
    int32_t notificationFlags = 5;
    bool moveBlock = false;

    // Input state. Where the button went down: window pixels for the left button, global
    // pixels for the right one.
    int32_t pressX = 0;
    int32_t pressY = 0;
    // 0 idle, 1 panning, 2 rubber band; 4 is honoured by the handlers but set by none.
    int32_t inputMode = 0;
    // The window holds the mouse grab for a pan.
    bool mouseGrabbed = false;
    // The right button is down and no rubber band has begun.
    bool rightDown = false;

protected:
    bool event(QEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    // Walks `inputs` under `inputMutex` until one processor handles the event; a handled event
    // asks for a frame.
    template <typename Call> void dispatch(Call call);
    // A press, release or double click at the event's position, left button or not.
    void dispatchButton(QMouseEvent* e, bool (QTDInput::*handler)(int, int, bool, int));
    // Converts the overlays kept in other coordinate systems to window pixels again.
    void refreshOverlays();
    // A rectangle from `cs` to window pixels, the position's rounding moved into the size;
    // false without a screen.
    bool translateRect(QTD::ATTR const& cs, double& x, double& y, double& w, double& h,
                       bool adjust);
    // The "notification.mouse" entries for a press or release at window (x, y); a right click
    // also carries the global position and the image position rounded.
    std::map<std::string, std::string> buttonNotification(char const* code, int x, int y,
                                                          bool left);
    // Ends the navigator's band and zooms to it if it asks for that.
    void applyBand();

    QTD::Messenger* messengerRef = nullptr;
    // The widget geometry of windowRect, without and with the frame, as last measured.
    QTD::TRECT<int> shownRect[2];
    QTD::TRECT<int> measureRect(bool frame);
    // Bars still to update from the window's thread (bit 1 horizontal, bit 0 vertical).
    std::atomic<int> pendingScroll{0};
    // An update request is posted and not yet handled.
    std::atomic<bool> updatePending{false};
};
