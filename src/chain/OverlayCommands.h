#pragma once

// The overlay stages' objects and commands, the same on both backends: texts and rectangles
// kept as draw objects, added, changed and deleted by command. `Base` is the stage frame, with
// its bag, lock, Enable and report.

#include "chain/QTDProcs.h"
#include "core/ATTR.h"
#include "core/ParamsHelper.h"
#include "image/TextParser.h"
#include "screen/DrawObjects.h"

#include <map>
#include <mutex>
#include <string>

namespace QTD {

template <class Base> class OverlayCommands : public Base {
public:
    using Map = std::map<std::string, std::string>;
    using Base::Base;

    // Style keys for all objects, and the variables of the text templates.
    virtual bool SetOverlayProperties(Map* props) {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        if (props == nullptr)
            return false;
        objects.defaults = *props;
        return true;
    }
    virtual bool SetOverlayVariables(Map* vars) {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        if (vars == nullptr || objects.parser() == nullptr)
            return false;
        objects.parser()->vars = *vars;
        return true;
    }
    // A negative y places the text by the rule x (top left 1, bottom left 2, ...). Returns the
    // identifier, empty on failure.
    virtual ATTR SetOverlayText(char const* text, int x, int y, Map* params) {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        PROPERTIES bag = bagOf(params);
        ATTR id = bag.get("objectID");
        const bool done =
            y < 0 ? objects.placeText(id, x, text, &bag) : objects.setText(id, x, y, text, &bag);
        return done ? id : ATTR();
    }
    virtual bool DelOverlayObject(const std::string& id) {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        return objects.del(ATTR(id));
    }
    virtual ATTR SetOverlayRect(int x, int y, int w, int h, Map* params) {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        PROPERTIES bag = bagOf(params);
        ATTR id = bag.get("objectID");
        TRECT<int> rect{x, y, w, h};
        return objects.setRect(id, &rect, &bag) ? id : ATTR();
    }
    // "cmd.text.add", "cmd.rect.add" (the identifier goes back as "objectID"), "cmd.del",
    // "cmd.text.del", "cmd.rect.del".
    virtual bool RunCommandParams(const char* command, Map* params) {
        return runCommandParams(ATTR(command), params);
    }

    DrawObjects objects;

protected:
    // The commands "text.add", "rect.add", "del", "text.del", "rect.del", "params.apply",
    // "params.reset" with their values in the stage's bag: the status word, or Unknown.
    static constexpr unsigned int Unknown = ~0u;
    unsigned int runCommand(ATTR const& text) {
        using namespace Procs;
        PROPERTIES& properties = this->properties;
        auto fromBag = [&](Map& map, char const* key) { map[key] = properties.get(key); };
        if (text.same("text.add")) {
            Map map;
            fromBag(map, "text.font");
            fromBag(map, "text.clr");
            fromBag(map, "objectID");
            const ATTR id = SetOverlayText(properties.get("text.text").c_str(),
                                           properties.getAs<int>("text.pos.x", "0"),
                                           properties.getAs<int>("text.pos.y", "0"), &map);
            if (id.empty())
                return this->report(CodeFailed);
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
                return this->report(CodeFailed);
            properties.set("objectID", id, true);
            return 0;
        }
        if (text.same("del") || text.same("text.del") || text.same("rect.del"))
            return DelOverlayObject(properties.get("objectID")) ? 0 : this->report(CodeFailed);
        if (text.same("params.apply")) {
            const ATTR id = properties.get("objectID");
            if (!objects.isExist(id, "")) {
                this->Enable(properties.getAs<int>("enabled", "1") != 0);
                return this->report(CodeFailed);
            }
            PROPERTIES change;
            change.set("x", properties.get("text.pos.x", "0"), true);
            change.set("y", properties.get("text.pos.y", "0"), true);
            change.set("text.font", properties.get("text.font", "default"), true);
            change.set("text.clr", properties.get("text.clr", "0"), true);
            change.set("text", properties.get("text.text"), true);
            objects.update(id, change);
            this->Enable(properties.getAs<int>("enabled", "1") != 0);
            return 0;
        }
        if (text.same("params.reset"))
            return this->ready ? 0 : this->report(CodeFailed);
        return Unknown;
    }

    bool runCommandParams(ATTR const& text, Map* params) {
        ParamsHelper values(params);
        if (text.same("cmd.text.add") || text.same("cmd.rect.add")) {
            const bool isText = text.same("cmd.text.add");
            Map map;
            map["objectID"] = values.get("objectID");
            ATTR id;
            if (isText) {
                map["text.font"] = values.get("text.font", "default");
                map["text.clr"] = values.get("text.clr");
                id =
                    SetOverlayText(values.get("text.text").c_str(), values.getAs<int>("text.pos.x"),
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

private:
    static PROPERTIES bagOf(Map* map) {
        PROPERTIES bag;
        if (map)
            bag = *map;
        return bag;
    }
};

} // namespace QTD
