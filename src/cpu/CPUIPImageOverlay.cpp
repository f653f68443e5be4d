#include "cpu/CPUIPImageOverlay.h"

#include "core/ATTR.h"
#include "core/ParamsHelper.h"
#include "cpu/MEMSurface.h"
#include "image/QTDImageHelpers.h"
#include "image/TextParser.h"

#include <algorithm>
#include <cstdint>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

QTD::PROPERTIES bagOf(CPUIPImageOverlay::Map* map) {
    QTD::PROPERTIES bag;
    if (map)
        bag = *map;
    return bag;
}

} // namespace

CPUIPImageOverlay::CPUIPImageOverlay(BrxComponent* parentComponent)
    : ImageProcessorData(parentComponent) {
    name = "image.overlay.cpu";
    properties.set("text.font", "default", false);
    properties.set("line.width", "1", false);
}

CPUIPImageOverlay::~CPUIPImageOverlay() {
    objects.surface(nullptr);
    delete surface;
    surface = nullptr;
    releaseData();
}

void CPUIPImageOverlay::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    ImageProcessorData::Release();
    // A stage made for a new format starts with no objects.
    objects.clear();
    objects.surface(nullptr);
    delete surface;
    surface = nullptr;
}

unsigned int CPUIPImageOverlay::fail(int code) {
    lastError = code;
    return statusWord(code);
}

uint32_t CPUIPImageOverlay::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    Release();
    lastError = init(input);
    if (lastError != CodeOk) {
        const int code = lastError;
        Release();
        return fail(code);
    }
    ready = 1;
    return 0;
}

int CPUIPImageOverlay::init(BrxImage* input) {
    if (input == nullptr || input->width == 0 || input->height == 0)
        return CodeBadArgument;
    // Text is drawn on mono and RGB pixels only.
    if (isRawTransport(input->pixelType))
        return CodeNotSupported;
    surface = new MEMSurface();
    QTD::PROPERTIES none;
    if (!surface->init(&none))
        return CodeFailed;
    const int width = int(std::min<uint32_t>(input->width, INT32_MAX));
    const int height = int(std::min<uint32_t>(input->height, INT32_MAX));
    surface->setSize(width, height);
    // The image fills the surface; "adjust" keeps placed texts inside it.
    surface->area = {0.0, 0.0, double(width), double(height)};
    objects.surface(surface);
    inputFormat = QTDImageHelpers::imageCreateFormat(
        inputFormat, width, input->orientation == 1 ? -height : height, input->pixelType);
    return inputFormat == nullptr ? CodeNoResources : CodeOk;
}

uint32_t CPUIPImageOverlay::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPImageOverlay::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    lastError = CodeOk;
    if (surface == nullptr)
        return fail(CodeNotReady);
    if (input == nullptr || input->imageData == nullptr)
        return fail(CodeBadArgument);
    if (objects.count() == 0) {
        output = input;
        return 0;
    }
    QTD::PROPERTIES frame;
    const ATTR address(static_cast<void*>(input));
    frame.set("image", address, true);
    surface->begin(&frame);
    // A number that does not read leaves the frame by exception; the surface still lets go
    // of the caller's pixels.
    struct EndOnExit {
        MEMSurface* surface;
        ~EndOnExit() { surface->end(); }
    } bracket{surface};
    // Text templates read the image being drawn from the parser's variables.
    if (objects.parser() != nullptr)
        objects.parser()->vars.set("image", address, true);
    objects.updatePlacement(nullptr, true);
    objects.render(surface, &frame);
    output = input;
    return statusWord(lastError);
}

bool CPUIPImageOverlay::SetOverlayProperties(Map* props) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    if (props == nullptr)
        return false;
    objects.defaults = *props;
    return true;
}

bool CPUIPImageOverlay::SetOverlayVariables(Map* vars) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    if (vars == nullptr || objects.parser() == nullptr)
        return false;
    objects.parser()->vars = *vars;
    return true;
}

ATTR CPUIPImageOverlay::SetOverlayText(char const* text, int x, int y, Map* params) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QTD::PROPERTIES bag = bagOf(params);
    ATTR id = bag.get("objectID");
    const bool done =
        y < 0 ? objects.placeText(id, x, text, &bag) : objects.setText(id, x, y, text, &bag);
    return done ? id : ATTR();
}

ATTR CPUIPImageOverlay::SetOverlayRect(int x, int y, int w, int h, Map* params) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    QTD::PROPERTIES bag = bagOf(params);
    ATTR id = bag.get("objectID");
    QTD::TRECT<int> rect{x, y, w, h};
    return objects.setRect(id, &rect, &bag) ? id : ATTR();
}

bool CPUIPImageOverlay::DelOverlayObject(const std::string& id) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    return objects.del(ATTR(id));
}

unsigned int CPUIPImageOverlay::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    return runCommand(ATTR(command));
}

unsigned int CPUIPImageOverlay::runCommand(ATTR const& text) {
    auto fromBag = [this](Map& map, char const* key) { map[key] = properties.get(key); };
    if (text.same("text.add")) {
        Map map;
        fromBag(map, "text.font");
        fromBag(map, "text.clr");
        fromBag(map, "objectID");
        const ATTR id = SetOverlayText(properties.get("text.text").c_str(),
                                       properties.getAs<int>("text.pos.x", "0"),
                                       properties.getAs<int>("text.pos.y", "0"), &map);
        if (id.empty())
            return fail(CodeFailed);
        properties.set("objectID", id, true);
        return 0;
    }
    if (text.same("rect.add")) {
        Map map;
        fromBag(map, "line.width");
        fromBag(map, "line.clr");
        fromBag(map, "objectID");
        const ATTR id = SetOverlayRect(
            properties.getAs<int>("rect.x", "0"), properties.getAs<int>("rect.y", "0"),
            properties.getAs<int>("rect.w", "0"), properties.getAs<int>("rect.h", "0"), &map);
        if (id.empty())
            return fail(CodeFailed);
        properties.set("objectID", id, true);
        return 0;
    }
    if (text.same("del") || text.same("text.del") || text.same("rect.del"))
        return DelOverlayObject(properties.get("objectID")) ? 0 : fail(CodeFailed);
    if (text.same("params.apply")) {
        const ATTR id = properties.get("objectID");
        if (!objects.isExist(id, "")) {
            Enable(properties.getAs<int>("enabled", "1") != 0);
            return fail(CodeFailed);
        }
        QTD::PROPERTIES change;
        change.set("x", properties.get("text.pos.x", "0"), true);
        change.set("y", properties.get("text.pos.y", "0"), true);
        change.set("text.font", properties.get("text.font", "default"), true);
        change.set("text.clr", properties.get("text.clr", "0"), true);
        change.set("text", properties.get("text.text"), true);
        objects.update(id, change);
        Enable(properties.getAs<int>("enabled", "1") != 0);
        return 0;
    }
    if (text.same("params.reset"))
        return ready ? 0 : fail(CodeFailed);
    return fail(CodeUnknownCommand);
}

bool CPUIPImageOverlay::RunCommandParams(const char* command, Map* params) {
    return runCommandParams(ATTR(command), params);
}

bool CPUIPImageOverlay::runCommandParams(ATTR const& text, Map* params) {
    QTD::ParamsHelper values(params);
    if (text.same("cmd.text.add") || text.same("cmd.rect.add")) {
        const bool isText = text.same("cmd.text.add");
        Map map;
        map["objectID"] = values.get("objectID");
        ATTR id;
        if (isText) {
            map["text.font"] = values.get("text.font", "default");
            map["text.clr"] = values.get("text.clr");
            id = SetOverlayText(values.get("text.text").c_str(), values.getAs<int>("text.pos.x"),
                                values.getAs<int>("text.pos.y"), &map);
        } else {
            map["line.width"] = values.get("line.width", "1");
            map["line.clr"] = values.get("line.clr");
            id = SetOverlayRect(values.getAs<int>("rect.x"), values.getAs<int>("rect.y"),
                                values.getAs<int>("rect.w"), values.getAs<int>("rect.h"), &map);
        }
        values.set("objectID", id, true);
        return !id.empty();
    }
    if (text.same("cmd.del") || text.same("cmd.text.del") || text.same("cmd.rect.del"))
        return DelOverlayObject(values.get("objectID"));
    return false;
}

BrxDisplayCPU::ImageOverlay* BrxDisplayCPU::ImageOverlay::CreateComponent(BrxComponent* parent) {
    return new CPUIPImageOverlay(parent);
}

void BrxDisplayCPU::ImageOverlay::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
