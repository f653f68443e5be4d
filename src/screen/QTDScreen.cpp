#include "screen/QTDScreen.h"
#include "screen/Rounding.h"

#include "core/AutoLock.h"
#include "screen/QTDSurface.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <optional>

namespace {

constexpr double NEAR_ZERO = 0.0000001;

bool nearZero(double v) {
    return std::fabs(v) < NEAR_ZERO;
}

double divide(double a, double b) {
    return nearZero(b) ? 0.0 : a / b;
}

using QTD::roundHalfAway;

// Half away from zero, kept as a double.
double roundHalf(double v) {
    return std::trunc(v < 0 ? v - 0.5 : v + 0.5);
}

double clampTo(double v, double lo, double hi) {
    if (v < lo)
        return lo;
    if (v > hi)
        return hi;
    return v;
}

// The centre on one axis that leaves no avoidable gap: an image no larger than the window is
// centred, a larger one is pushed back until it covers the window.
double correctedCenter(double k, double left, double d, double w, double c) {
    double gap = left + d - w;
    if (left > 0) {
        if (d <= w)
            return 0.5;
        if (nearZero(d))
            return gap < 0 ? 1.0 : 0.0;
        return gap < 0 ? 1.0 - c / d : c / d;
    }
    if (gap >= 0)
        return k;
    if (d <= w)
        return 0.5;
    return nearZero(d) ? 1.0 : 1.0 - c / d;
}

enum CoordSystem { CsUnknown = -1, CsBase = 0, CsWin = 1, CsImg = 2, CsScr = 3 };

CoordSystem coordSystem(QTD::ATTR const& name) {
    static char const* const names[] = {"base", "win", "img", "scr"};
    for (int i = 0; i < 4; ++i)
        if (name.same(names[i], true))
            return static_cast<CoordSystem>(i);
    return CsUnknown;
}

QTD::ATTR real(double v) {
    return QTD::ATTR::format("%f", v);
}

} // namespace

// The screen's lock. A "view.changed" found while it is held goes out once the outermost hold
// on this thread has let go: the window takes its own locks to handle it, and threads that
// hold those while they call into the screen would otherwise meet this one in reverse order.
class QTDScreen::Hold {
public:
    Hold(QTDScreen& screen, bool take, char const* site) : screen(screen), taken(take) {
        if (!take)
            return;
        lock.emplace(&screen.mutex, site);
        ++screen.holdDepth;
        screen.holder = std::this_thread::get_id();
    }
    ~Hold() {
        if (!taken)
            return;
        const bool outermost = --screen.holdDepth == 0;
        // Only the holder sets the flag: taken while still held, it is this thread's own change,
        // never one another thread found and is about to send.
        bool changed = false;
        if (outermost) {
            screen.holder = std::thread::id();
            changed = screen.viewChangePending.exchange(false);
        }
        lock.reset();
        if (changed)
            screen.sendViewChange();
    }
    Hold(Hold const&) = delete;
    Hold& operator=(Hold const&) = delete;

private:
    QTDScreen& screen;
    bool taken;
    std::optional<QTD::AutoLock> lock;
};

QTDScreen::QTDScreen(QTDSurface* s) : surface(s), mutex("QTDScreen") {
    props.set("screen.min", QTD::ATTR(60), true);
    props.set("screen.max", QTD::ATTR(40000), true);
    props.set("scroll.horz", QTD::ATTR(1), true);
    props.set("scroll.vert", QTD::ATTR(1), true);
    props.set("scroll.max", QTD::ATTR(32000), true);
    props.set("scale", real(1.0), true);
    props.set("fit", QTD::ATTR(static_cast<int>(FitActual)), true);
    props.set("zoom.coef", real(1.1), true);
    props.set("zoom.align", QTD::ATTR(1), true);
    props.set("move.by", real(0.1), true);
    props.set("color", QTD::ATTR::format("%u", 12632256u), true);
}

// The surface may already be gone (the window deletes it first): it is not touched here.
QTDScreen::~QTDScreen() {
    imageWidth = 0;
    imageHeight = 0;
}

double QTDScreen::readDouble(char const* key) {
    return props.get(key).as<double>();
}

int QTDScreen::readInt(char const* key) {
    return props.get(key).as<int>();
}

bool QTDScreen::init(QTD::CommandProcessor* w, int width, int height, FitMode fitMode) {
    Hold hold(*this, true, "QTDScreen::init");
    viewReceiver = w;
    image(width, height);
    fit(static_cast<int>(fitMode), false);
    clear(false);
    return true;
}

bool QTDScreen::shut(bool) {
    Hold hold(*this, true, "QTDScreen::shut");
    imageWidth = 0;
    imageHeight = 0;
    return true;
}

bool QTDScreen::clear(bool) {
    return true;
}

bool QTDScreen::flush(QTD::PROPERTIES*) {
    return true;
}

bool QTDScreen::begin(QTD::PROPERTIES* p) {
    return surface ? surface->begin(p) : false;
}

bool QTDScreen::prepare(QTD::PROPERTIES*) {
    return true;
}

bool QTDScreen::end(QTD::PROPERTIES* p, bool flushNow) {
    if (!surface)
        return false;
    surface->end();
    if (flushNow)
        surface->flush(p);
    return true;
}

bool QTDScreen::draw(BrxImage*, QTD::PROPERTIES*) {
    return false;
}

bool QTDScreen::ready() {
    Hold hold(*this, true, "QTDScreen::ready");
    return windowWidth > 0;
}

QTD::TPAIR<double> QTDScreen::center() {
    Hold hold(*this, true, "QTDScreen::center");
    return {centerX, centerY};
}

QTD::TRECT<double> QTDScreen::imageRect() {
    Hold hold(*this, true, "QTDScreen::imageRect");
    return {originX, originY, std::fabs(scaledWidth), std::fabs(scaledHeight)};
}

QTDScreen::ScrollState QTDScreen::scrollState() {
    Hold hold(*this, true, "QTDScreen::scrollState");
    return {scrollRangeX, scrollRangeY, scrollX, scrollY, scrollPage()};
}

QTDScreen& QTDScreen::window(int w, int h) {
    Hold hold(*this, true, "QTDScreen::window");
    QTD::PROPERTIES snapshot;
    stateProps(snapshot);
    if (w >= 1 && h >= 1) {
        bool changed = w != windowWidth || h != windowHeight;
        windowWidth = w;
        windowHeight = h;
        windowCenterX = w / 2.0;
        windowCenterY = h / 2.0;
        if (surface)
            surface->setSize(w, h);
        recalculate(changed);
    }
    checkStateChanged(snapshot, true);
    return *this;
}

QTDScreen& QTDScreen::image(int w, int h) {
    Hold hold(*this, true, "QTDScreen::image");
    QTD::PROPERTIES snapshot;
    stateProps(snapshot);
    if (w >= 1 && h >= 1) {
        bool changed = w != imageWidth || h != imageHeight;
        imageWidth = w;
        imageHeight = h;
        recalculate(changed);
    }
    checkStateChanged(snapshot, true);
    return *this;
}

void QTDScreen::recalculate(bool sizeChanged) {
    calculate();
    // The limits follow a new size, and the fit mode is applied again.
    if (sizeChanged) {
        scale(scale(), false);
        fit(fit(), false);
    }
}

bool QTDScreen::calculate() {
    Hold hold(*this, true, "QTDScreen::calculate");
    bool corrected = false;
    double kx = clampTo(centerX, 0.0, 1.0);
    double ky = clampTo(centerY, 0.0, 1.0);
    int scrollMax = readInt("scroll.max");
    if (nearZero(scaleValue)) {
        scaledWidth = 0.0;
        scaledHeight = 0.0;
    } else {
        scaledWidth = imageWidth / scaleValue;
        scaledHeight = imageHeight / scaleValue;
    }
    double left = windowCenterX - scaledWidth * kx;
    double top = windowCenterY - scaledHeight * ky;
    // Converges in two rounds; the bound only guards against values that never compare equal.
    for (int round = 0; round < 8; ++round) {
        double nx = correctedCenter(kx, left, scaledWidth, windowWidth, windowCenterX);
        double ny = correctedCenter(ky, top, scaledHeight, windowHeight, windowCenterY);
        if (nx == centerX && ny == centerY)
            break;
        centerX = nx;
        centerY = ny;
        corrected = true;
        left = windowCenterX - scaledWidth * nx;
        top = windowCenterY - scaledHeight * ny;
        kx = nx;
        ky = ny;
    }
    originX = left;
    originY = top;
    scrollRangeX = roundHalfAway(scaledWidth - windowWidth);
    scrollRangeY = roundHalfAway(scaledHeight - windowHeight);
    scrollX = roundHalfAway(-left);
    scrollY = roundHalfAway(-top);
    auto limit = [scrollMax](int32_t& range, int32_t& position) {
        double ratio = 1.0;
        if (range > scrollMax) {
            if (scrollMax == 0) {
                ratio = 0.0;
                range = 0;
                position = 0;
            } else {
                ratio = static_cast<double>(range) / scrollMax;
                range = scrollMax;
                position = nearZero(ratio) ? 0 : roundHalfAway(position / ratio);
            }
        }
        return ratio;
    };
    double ratioX = limit(scrollRangeX, scrollX);
    double ratioY = limit(scrollRangeY, scrollY);
    props.set("scroll.horz", real(ratioX), true);
    props.set("scroll.vert", real(ratioY), true);
    if (surface && scaledWidth != 0.0 && scaledHeight != 0.0) {
        surface->setArea({originX, originY, scaledWidth, scaledHeight});
        surface->setSize(static_cast<int>(windowWidth), static_cast<int>(windowHeight));
    }
    return corrected;
}

QTDScreen& QTDScreen::scale(double value, bool lock) {
    if (value < 0 || !ready())
        return *this;
    Hold hold(*this, true, "QTDScreen::scale");
    double screenMax = readInt("screen.max");
    double screenMin = readInt("screen.min");
    double lo = std::max(divide(imageWidth, screenMax), divide(imageHeight, screenMax));
    double hi = std::min(divide(imageWidth, screenMin), divide(imageHeight, screenMin));
    QTD::PROPERTIES snapshot;
    if (lock)
        stateProps(snapshot);
    if (lo == 0.0 || hi == 0.0) {
        scaleValue = 1.0;
    } else if (value < lo) {
        scaleValue = lo;
    } else if (value > hi) {
        scaleValue = hi;
    } else {
        scaleValue = value;
    }
    props.set("scale", real(scaleValue), true);
    props.set("scale.min", real(lo), true);
    props.set("scale.max", real(hi), true);
    calculate();
    if (lock)
        checkStateChanged(snapshot, true);
    return *this;
}

double QTDScreen::scale() {
    Hold hold(*this, true, "QTDScreen::scale");
    return readDouble("scale");
}

bool QTDScreen::fit(int mode, bool lock) {
    props.set("fit", QTD::ATTR(static_cast<int>(clampTo(mode, 0, 3))), true);
    if (!ready())
        return false;
    Hold hold(*this, true, "QTDScreen::fit");
    QTD::PROPERTIES snapshot;
    if (lock)
        stateProps(snapshot);
    double ratioX = divide(imageWidth, windowWidth);
    double ratioY = divide(imageHeight, windowHeight);
    if (mode == FitWindow) {
        at(0.5, 0.5);
        scale(std::max(ratioX, ratioY), false);
    } else if (mode == FillWindow) {
        scale(std::min(ratioX, ratioY), false);
    } else if (mode > FillWindow) {
        scale(1.0, false);
    }
    if (lock)
        checkStateChanged(snapshot, true);
    return true;
}

int QTDScreen::fit() {
    Hold hold(*this, true, "QTDScreen::fit");
    return readInt("fit");
}

int QTDScreen::zoom() {
    Hold hold(*this, true, "QTDScreen::zoom");
    if (!ready() || nearZero(scaleValue))
        return 0;
    return roundHalfAway(100.0 / scaleValue);
}

bool QTDScreen::zoom(bool zoomIn, double coef, bool testOnly) {
    Hold hold(*this, true, "QTDScreen::zoom");
    if (!ready())
        return false;
    // The scale as text, so at six decimals.
    double current = readDouble("scale");
    int align = readInt("zoom.align");
    if (nearZero(current))
        return false;
    QTD::PROPERTIES snapshot;
    if (!testOnly)
        stateProps(snapshot);
    if (coef <= 0)
        coef = readDouble("zoom.coef");
    double next = 0.0;
    if (align == 1) {
        static int const steps[] = {5, 10, 15, 20, 30, 40, 50, 75, 100, 125, 150, 200, 250, 300};
        constexpr int count = sizeof(steps) / sizeof(steps[0]);
        int p = roundHalfAway(100.0 / current);
        int q = p;
        if (zoomIn) {
            if (p <= 4) {
                q = 5;
            } else if (p < 300) {
                for (int i = 0; i < count; ++i)
                    if (steps[i] > p) {
                        q = steps[i];
                        break;
                    }
            } else {
                q = ((p + 150) / 100) * 100;
            }
        } else if (p > 300) {
            q = ((p - 50) / 100) * 100;
        } else if (p > 4) {
            // A percentage between two entries skips one: 110 goes to 75.
            int i = 0;
            for (int j = 0; j < count; ++j)
                if (steps[j] <= p)
                    i = j;
            q = i - 1 <= 0 ? 5 : steps[i - 1];
        }
        next = q == 0 ? 0.0 : 100.0 / q;
    } else if (zoomIn) {
        next = divide(current, coef);
    } else {
        next = current * coef;
    }
    if (testOnly) {
        QTD::ATTR lo, hi;
        if (props.find("scale.min", &lo) && props.find("scale.max", &hi)) {
            double minimum = lo.as<double>(), maximum = hi.as<double>();
            if (minimum != 0.0 && maximum != 0.0)
                next = next < minimum ? minimum : (next > maximum ? maximum : next);
        }
    } else {
        props.set("fit", QTD::ATTR(0), true);
        scale(next, false);
        checkStateChanged(snapshot, true);
    }
    return std::fabs(current - next) >= NEAR_ZERO;
}

QTDScreen& QTDScreen::zoomRect(QTD::TRECT<int>& rect, bool zoomIn) {
    Hold hold(*this, true, "QTDScreen::zoomRect");
    if (!ready())
        return *this;
    double ratio = rect.width == 0 ? 0.0 : windowWidth / rect.width;
    double x = divide(rect.x + rect.width / 2 - originX, scaledWidth);
    double y = divide(rect.y + rect.height / 2 - originY, scaledHeight);
    bool wasEnabled = notifyEnabled;
    notifyEnabled = false;
    QTD::PROPERTIES snapshot;
    stateProps(snapshot);
    props.set("fit", QTD::ATTR(0), true);
    double next = zoomIn ? divide(scaleValue, ratio) : scaleValue * ratio;
    scale(next, false);
    at(x, y);
    notifyEnabled = wasEnabled;
    checkStateChanged(snapshot, true);
    return *this;
}

bool QTDScreen::at(double x, double y) {
    Hold hold(*this, true, "QTDScreen::at");
    if (!ready())
        return false;
    QTD::PROPERTIES snapshot;
    stateProps(snapshot);
    if (!(x == -1.0 && y == -1.0)) {
        centerX = x;
        centerY = y;
    }
    calculate();
    checkStateChanged(snapshot, true);
    return centerX != x || centerY != y;
}

bool QTDScreen::at(int x, int y, QTD::ATTR cs) {
    Hold hold(*this, true, "QTDScreen::at");
    double fx, fy;
    if (coordSystem(cs) == CsWin) {
        fx = divide(x - originX, scaledWidth);
        fy = divide(y - originY, scaledHeight);
    } else {
        fx = divide(x, scaledWidth);
        fy = divide(y, scaledHeight);
    }
    return at(fx, fy);
}

bool QTDScreen::canCenterAt(double x, double y, QTD::ATTR cs) {
    Hold hold(*this, true, "QTDScreen::canCenterAt");
    if (!ready())
        return false;
    CoordSystem system = coordSystem(cs);
    if (system == CsWin) {
        x = divide(x - originX, scaledWidth);
        y = divide(y - originY, scaledHeight);
    } else if (system == CsImg) {
        // Scaled pixels, not image pixels: kept as the callers know it.
        x = divide(x, scaledWidth);
        y = divide(y, scaledHeight);
    }
    double savedX = centerX, savedY = centerY;
    bool wasEnabled = notifyEnabled;
    notifyEnabled = false;
    centerX = x;
    centerY = y;
    calculate();
    bool moves = !(centerX == savedX && centerY == savedY);
    centerX = savedX;
    centerY = savedY;
    calculate();
    notifyEnabled = wasEnabled;
    return moves;
}

QTDScreen& QTDScreen::scroll(int x, int y) {
    Hold hold(*this, true, "QTDScreen::scroll");
    QTD::PROPERTIES snapshot;
    stateProps(snapshot);
    bool changed = false;
    if (x >= 0) {
        double next = divide(windowCenterX + readDouble("scroll.horz") * x, scaledWidth);
        changed = changed || next != centerX;
        centerX = next;
    }
    if (y >= 0) {
        double next = divide(windowCenterY + readDouble("scroll.vert") * y, scaledHeight);
        changed = changed || next != centerY;
        centerY = next;
    }
    if (changed) {
        calculate();
        checkStateChanged(snapshot, true);
    }
    return *this;
}

QTD::TPAIR<int> QTDScreen::scrollPage() {
    Hold hold(*this, true, "QTDScreen::scrollPage");
    QTD::TPAIR<int> page;
    double horz = readDouble("scroll.horz");
    double vert = readDouble("scroll.vert");
    page.x = nearZero(horz) ? 0 : roundHalfAway(windowWidth / horz);
    page.y = nearZero(vert) ? 0 : roundHalfAway(windowHeight / vert);
    return page;
}

bool QTDScreen::moveBy(bool horizontal, int units) {
    Hold hold(*this, true, "QTDScreen::moveBy");
    if (!ready() || lockX != -1)
        return false;
    // The scale enters twice, since the scaled size is already divided by it.
    double share = readDouble("move.by");
    if (horizontal) {
        double step = divide(scaleValue * windowWidth * units, scaledWidth) * share;
        at(centerX + step, centerY);
    } else {
        double step = divide(scaleValue * windowHeight * units, scaledHeight) * share;
        at(centerX, centerY + step);
    }
    return true;
}

QTDScreen& QTDScreen::lock(int x, int y) {
    Hold hold(*this, true, "QTDScreen::lock");
    if (!ready())
        return *this;
    lockCenterX = centerX;
    lockCenterY = centerY;
    lockX = x;
    lockY = y;
    return *this;
}

bool QTDScreen::moveLocked(int x, int y) {
    Hold hold(*this, true, "QTDScreen::moveLocked");
    if (!ready() || lockX == -1)
        return false;
    return at(lockCenterX + divide(lockX - x, scaledWidth),
              lockCenterY + divide(lockY - y, scaledHeight));
}

QTDScreen& QTDScreen::unlock(int, int, bool restore) {
    Hold hold(*this, true, "QTDScreen::unlock");
    if (ready() && restore) {
        centerX = lockCenterX;
        centerY = lockCenterY;
        calculate();
    }
    lockX = -1;
    lockY = -1;
    return *this;
}

double QTDScreen::imageX(int x) {
    Hold hold(*this, true, "QTDScreen::imageX");
    double value = imageWidth * divide(x - originX, scaledWidth);
    return value < 0 || value >= imageWidth ? -1.0 : value;
}

double QTDScreen::imageY(int y) {
    Hold hold(*this, true, "QTDScreen::imageY");
    double value = imageHeight * divide(y - originY, scaledHeight);
    return value < 0 || value >= imageHeight ? -1.0 : value;
}

bool QTDScreen::translate(double* x, double* y, QTD::ATTR from, QTD::ATTR to, bool absolute,
                          bool clip) {
    Hold hold(*this, true, "QTDScreen::translate");
    CoordSystem source = coordSystem(from);
    if (source == CsUnknown || source == CsBase)
        return false;
    auto toFraction = [&](double v, double origin, double scaled, double size) {
        switch (source) {
        case CsWin:
            return divide(absolute ? v - origin : v, scaled);
        case CsImg:
            return size == 0 ? 0.0 : v / size;
        default:
            return divide(v, scaled);
        }
    };
    bool inRange = true;
    if (x) {
        *x = toFraction(*x, originX, scaledWidth, imageWidth);
        inRange = inRange && *x >= 0.0 && *x <= 1.0;
    }
    if (y) {
        *y = toFraction(*y, originY, scaledHeight, imageHeight);
        inRange = inRange && *y >= 0.0 && *y <= 1.0;
    }
    CoordSystem target = coordSystem(to);
    if (target == CsUnknown || target == CsBase)
        return false;
    // The window clip for lengths applies only while the whole image fits the window.
    bool clipLength = windowWidth > scaledWidth && windowHeight > scaledHeight;
    auto fromFraction = [&](double f, double origin, double scaled, double size, double win) {
        double v;
        switch (target) {
        case CsImg:
            v = f * size;
            return clip ? clampTo(v, 0.0, size) : v;
        case CsScr:
            v = f * scaled;
            return clip ? clampTo(v, 0.0, scaled) : v;
        default:
            if (absolute) {
                double shift = size == 0 ? 0.0 : origin * scaleValue / size;
                v = (f + shift) * scaled;
                return clip ? clampTo(v, 0.0, win) : v;
            }
            v = f * scaled;
            return clip && clipLength ? clampTo(v, 0.0, win) : v;
        }
    };
    if (x)
        *x = fromFraction(*x, originX, scaledWidth, imageWidth, windowWidth);
    if (y)
        *y = fromFraction(*y, originY, scaledHeight, imageHeight, windowHeight);
    return inRange;
}

bool QTDScreen::translateOne(double& value, Axis axis, QTD::ATTR const& from, QTD::ATTR const& to,
                             bool absolute) {
    Hold hold(*this, true, "QTDScreen::translateOne");
    CoordSystem source = coordSystem(from);
    if (source == CsUnknown || source == CsBase)
        return false;
    double origin = axis == AxisX ? originX : originY;
    double scaled = axis == AxisX ? scaledWidth : scaledHeight;
    double size = axis == AxisX ? imageWidth : imageHeight;
    double f;
    switch (source) {
    case CsWin:
        f = divide(absolute ? value - origin : value, scaled);
        break;
    case CsImg:
        // A pixel index becomes a point inside the pixel.
        f = size == 0 ? 0.0 : (absolute ? value : value + 0.49) / size;
        break;
    default:
        f = divide(value, scaled);
        break;
    }
    value = f;
    bool inRange = f >= 0.0 && f <= 1.0;
    CoordSystem target = coordSystem(to);
    if (target == CsUnknown || target == CsBase)
        return false;
    switch (target) {
    case CsImg:
        value = roundHalf(f * size);
        break;
    case CsScr:
        value = roundHalf(f * scaled);
        break;
    default: {
        double shift = size == 0 ? 0.0 : origin * scaleValue / size;
        value = (f + shift) * scaled;
        break;
    }
    }
    return axis == AxisX ? true : inRange;
}

bool QTDScreen::translateX(double& value, QTD::ATTR from, QTD::ATTR to, bool absolute) {
    return translateOne(value, AxisX, from, to, absolute);
}

bool QTDScreen::translateY(double& value, QTD::ATTR from, QTD::ATTR to, bool absolute) {
    return translateOne(value, AxisY, from, to, absolute);
}

bool QTDScreen::adjustOverlay(QTD::TPAIR<double>* pos, QTD::TPAIR<double>* size) {
    Hold hold(*this, true, "QTDScreen::adjustOverlay");
    if (!pos && !size)
        return false;
    double right = originX + scaledWidth;
    double bottom = originY + scaledHeight;
    if (pos) {
        double x = clampTo(pos->x, originX, right);
        double y = clampTo(pos->y, originY, bottom);
        bool moved = std::fabs(x - pos->x) >= NEAR_ZERO || std::fabs(y - pos->y) >= NEAR_ZERO;
        pos->x = x;
        pos->y = y;
        if (!size)
            return moved;
    }
    double limitW = pos ? right - pos->x : scaledWidth;
    double limitH = pos ? bottom - pos->y : scaledHeight;
    double w = size->x < 0 ? 0.0 : size->x;
    double h = size->y < 0 ? 0.0 : size->y;
    if (w > limitW)
        w = limitW;
    if (h > limitH)
        h = limitH;
    bool changed = std::fabs(w - size->x) >= NEAR_ZERO || std::fabs(h - size->y) >= NEAR_ZERO;
    size->x = w;
    size->y = h;
    return changed;
}

QTDScreen& QTDScreen::stateProps(QTD::PROPERTIES& state) {
    Hold hold(*this, true, "QTDScreen::stateProps");
    if (!ready()) {
        state.set("at", QTD::ATTR(), true);
        state.set("scale", QTD::ATTR(), true);
        return *this;
    }
    state.set("at", QTD::ATTR::format("%f;%f", centerX, centerY), true);
    state.set("scale", real(scaleValue), true);
    return *this;
}

bool QTDScreen::checkStateChanged(QTD::PROPERTIES& state, bool notify) {
    QTD::ATTR at = state.get("at");
    double x = at.split(0, ";").as<double>();
    double y = at.split(1, ";").as<double>();
    double s = state.get("scale").as<double>();
    // The snapshot holds six decimals, so a centre that is no short decimal always counts as
    // changed; a spurious "view.changed" does no harm.
    if (x == centerX && y == centerY && std::fabs(s - scaleValue) < NEAR_ZERO)
        return false;
    if (notify && notifyEnabled && viewReceiver) {
        if (holder.load() == std::this_thread::get_id())
            viewChangePending = true;
        else
            viewReceiver->processCommand("view.changed", nullptr);
    }
    return true;
}

void QTDScreen::sendViewChange() {
    if (viewReceiver)
        viewReceiver->processCommand("view.changed", nullptr);
}
