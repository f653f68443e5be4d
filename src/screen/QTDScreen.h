#pragma once

#include "core/ATTR.h"
#include "core/CommandProcessor.h"
#include "core/PROPERTIES.h"
#include "core/RMutex.h"
#include "image/TPAIR.h"
#include "image/TRECT.h"

#include <brx/BrxImage.h>

#include <atomic>
#include <thread>

class QTDSurface;

// The model of the view: which part of an image shows in a window, at what scale and where. The
// stored truth is the pair (centre, scale); `calculate` derives everything else and may correct
// the centre so that the image leaves no gap it could avoid. Tunable limits live as text in
// `props` so that the rest of the system reads and writes them by key.
//
// The window is reached only through its command interface: the screen tells it
// "view.changed" and needs nothing else of it.
//
// Every operation holds `mutex`: commands change the view on the application's threads while the
// window's thread draws and handles input. "view.changed" goes out after the outermost hold.
class QTDScreen {
public:
    enum FitMode : int { FitNone = 0, FitWindow = 1, FillWindow = 2, FitActual = 3 };

    explicit QTDScreen(QTDSurface* surface);
    virtual ~QTDScreen();

    QTDScreen(QTDScreen const&) = delete;
    QTDScreen& operator=(QTDScreen const&) = delete;

    virtual bool init(QTD::CommandProcessor* window, int width, int height, FitMode fitMode);
    virtual bool shut(bool lock);
    virtual bool clear(bool flushNow);
    virtual bool flush(QTD::PROPERTIES* props);
    virtual bool begin(QTD::PROPERTIES* props);
    virtual bool prepare(QTD::PROPERTIES* props);
    virtual bool end(QTD::PROPERTIES* props, bool flushNow);
    virtual bool draw(BrxImage* image, QTD::PROPERTIES* props);
    virtual QTDScreen& window(int width, int height);
    virtual QTDScreen& image(int width, int height);
    // Converts a pair between the coordinate systems "base", "win", "img" and "scr"; either
    // pointer may be null. The result tells whether the source lies inside the image.
    virtual bool translate(double* x, double* y, QTD::ATTR from, QTD::ATTR to, bool absolute,
                           bool clip);
    virtual bool fit(int mode, bool lock);
    virtual bool ready();
    // The centre, read in one piece.
    QTD::TPAIR<double> center();
    // Where the image lies on the window, read in one piece.
    QTD::TRECT<double> imageRect();
    struct ScrollState {
        int32_t rangeX, rangeY, x, y;
        QTD::TPAIR<int> page;
    };
    // What the scroll bars show, read in one piece.
    ScrollState scrollState();

    bool calculate();
    QTDScreen& scale(double value, bool lock);
    double scale();
    int fit();
    int zoom();
    bool zoom(bool zoomIn, double coef, bool testOnly);
    QTDScreen& zoomRect(QTD::TRECT<int>& rect, bool zoomIn);
    bool at(double x, double y);
    bool at(int x, int y, QTD::ATTR cs);
    bool canCenterAt(double x, double y, QTD::ATTR cs);
    QTDScreen& scroll(int x, int y);
    QTD::TPAIR<int> scrollPage();
    bool moveBy(bool horizontal, int units);
    QTDScreen& lock(int x, int y);
    bool moveLocked(int x, int y);
    QTDScreen& unlock(int x, int y, bool restore);
    double screenX(double x) { return x - originX; }
    double screenY(double y) { return y - originY; }
    double imageX(int x);
    double imageY(int y);
    // One value at a time, rounded to whole pixels in "img" and "scr"; translateX reports
    // success, translateY whether the value lies inside the image.
    bool translateX(double& value, QTD::ATTR from, QTD::ATTR to, bool absolute);
    bool translateY(double& value, QTD::ATTR from, QTD::ATTR to, bool absolute);
    bool adjustOverlay(QTD::TPAIR<double>* pos, QTD::TPAIR<double>* size);
    QTDScreen& stateProps(QTD::PROPERTIES& state);
    bool checkStateChanged(QTD::PROPERTIES& state, bool notify);

    QTD::CommandProcessor* receiver() const { return viewReceiver; }
    QTDSurface* target() const { return surface; }

    QTD::PROPERTIES props;
    // Receiver of "view.changed" (the window); not owned.
    QTD::CommandProcessor* viewReceiver = nullptr;
    QTDSurface* surface = nullptr;
    QTD::RMutex mutex;
    double centerX = 0.5;
    double centerY = 0.5;
    double scaleValue = 1.0;
    int32_t imageWidth = 0;
    int32_t imageHeight = 0;
    double originX = 0.0;
    double originY = 0.0;
    double scaledWidth = 0.0;
    double scaledHeight = 0.0;
    double windowCenterX = 0.0;
    double windowCenterY = 0.0;
    double windowWidth = 0.0;
    double windowHeight = 0.0;
    int32_t scrollX = 0;
    int32_t scrollY = 0;
    int32_t scrollRangeX = 0;
    int32_t scrollRangeY = 0;
    bool notifyEnabled = true;
    double lockCenterX = 0.0;
    double lockCenterY = 0.0;
    int32_t lockX = -1;
    int32_t lockY = -1;

private:
    class Hold;
    void sendViewChange();
    void recalculate(bool sizeChanged);

    // Who holds `mutex` and how deeply; written only with `mutex` held.
    std::atomic<std::thread::id> holder{};
    int holdDepth = 0;
    std::atomic<bool> viewChangePending{false};

    enum Axis { AxisX, AxisY };
    bool translateOne(double& value, Axis axis, QTD::ATTR const& from, QTD::ATTR const& to,
                      bool absolute);
    double readDouble(char const* key);
    int readInt(char const* key);
};
