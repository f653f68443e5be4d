// brxview: the BrxDisplayQt demo viewer. Shows a synthetic camera, a raw frame or a picture
// file in any camera pixel format; --headless runs without a person and saves a screenshot.
#include "ViewerWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QScreen>
#include <QThread>
#include <QTimer>
#include <QWindow>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const char* const USAGE =
    "usage: brxview [--format NAME] [--size WxH] [--fps RATE] [--file PATH [--raw-size WxH]]\n"
    "               [--no-status] [--no-overlay] [--info] [--coloration]\n"
    "               [--gains R,G,B] [--offset X] [--gamma X] [--backend cpu|opengl]\n"
    "               [--window WxH] [--headless] [--frames N] [--screenshot OUT.png]\n"
    "               [--cursor X,Y] [--region X,Y,W,H]\n"
    "               [--save-raw F] [--save-view F.png] [--save-full F.png]\n"
    "  --format      camera pixel format of the synthetic camera or the file (RGB8)\n"
    "  --size        synthetic camera size (1024x768)\n"
    "  --fps         frames a second offered to the display (30)\n"
    "  --file        a PNG/TIFF picture, packed into --format, or a raw frame with --raw-size\n"
    "  --window      size of the viewer's window (1400x900)\n"
    "  --coloration  paint under- and over-exposed pixels (green, red)\n"
    "  --gains ...   colour correction: gains, offset (a fraction of full scale), gamma\n"
    "  --backend     cpu (OpenCV, the default) or opengl (shader passes; needs OpenGL)\n"
    "  --cursor      a point of the picture area whose pixel the readout shows\n"
    "  --region      image pixels for the histogram instead of the part shown\n"
    "  --save-...    at the end: the frame's bytes, the view, the full-depth image\n"
    "  --headless    run without a person: offer --frames frames (100), save --screenshot\n"
    "                (brxview.png) and print the figures; uses xvfb-run without a display\n";

// What the display's window does with the mouse and the keys.
const char* const CONTROLS =
    "in the picture:\n"
    "  left drag          pan; leaves fit mode\n"
    "  double-click       centre the view on the point\n"
    "  wheel, + and -     zoom in or out one step; the centre of the view stays\n"
    "  right drag         zoom so that the band drawn fills the view; with Shift held, so\n"
    "                     that the view shrinks into the band\n"
    "  Ctrl + right drag  a band centred where the drag began: drag right to zoom in, left\n"
    "                     to zoom out\n"
    "  0, 1, 2            fit to window, actual size (1:1), fill window\n"
    "  s d, s i           status line, info line on or off (typed in sequence)\n";

struct Options {
    ViewerWindow::Settings settings;
    // Files for the frame's bytes, the view and the full-depth image, saved at the end.
    std::string saves[3];
    bool headless = false;
    std::string screenshot = "brxview.png";
    uint64_t frames = 100;
    int windowWidth = 1400;
    int windowHeight = 900;
};

bool parseSize(const char* text, int& w, int& h) {
    unsigned a = 0, b = 0;
    char extra = 0;
    if (std::sscanf(text, "%ux%u%c", &a, &b, &extra) != 2 || a == 0 || b == 0 || a > 16384 ||
        b > 16384) {
        return false;
    }
    w = static_cast<int>(a);
    h = static_cast<int>(b);
    return true;
}

// 0 parsed, 1 printed help, 2 error.
int parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](const char* name) -> const char* {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "brxview: %s needs a value\n", name);
                return nullptr;
            }
            return argv[++i];
        };
        const char* v = nullptr;
        if (a == "--help" || a == "-h") {
            std::fputs(USAGE, stdout);
            std::printf("camera pixel formats (--format):\n%s",
                        CameraFormat::listing("  ").c_str());
            std::fputs(CONTROLS, stdout);
            return 1;
        } else if (a == "--backend") {
            if (!(v = value("--backend")))
                return 2;
            if (std::strcmp(v, "cpu") != 0 && std::strcmp(v, "opengl") != 0) {
                std::fprintf(stderr, "brxview: unknown backend %s; cpu or opengl\n", v);
                return 2;
            }
            o.settings.opengl = std::strcmp(v, "opengl") == 0;
        } else if (a == "--cursor") {
            if (!(v = value("--cursor")))
                return 2;
            char extra = 0;
            if (std::sscanf(v, "%d,%d%c", &o.settings.cursorX, &o.settings.cursorY, &extra) != 2 ||
                o.settings.cursorX < 0 || o.settings.cursorY < 0) {
                std::fprintf(stderr, "brxview: bad point %s, expected X,Y\n", v);
                return 2;
            }
        } else if (a == "--region") {
            if (!(v = value("--region")))
                return 2;
            int* r = o.settings.region;
            char extra = 0;
            if (std::sscanf(v, "%d,%d,%d,%d%c", &r[0], &r[1], &r[2], &r[3], &extra) != 4 ||
                r[0] < 0 || r[1] < 0 || r[2] < 1 || r[3] < 1) {
                std::fprintf(stderr, "brxview: bad region %s, expected X,Y,W,H\n", v);
                return 2;
            }
        } else if (a == "--save-raw" || a == "--save-view" || a == "--save-full") {
            if (!(v = value(a.c_str())))
                return 2;
            o.saves[a == "--save-raw" ? 0 : a == "--save-view" ? 1 : 2] = v;
        } else if (a == "--headless") {
            o.headless = true;
        } else if (a == "--no-status") {
            o.settings.status = false;
        } else if (a == "--no-overlay") {
            o.settings.overlay = false;
        } else if (a == "--info") {
            o.settings.info = true;
        } else if (a == "--coloration") {
            o.settings.coloration = true;
        } else if (a == "--gains") {
            if (!(v = value("--gains")))
                return 2;
            double* g = o.settings.gains;
            char extra = 0;
            if (std::sscanf(v, "%lf,%lf,%lf%c", &g[0], &g[1], &g[2], &extra) != 3) {
                std::fprintf(stderr, "brxview: bad gains %s, expected R,G,B\n", v);
                return 2;
            }
        } else if (a == "--offset" || a == "--gamma") {
            if (!(v = value(a.c_str())))
                return 2;
            char* end = nullptr;
            const double x = std::strtod(v, &end);
            if (end == v || *end != 0) {
                std::fprintf(stderr, "brxview: bad number %s\n", v);
                return 2;
            }
            (a == "--offset" ? o.settings.offset : o.settings.gamma) = x;
        } else if (a == "--format") {
            if (!(v = value("--format")))
                return 2;
            if (CameraFormat::find(v) == nullptr) {
                std::fprintf(stderr, "brxview: unknown pixel format %s; one of: %s\n", v,
                             CameraFormat::names().c_str());
                return 2;
            }
            o.settings.format = CameraFormat::find(v)->name;
        } else if (a == "--size") {
            if (!(v = value("--size")))
                return 2;
            if (!parseSize(v, o.settings.width, o.settings.height)) {
                std::fprintf(stderr, "brxview: bad size %s, expected WIDTHxHEIGHT\n", v);
                return 2;
            }
        } else if (a == "--fps") {
            if (!(v = value("--fps")))
                return 2;
            o.settings.fps = std::atof(v);
            if (!(o.settings.fps > 0)) {
                std::fprintf(stderr, "brxview: bad rate %s\n", v);
                return 2;
            }
        } else if (a == "--file") {
            if (!(v = value("--file")))
                return 2;
            o.settings.file = v;
        } else if (a == "--raw-size") {
            if (!(v = value("--raw-size")))
                return 2;
            o.settings.rawSize = v;
        } else if (a == "--window") {
            if (!(v = value("--window")))
                return 2;
            if (!parseSize(v, o.windowWidth, o.windowHeight)) {
                std::fprintf(stderr, "brxview: bad window size %s, expected WIDTHxHEIGHT\n", v);
                return 2;
            }
        } else if (a == "--frames") {
            if (!(v = value("--frames")))
                return 2;
            char* end = nullptr;
            const long long n = std::strtoll(v, &end, 10);
            if (end == v || *end != 0 || n <= 0) {
                std::fprintf(stderr, "brxview: bad frame count %s\n", v);
                return 2;
            }
            o.frames = static_cast<uint64_t>(n);
        } else if (a == "--screenshot") {
            if (!(v = value("--screenshot")))
                return 2;
            o.screenshot = v;
        } else {
            std::fprintf(stderr, "brxview: unknown argument %s\n%s", a.c_str(), USAGE);
            return 2;
        }
    }
    return 0;
}

// A headless run needs an X server to draw on and read back: without a display, run again
// inside xvfb-run, which starts a private server for the length of the run.
void reexecUnderXvfb(int argc, char** argv) {
    const char* display = std::getenv("DISPLAY");
    if (std::getenv("BRXVIEW_UNDER_XVFB") != nullptr || (display != nullptr && *display != 0)) {
        return;
    }
    setenv("BRXVIEW_UNDER_XVFB", "1", 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
    std::vector<char*> args;
    const char* fixed[] = {"xvfb-run", "-a", "-s", "-screen 0 1600x1200x24"};
    for (const char* f : fixed) {
        args.push_back(const_cast<char*>(f));
    }
    char self[4096] = {0};
    const ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);
    args.push_back(n > 0 ? self : argv[0]);
    for (int i = 1; i < argc; ++i) {
        args.push_back(argv[i]);
    }
    args.push_back(nullptr);
    execvp("xvfb-run", args.data());
    // No xvfb-run: go on with Qt's offscreen platform.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
}

void pump(int ms) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms) {
        QApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(5);
    }
}

QPixmap screenshot(ViewerWindow& window) {
    QScreen* screen = window.screen() ? window.screen() : QGuiApplication::primaryScreen();
    if (QGuiApplication::platformName() == "xcb" && screen != nullptr) {
        const QPoint at = window.mapToGlobal(QPoint(0, 0));
        return screen->grabWindow(0, at.x(), at.y(), window.width(), window.height());
    }
    // Qt's offscreen platform keeps each native window in a store of its own: the widgets come
    // from the main window's, the picture from the display's window, laid on top.
    QPixmap shot = window.grab();
    QPainter painter(&shot);
    for (QWindow* child : QGuiApplication::allWindows()) {
        if (child->parent() == nullptr || !child->isExposed() || screen == nullptr) {
            continue;
        }
        const QPixmap part = screen->grabWindow(child->winId());
        const QPoint at = child->mapToGlobal(QPoint(0, 0)) - window.mapToGlobal(QPoint(0, 0));
        if (!part.isNull()) {
            painter.drawPixmap(at, part);
        }
    }
    return shot;
}

int runHeadless(ViewerWindow& window, const Options& o) {
    window.resize(o.windowWidth, o.windowHeight);
    window.show();
    pump(300);
    QElapsedTimer clock;
    clock.start();
    if (!window.start()) {
        return 1;
    }
    // Offer every frame, then wait until the display has taken what it will take. The picture
    // is taken while frames still flow, so that the status line shows the live rate: after the
    // status timer's second tick (the first has no rate yet).
    const qint64 limitMs = 20000 + static_cast<qint64>(o.frames * 1000 / o.settings.fps) * 2;
    QPixmap shot;
    uint64_t shotAt = 0;
    while (window.camera().running() && clock.elapsed() < limitMs) {
        pump(20);
        if (shot.isNull() && clock.elapsed() > 2200 && window.camera().running()) {
            shotAt = window.camera().offered();
            shot = screenshot(window);
        }
    }
    const qint64 offeredMs = clock.elapsed();
    uint64_t last = window.figures().processed();
    for (int quiet = 0; quiet < 10 && clock.elapsed() < limitMs + 5000;) {
        pump(50);
        const uint64_t now = window.figures().processed();
        quiet = now == last ? quiet + 1 : 0;
        last = now;
    }
    // A run too short to catch in flight is shown as it ended.
    if (shot.isNull()) {
        shot = screenshot(window);
        shotAt = window.camera().offered();
    }
    const bool saved = !shot.isNull() && shot.save(QString::fromStdString(o.screenshot));
    const char* kinds[] = {"raw", "shown", "full"};
    for (int k = 0; k < 3; ++k) {
        if (!o.saves[k].empty() && window.saveFrame(kinds[k], QString::fromStdString(o.saves[k]))) {
            std::printf("saved: %s %s\n", kinds[k], o.saves[k].c_str());
        }
    }
    const QRect view = window.viewRect();
    std::printf("brxview: %s %dx%d, %llu frames at %.1f fps asked, %.2f s\n",
                o.settings.format.c_str(), window.frameSize().width(), window.frameSize().height(),
                static_cast<unsigned long long>(o.frames), o.settings.fps, offeredMs / 1000.0);
    std::printf("frames: %s\n", window.figuresText().toLocal8Bit().constData());
    std::printf("camera: %.2f ms to draw and pack a frame, %llu refused\n",
                window.camera().makeMs(),
                static_cast<unsigned long long>(window.camera().refused()));
    std::printf("view: %d,%d %dx%d\n", view.x(), view.y(), view.width(), view.height());
    if (o.settings.cursorX >= 0) {
        std::printf("readout: %s\n", window.readoutText().toLocal8Bit().constData());
    }
    std::printf("histogram: %s\n",
                window.measureText().replace("\n", "; ").toLocal8Bit().constData());
    if (!saved) {
        std::fprintf(stderr, "brxview: cannot write %s\n", o.screenshot.c_str());
        return 1;
    }
    std::printf("screenshot: %s, at frame %llu of %llu\n", o.screenshot.c_str(),
                static_cast<unsigned long long>(shotAt), static_cast<unsigned long long>(o.frames));
    if (window.figures().processed() == 0) {
        std::fprintf(stderr, "brxview: the display processed no frame\n");
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    const int parsed = parse(argc, argv, options);
    if (parsed != 0) {
        return parsed == 1 ? 0 : 2;
    }
    if (options.headless) {
        reexecUnderXvfb(argc, argv);
        options.settings.frames = options.frames;
    }
    QApplication app(argc, argv);
    ViewerWindow window(options.settings);
    if (options.headless) {
        return runHeadless(window, options);
    }
    window.resize(options.windowWidth, options.windowHeight);
    window.show();
    QTimer::singleShot(0, &window, [&window] { window.start(); });
    return app.exec();
}
