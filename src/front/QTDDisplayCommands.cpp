// The commands of the display controller: view, overlay, image and menu commands, and the
// view, overlay, notification and context-menu operations behind them.

#include "front/QTDDisplay.h"

#include "chain/QTDProcessor.h"
#include "chain/QTDProcs.h"
#include "core/HandOver.h"
#include "core/ParamsHelper.h"
#include "core/Thread.h"
#include "image/TextParser.h"
#include "screen/DrawObjects.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxImgProcessor.h>

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QThread>
#include <QWidget>

#include <array>
#include <cmath>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

// How long a menu command from another thread waits for the display's thread.
constexpr int MenuWaitMs = 2000;

const char* const COMMANDS_VIEW[] = {
    "cmd.display.view.zoom.in",    "cmd.display.view.zoom.out",  "cmd.display.view.fit",
    "cmd.display.view.scale",      "cmd.display.view.translate", "cmd.display.view.at",
    "cmd.display.view.status",     "cmd.display.view.info",      "cmd.display.view.image",
    "cmd.display.view.nofication", "cmd.display.view.moveblock",
};

const char* const COMMANDS_OVERLAY[] = {
    "cmd.display.overlay.params",   "cmd.display.overlay.text.add",
    "cmd.display.overlay.rect.add", "cmd.display.overlay.add",
    "cmd.display.overlay.del",      "cmd.display.overlay.text.del",
    "cmd.display.overlay.rect.del", "cmd.display.overlay.profline.add",
};

template <size_t N> bool listed(const char* const (&table)[N], const ATTR& command) {
    for (const char* entry : table) {
        if (command.same(entry, true)) {
            return true;
        }
    }
    return false;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Commands

int QTDDisplay::RunCommandParams(const char* command, Map* params) {
    const ATTR name(command);
    Map none;
    Map* given = params != nullptr ? params : &none;
    if ((name.same("cmd.parameter.set") || name.same("cmd.parameter.get")) && params != nullptr) {
        return processParameter(command, params);
    }
    if (name.samel("cmd.display.view")) {
        return RunCommandDisplayView(name.c_str(), given);
    }
    if (name.samel("cmd.display.overlay")) {
        return RunCommandDisplayOverlay(name.c_str(), params);
    }
    if (name.same("cmd.system.notification.add") && params != nullptr) {
        QTD::ParamsHelper helper(params);
        auto* receiver = static_cast<BrxDisplayCommand*>(helper.getAs<void*>("proc"));
        return AppendNotificationProc(receiver) & 0xFF;
    }
    if (name.same("cmd.system.notification.del") && params != nullptr) {
        QTD::ParamsHelper helper(params);
        auto* receiver = static_cast<BrxDisplayCommand*>(helper.getAs<void*>("proc"));
        return DeleteNotificationProc(receiver) & 0xFF;
    }
    if (name.same("cmd.image.rebuild")) {
        QTD::postedTo(this);
        emit signalRebuildImage();
        return currentImage != nullptr ? 1 : 0;
    }
    if (name.samel("cmd.system.menu")) {
        return RunCommandSystemMenu(name.c_str(), given);
    }
    if (name.samel("cmd.image.")) {
        return params != nullptr ? RunCommandImage(name.c_str(), params) : 0;
    }
    if (name.samel("@")) {
        QTD::PROPERTIES bag;
        bag = *given;
        sendObjectMessage(name.c_str(), &bag);
        return 0;
    }
    return 0;
}

int QTDDisplay::RunCommandImage(const char* command, Map* params) {
    const ATTR name(command);
    QTD::ParamsHelper helper(params);
    // A pass rewrites the frame's record and the picture: the numbers come between passes.
    std::lock_guard<std::recursive_mutex> component(componentLock());
    if (currentImage == nullptr || currentImage->imageData == nullptr) {
        return 0;
    }
    const bool gpu = properties.getAs<int>("system.opengl", "0", true) != 0;
    QTDWindow* window = getWindow();
    // The picture of a GPU chain lies on the graphics card: its stage reads it back when asked.
    auto readBack = [&](BrxImgProcessor* stage) {
        if (gpu && stage != nullptr && window != nullptr && window->surface != nullptr) {
            window->surface->begin(nullptr);
            stage->GetComponent()->RunCommand("readGPU");
            window->surface->end();
        }
        return stage != nullptr ? stage->Output() : nullptr;
    };
    BrxImage* shown = nullptr;
    if (chain != nullptr && name.same("cmd.image.pixel", true)) {
        shown = gpu ? readBack(chain->GetProcessor("image.display")) : chain->Output();
    }
    readout.frame(currentImage, shown, currentImage->pixelType,
                  uint64_t(processedCounter.frames.load()));
    QTDScreen* screen = getScreen();
    const ATTR cs = helper.get("cs", "img");
    Map answer;
    bool done = false;
    if (name.same("cmd.image.pixel", true)) {
        double x = helper.getAs<double>("pos.x", "0"), y = helper.getAs<double>("pos.y", "0");
        if (readout.toImage(screen, cs, x, y)) {
            const int px = int(std::floor(x)), py = int(std::floor(y));
            answer["x"] = std::to_string(px);
            answer["y"] = std::to_string(py);
            answer["inside"] = readout.pixel(px, py, answer) ? "1" : "0";
            done = true;
        }
    } else if (name.same("cmd.image.statistics", true)) {
        const int width = int(currentImage->width), height = int(currentImage->height);
        double x0 = helper.getAs<double>("rect.x", "0"), y0 = helper.getAs<double>("rect.y", "0");
        double x1 = x0 + helper.getAs<double>("rect.w", ATTR(width)),
               y1 = y0 + helper.getAs<double>("rect.h", ATTR(height));
        if (readout.toImage(screen, cs, x0, y0) && readout.toImage(screen, cs, x1, y1)) {
            const int left = int(std::floor(x0)), top = int(std::floor(y0));
            done =
                readout.statistics(left, top, int(std::ceil(x1)) - left, int(std::ceil(y1)) - top,
                                   helper.getAs<int>("bins", "256"), answer);
        }
    } else if (name.same("cmd.image.profile", true)) {
        QTD::PROPERTIES line;
        const ATTR id = helper.get("objectID");
        if (!id.empty()) {
            QTD::PROPERTIES* object =
                window != nullptr ? window->drawObjects.find(id, true) : nullptr;
            if (object == nullptr || !object->get("type").same("line")) {
                return 0;
            }
            line = *object;
        } else {
            line = *params;
        }
        // A drawn line keeps the coordinates it was given beside the window's ones.
        const bool given = !id.empty() && line.find("x0.cs");
        auto coordinate = [&](const char* key) {
            return line.getAs<double>(given ? ATTR::format("%s.cs", key) : ATTR(key), "0");
        };
        double x0 = coordinate("x0"), y0 = coordinate("y0");
        double x1 = coordinate("x1"), y1 = coordinate("y1");
        const ATTR lineCs = line.get("cs", id.empty() ? "img" : "win");
        done = readout.toImage(screen, lineCs, x0, y0) && readout.toImage(screen, lineCs, x1, y1) &&
               readout.profile(x0, y0, x1, y1, answer);
    }
    if (name.same("cmd.image.save", true)) {
        const ATTR what = helper.get("what", "shown");
        BrxImgProcessor* stage =
            chain != nullptr && !what.same("raw")
                ? chain->GetProcessor(what.same("full") ? "image.output" : "image.display")
                : nullptr;
        std::string why;
        done = readout.save(helper.get("file").c_str(), what, readBack(stage), why);
        if (!done) {
            log.warn("cmd.image.save: %s", why.c_str());
        }
    }
    if (!done) {
        return 0;
    }
    for (auto& entry : answer) {
        (*params)[entry.first] = entry.second;
    }
    return 1;
}

int QTDDisplay::processParameter(const char* command, Map* params) {
    std::lock_guard<std::recursive_mutex> component(componentLock());
    QTD::ParamsHelper helper(params);
    const ATTR name = helper.get("name");
    const ATTR value = helper.get("value");
    QTDScreen* screen = getScreen();
    if (ATTR(command).same("cmd.parameter.set")) {
        if (name.same("display.view.bgcolor") && screen != nullptr) {
            screen->props.set("color", value, true);
            if (showing()) {
                getWindow()->update();
            }
        } else if (name.same("image.notification.flags.set")) {
            notificationFlags |= value.as<int>();
        } else if (name.same("image.notification.flags.clear")) {
            notificationFlags &= ~value.as<int>();
        } else if (params != nullptr) {
            properties.set(name, value, true);
        }
        return 0;
    }
    if (name.same("display.view.fit")) {
        if (screen != nullptr) {
            properties.set("display.view.fit", ATTR(screen->fit()), true);
        }
    } else if (name.same("display.view.scale")) {
        if (screen != nullptr) {
            properties.set("display.view.scale", ATTR::format("%f", screen->scale()), true);
        }
    } else if (params != nullptr) {
        helper.set("value", properties.get(name, "", true), true);
    }
    return 0;
}

unsigned int QTDDisplay::RunCommand(const char* command) {
    // "text.add" ends in an overlay call, which takes the set-up lock: take it first, so that
    // the order of the two stays that of the set-up.
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    std::lock_guard<std::recursive_mutex> component(componentLock());
    const ATTR name(command);
    // The overlay call needs the display's own state as it is: a failure stored here would both
    // refuse the text and keep the status line off until the next image.
    if (name.same("text.add")) {
        Map params{{"text.font", properties.get("text.font", "default", true)},
                   {"text.clr", properties.get("text.clr", "", true)},
                   {"objectID", properties.get("objectID", "", true)},
                   {"cs", properties.get("cs", "", true)}};
        const ATTR id = SetOverlayText(properties.get("text.text", "", true).c_str(),
                                       properties.getAs<int>("text.pos.x", "0", true),
                                       properties.getAs<int>("text.pos.y", "0", true), &params);
        if (!id.empty()) {
            properties.set("objectID", id, true);
            return 0;
        }
        return status(CodeFailed);
    }
    if (name.same("processing.proc.add") && chain != nullptr) {
        auto* stage = static_cast<BrxImgProcessor*>(properties.getAs<void*>("processor", "", true));
        chain->AddProcessor("customProcessor", stage);
    } else if (name.same("processing.proc.del") && chain != nullptr) {
        chain->DeleteProcessor("customProcessor");
    }
    // Anything but "text.add" is answered as unhandled, the chain commands too, and the word
    // stays in lastError.
    const unsigned int word = status(CodeUnknownCommand);
    lastError = int32_t(word);
    return word;
}

int QTDDisplay::RunCommandDisplayView(const char* command, Map* params) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    const ATTR name(command);
    if (!listed(COMMANDS_VIEW, name)) {
        return 0;
    }
    Map none;
    QTD::ParamsHelper helper(params != nullptr ? params : &none);
    QTDScreen* screen = getScreen();
    QTDWindow* window = getWindow();

    if (name.same("cmd.display.view.zoom.in", true)) {
        return SetZoom(true, helper.getAs<double>("zoom.coef", "-1."), true) ? 1 : 0;
    }
    if (name.same("cmd.display.view.zoom.out", true)) {
        return SetZoom(false, helper.getAs<double>("zoom.coef", "-1."), true) ? 1 : 0;
    }
    if (name.same("cmd.display.view.fit", true)) {
        const int mode = helper.getAs<int>("mode", "1");
        if (!SetFitMode(mode, true)) {
            return 0;
        }
        properties.set("display.view.fit", ATTR(mode), true);
        return 1;
    }
    if (name.same("cmd.display.view.scale", true)) {
        return SetScale(helper.getAs<double>("scale", ATTR::format("%f", 0.0)), true) ? 1 : 0;
    }
    if (name.same("cmd.display.view.translate", true)) {
        if (screen == nullptr) {
            return 0;
        }
        double x = helper.getAs<double>("pos.x", "0");
        double y = helper.getAs<double>("pos.y", "0");
        const bool inside =
            screen->translate(&x, &y, helper.get("cs.src"), helper.get("cs.dst"), true, false);
        helper.set("pos.x", ATTR::format("%f", x), true);
        helper.set("pos.y", ATTR::format("%f", y), true);
        helper.set("result", inside ? "1" : "0", true);
        return 1;
    }
    if (name.same("cmd.display.view.at", true)) {
        if (screen == nullptr) {
            return 0;
        }
        double x = helper.getAs<double>("pos.x", "0");
        double y = helper.getAs<double>("pos.y", "0");
        const ATTR cs = helper.get("cs", "base");
        if (!cs.same("base", true)) {
            screen->translate(&x, &y, cs, "base", true, false);
        }
        return screen->at(x, y) ? 1 : 0;
    }
    const bool status = name.same("cmd.display.view.status", true);
    if (status || name.same("cmd.display.view.info", true)) {
        // Either line toggles: drawn when it comes on, its overlay object dropped when it goes.
        const char* const key = status ? "display.view.status" : "display.view.info";
        const bool on = properties.getAs<int>(key, "0", true) == 0;
        properties.set(key, on ? "1" : "0", true);
        if (on) {
            status ? updateStatus() : drawInfo();
        } else {
            DelOverlayObject(status ? "@status" : "@info");
        }
        return 1;
    }
    if (name.same("cmd.display.view.image", true)) {
        if (screen == nullptr || window == nullptr) {
            return 0;
        }
        const QTD::TRECT<int> area = window->windowRect(false);
        double x = area.x, y = area.y, w = area.width, h = area.height;
        const bool corner = screen->translate(&x, &y, "win", "img", true, false);
        const bool extent = screen->translate(&w, &h, "win", "img", false, false);
        helper.set("pos.x", ATTR::format("%f", x), true);
        helper.set("pos.y", ATTR::format("%f", y), true);
        helper.set("dim.w", ATTR::format("%f", w), true);
        helper.set("dim.h", ATTR::format("%f", h), true);
        helper.set("inside", ATTR::format("%d", corner && extent ? 1 : 0), true);
        return 1;
    }
    if (name.same("cmd.display.view.nofication", true)) {
        if (window != nullptr) {
            QTD::PROPERTIES bag;
            bag.set("flags", helper.get("flags"), true);
            window->processCommand("cmd.notification.flags.set", &bag);
        }
        return 1;
    }
    if (name.same("cmd.display.view.moveblock", true)) {
        if (window != nullptr) {
            QTD::PROPERTIES bag;
            bag.set("state", helper.get("state"), true);
            window->processCommand("cmd.display.view.moveblock", &bag);
        }
        return 1;
    }
    return 0;
}

void QTDDisplay::drawInfo() {
    const bool gpu = properties.getAs<int>("system.opengl", "0", true) == 1;
    QTD::PROPERTIES info;
    info.set("ID", properties.get("system.objectID", "", true), true);
    info.set("type", gpu ? "GPU" : "CPU", true);
    QTDWindow* window = getWindow();
    if (gpu && window != nullptr && window->surface != nullptr) {
        info.set("vendor", window->surface->props.get("gl.vendor", "", true), true);
        info.set("opengl", window->surface->props.get("gl.version", "", true), true);
    }
    Map params{{"objectID", "@info"},
               {"adjust", gpu ? "1" : "0"},
               {"text.clr", properties.get("display.overlay.status.clr", "", true)},
               {"text.font", properties.get("display.overlay.status.font", "", true)}};
    const ATTR text = info.text(false, " ");
    SetOverlayText(text.c_str(), 2, -1, &params);
}

int QTDDisplay::RunCommandDisplayOverlay(const char* command, Map* params) {
    if (params == nullptr || !listed(COMMANDS_OVERLAY, ATTR(command))) {
        return 0;
    }
    return runOverlayCommand(ATTR(command), *params);
}

int QTDDisplay::runOverlayCommand(const ATTR& name, Map& params) {
    QTD::ParamsHelper helper(&params);
    // A key the caller left out takes the bag's overlay style, then the built-in value.
    auto styled = [this, &params](const char* key, const char* bagKey, const char* fallback) {
        if (params.find(key) == params.end()) {
            params[key] = properties.get(bagKey, fallback, true);
        }
    };
    auto idBack = [&helper](const ATTR& id) {
        helper.set("objectID", id, true);
        return id.empty() ? 0 : 1;
    };
    if (name.same("cmd.display.overlay.params", true)) {
        SetOverlayProperties(static_cast<Map*>(helper.getAs<void*>("props")));
        SetOverlayVariables(static_cast<Map*>(helper.getAs<void*>("vars")));
        properties.set(
            "display.overlay.text.font",
            helper.get("text.font", properties.get("display.overlay.text.font", "", true)), true);
        properties.set("display.overlay.text.clr",
                       helper.get("text.clr", properties.get("display.overlay.text.clr", "", true)),
                       true);
        return 1;
    }
    if (name.same("cmd.display.overlay.text.add", true)) {
        styled("text.font", "display.overlay.text.font", "default");
        styled("text.clr", "display.overlay.text.clr", "0");
        const ATTR text = helper.get("text.text");
        const int x = helper.getAs<int>("text.pos.x", "0");
        const int y = helper.getAs<int>("text.pos.y", "0");
        return idBack(SetOverlayText(text.c_str(), x, y, &params));
    }
    // Rectangles and profile lines: the line style, then four coordinates.
    auto lineShape = [&](std::array<const char*, 4> keys) {
        styled("line.width", "display.overlay.line.width", "1");
        styled("line.clr", "display.overlay.line.clr", "0");
        std::array<int, 4> v{};
        for (size_t i = 0; i < v.size(); ++i)
            v[i] = helper.getAs<int>(keys[i], "0");
        return v;
    };
    if (name.same("cmd.display.overlay.rect.add", true)) {
        const auto [x, y, w, h] = lineShape({"rect.x", "rect.y", "rect.w", "rect.h"});
        return idBack(SetOverlayRect(x, y, w, h, &params));
    }
    if (name.same("cmd.display.overlay.profline.add", true)) {
        const auto [x0, y0, x1, y1] = lineShape({"x0", "y0", "x1", "y1"});
        return idBack(SetOverlayProfileLine(x0, y0, x1, y1, &params));
    }
    if (name.same("cmd.display.overlay.add", true)) {
        // The names lack their "cmd." prefix and match nothing: text and rectangles are never
        // drawn by this command, and callers have come to rely on its answer.
        const ATTR type = helper.get("type");
        if (type.same("text")) {
            return RunCommandParams("display.overlay.text.add", &params);
        }
        if (type.same("rect")) {
            return RunCommandParams("display.overlay.rect.add", &params);
        }
        return 1;
    }
    // The three deletions.
    return DelOverlayObject(helper.get("objectID").c_str()) ? 1 : 0;
}

int QTDDisplay::RunCommandSystemMenu(const char* command, Map* params) {
    // Menus are widgets: made, shown and deleted on the thread that owns them. The caller waits
    // holding none of the controller's locks, which that thread may need meanwhile, and gives up
    // with 0 if that thread does not come to it.
    if (QThread::currentThread() != thread()) {
        int result = 0;
        if (!QTD::Thread::CallOn(
                this, [&] { result = RunCommandSystemMenu(command, params); }, MenuWaitMs)) {
            log.error("QTDDisplay::RunCommandSystemMenu(): %s: the display's thread did not "
                      "answer within %d ms",
                      command, MenuWaitMs);
        }
        return result;
    }
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    const ATTR name(command);
    Map none;
    QTD::ParamsHelper helper(params != nullptr ? params : &none);
    if (name.same("cmd.system.menu.create")) {
        if (getScreen() == nullptr) {
            return 0;
        }
        auto* menu = new QMenu(viewer);
        QAction* zoomIn = menu->addAction(tr("Zoom In\t[plus]"), this, &QTDDisplay::slotMenuZoomIn);
        zoomIn->setEnabled(CanZoom(true, -1.0, true));
        QAction* zoomOut =
            menu->addAction(tr("Zoom Out\t[minus]"), this, &QTDDisplay::slotMenuZoomOut);
        zoomOut->setEnabled(CanZoom(false, -1.0, true));
        QMenu* fit = menu->addMenu("Set fit mode...");
        fit->addAction(tr("Fit to Window\t[0]"), this, &QTDDisplay::slotMenuFitWindow);
        fit->addAction(tr("Fill Window\t[2]"), this, &QTDDisplay::slotMenuFillWindow);
        QMenu* zoom = menu->addMenu("Set zoom...");
        zoom->addAction(tr("25%"), this, &QTDDisplay::slotMenuZoom25);
        zoom->addAction(tr("50%"), this, &QTDDisplay::slotMenuZoom50);
        zoom->addAction(tr("100%\t[1]"), this, &QTDDisplay::slotMenuZoom100);
        zoom->addAction(tr("200%"), this, &QTDDisplay::slotMenuZoom200);
        QMenu* center = menu->addMenu("Center at...");
        center->addAction(tr("Image Center\t[C]"), this, &QTDDisplay::slotMenuCenterImage);
        center->addAction(tr("Here\t[double click]"), this, &QTDDisplay::slotMenuCenterHere);
        helper.set("qmenu", ATTR(static_cast<void*>(menu)), true);
        helper.set("qmenuWidget", ATTR(static_cast<void*>(static_cast<QWidget*>(viewer))), true);
        return 1;
    }
    if (name.same("cmd.system.menu.exec")) {
        auto* menu = static_cast<QMenu*>(helper.getAs<void*>("qmenu"));
        if (menu != nullptr) {
            menu->exec(QCursor::pos());
        }
        return 1;
    }
    if (name.same("cmd.system.menu.delete")) {
        delete static_cast<QMenu*>(helper.getAs<void*>("qmenu"));
        return 1;
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// View operations

// The view operations share their frame: the set-up lock, a screen to act on, and a redraw
// when asked for and the operation took.
template <class Op> bool QTDDisplay::viewOperation(bool redraw, Op op) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    QTDScreen* screen = getScreen();
    if (screen == nullptr || !op(screen)) {
        return false;
    }
    if (redraw) {
        viewer->redraw(true);
    }
    return true;
}

// A coefficient near zero means the stored "display.view.zoom.coef".
double QTDDisplay::zoomCoef(double coef) {
    ATTR stored;
    if (coef < 1e-5 && properties.find("display.view.zoom.coef", &stored, true)) {
        coef = stored.as<double>();
    }
    return coef;
}

bool QTDDisplay::SetFitMode(int mode, bool redraw) {
    return viewOperation(redraw, [&](QTDScreen* screen) { return screen->fit(mode, true); });
}

bool QTDDisplay::CenterAt(double x, double y, bool redraw) {
    return viewOperation(redraw, [&](QTDScreen* screen) { return screen->at(x, y); });
}

bool QTDDisplay::SetZoom(bool zoomIn, double coef, bool redraw) {
    return viewOperation(
        redraw, [&](QTDScreen* screen) { return screen->zoom(zoomIn, zoomCoef(coef), false); });
}

bool QTDDisplay::CanZoom(bool zoomIn, double coef, bool query) {
    (void)query;
    return viewOperation(
        false, [&](QTDScreen* screen) { return screen->zoom(zoomIn, zoomCoef(coef), true); });
}

bool QTDDisplay::SetScale(double scale, bool redraw) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    QTDScreen* screen = getScreen();
    if (screen == nullptr) {
        return false;
    }
    screen->scale(scale, false);
    const bool matched = std::fabs(screen->props.getAs<double>("scale", "0", true) - scale) < 1e-7;
    if (redraw) {
        viewer->redraw(true);
    }
    return matched;
}

// ---------------------------------------------------------------------------------------------
// Overlays

bool QTDDisplay::SetOverlayProperties(Map* props) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing() || props == nullptr) {
        return false;
    }
    getWindow()->drawObjects.defaults = *props;
    return true;
}

bool QTDDisplay::SetOverlayVariables(Map* vars) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing() || vars == nullptr) {
        return false;
    }
    QTD::TextParser* parser = getWindow()->drawObjects.parser();
    if (parser == nullptr) {
        return false;
    }
    parser->vars = *vars;
    return true;
}

// The three overlay setters share their frame: the set-up lock, the caller's parameters as a
// bag, and a redraw when the window took the object.
template <class Set> QTD::ATTR QTDDisplay::addOverlay(Map* params, Set set) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing()) {
        return ATTR();
    }
    QTD::PROPERTIES bag;
    if (params != nullptr) {
        bag = *params;
    }
    const ATTR id = set(getWindow(), bag);
    if (!id.empty()) {
        viewer->redraw(true);
    }
    return id;
}

QTD::ATTR QTDDisplay::SetOverlayText(const char* text, int x, int y, Map* params) {
    ATTR line(text);
    return addOverlay(params, [&](QTDWindow* window, QTD::PROPERTIES& bag) {
        return window->setOverlayText(const_cast<char*>(line.c_str()), x, y, bag);
    });
}

QTD::ATTR QTDDisplay::SetOverlayRect(int x, int y, int w, int h, Map* params) {
    return addOverlay(params, [&](QTDWindow* window, QTD::PROPERTIES& bag) {
        return window->setOverlayRect(x, y, w, h, bag);
    });
}

QTD::ATTR QTDDisplay::SetOverlayProfileLine(int x0, int y0, int x1, int y1, Map* params) {
    return addOverlay(params, [&](QTDWindow* window, QTD::PROPERTIES& bag) {
        return window->setOverlayProfileLine(x0, y0, x1, y1, bag);
    });
}

bool QTDDisplay::DelOverlayObject(const char* id) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing()) {
        return false;
    }
    // Under the window's render lock like the window's own overlay calls: a refresh of the
    // overlays walks the list by index and must not see it shrink.
    QTDWindow* window = getWindow();
    std::lock_guard<std::recursive_mutex> render(window->renderMutex);
    QTD::DrawObjects& objects = window->drawObjects;
    const bool exists = objects.isExist(ATTR(id), ATTR());
    if (exists && objects.del(ATTR(id))) {
        viewer->redraw(true);
    }
    return exists;
}

int QTDDisplay::getProfileLines(int** lines) {
    QTDWindow* window = getWindow();
    if (window == nullptr) {
        return 0;
    }
    // A view change on the window's thread replaces the line objects while they are read here.
    std::lock_guard<std::recursive_mutex> render(window->renderMutex);
    QTD::DrawObjects& objects = window->drawObjects;
    static const char* const Keys[4] = {"x0", "y0", "x1", "y1"};
    int count = 0;
    // From the last line to the first, as the window counts for deletion; each in the
    // coordinates it was given.
    for (int i = objects.count() - 1; i >= 0; --i) {
        QTD::PROPERTIES* object = objects.at(i);
        if (object == nullptr || !object->get("type").same("line")) {
            continue;
        }
        if (lines != nullptr && *lines != nullptr) {
            for (int k = 0; k < 4; ++k) {
                ATTR value = object->get(Keys[k]);
                object->find(ATTR(Keys[k]) + ".cs", &value);
                (*lines)[count * 4 + k] = value.as<int>();
            }
        }
        ++count;
    }
    return count;
}

void QTDDisplay::deleteProfileLine(int index) {
    if (QTDWindow* window = getWindow()) {
        window->deleteLine(index);
    }
}

void QTDDisplay::setActiveProfileLine(int index) {
    if (QTDWindow* window = getWindow()) {
        window->activeLine(index);
    }
}

void QTDDisplay::clearProfileLines() {
    if (QTDWindow* window = getWindow()) {
        window->clearLines();
    }
}

// ---------------------------------------------------------------------------------------------
// Notifications

// The messenger guards its own list. Holding `setupLock` around it would nest the messenger's
// delivery lock inside `setupLock`, while a receiver that steers the view from a delivery takes
// them the other way round.
int QTDDisplay::AppendNotificationProc(BrxDisplayCommand* receiver) {
    messenger.addCommandProcessor(receiver);
    return 1;
}

int QTDDisplay::DeleteNotificationProc(BrxDisplayCommand* receiver) {
    messenger.delCommandProcessor(receiver);
    return 1;
}

// ---------------------------------------------------------------------------------------------
// Context menu

void QTDDisplay::slotMenuZoomIn() {
    SetZoom(true, -1.0, true);
}

void QTDDisplay::slotMenuZoomOut() {
    SetZoom(false, -1.0, true);
}

void QTDDisplay::slotMenuFitWindow() {
    SetFitMode(QTDScreen::FitWindow, true);
}

void QTDDisplay::slotMenuFillWindow() {
    SetFitMode(QTDScreen::FillWindow, true);
}

void QTDDisplay::scaleFromMenu(double scale) {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (QTDScreen* screen = getScreen()) {
        screen->scale(scale, false);
        viewer->redraw(true);
    }
}

// Scale is image pixels per screen pixel: 25% shows four image pixels in one.
void QTDDisplay::slotMenuZoom25() {
    scaleFromMenu(4.0);
}

void QTDDisplay::slotMenuZoom50() {
    scaleFromMenu(2.0);
}

void QTDDisplay::slotMenuZoom100() {
    scaleFromMenu(1.0);
}

void QTDDisplay::slotMenuZoom200() {
    scaleFromMenu(0.5);
}

void QTDDisplay::slotMenuCenterImage() {
    CenterAt(0.5, 0.5, true);
}

void QTDDisplay::slotMenuCenterHere() {
    std::lock_guard<std::recursive_mutex> setup(setupLock);
    if (!showing()) {
        return;
    }
    QTDWindow* window = getWindow();
    QTDScreen* screen = window->screen;
    if (screen == nullptr) {
        return;
    }
    double x = window->properties.getAs<double>("mouse.win.x", "0", true);
    double y = window->properties.getAs<double>("mouse.win.y", "0", true);
    screen->translate(&x, &y, "win", "base", true, false);
    screen->at(x, y);
}
