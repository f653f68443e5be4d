#pragma once

#include <brx/BrxDisplayCommand.h>

#include "core/PROPERTIES.h"
#include "core/PROPERTIESMAP.h"
#include "core/RMutex.h"
#include "core/Thread.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace QTD {

// Delivers notifications to the registered receivers: at once on the caller's thread
// (sendCommandParams), or merged by name and delivered on the messenger's own polling thread
// (postCommandParams), newest value of a key winning, names in alphabetical order. The thread
// runs while there are receivers; posts wait for one.
class Messenger : public Thread {
public:
    using Map = std::map<std::string, std::string>;

    Messenger();
    ~Messenger() override;

    virtual Messenger& addCommandProcessor(BrxDisplayCommand* receiver);
    virtual int delCommandProcessor(BrxDisplayCommand* receiver);
    // Calls every receiver with `params` plus the rows of `common` (which win); returns the
    // bitwise or of the results. Receivers are called while `senders` is held.
    virtual int sendCommandParams(char const* command, Map* params);
    // Merges the notification into the pending one of the same name. 1 if stored.
    virtual int postCommandParams(char const* command, Map* params);
    virtual PROPERTIES* props() { return &common; }

    bool doStep() override;

    // Position of `receiver` in `receivers`, or the end. Call with `guard` held.
    std::vector<BrxDisplayCommand*>::iterator findProcessor(BrxDisplayCommand* receiver);

    std::vector<BrxDisplayCommand*> receivers;
    PROPERTIESMAP pending;
    PROPERTIES common;
    RMutex senders;

private:
    RMutex* sendersFor();
    std::vector<BrxDisplayCommand*> snapshot();
    void addCommon(Map& target);

    // Lets sendCommandParams read the list while doStep holds `guard` for a delivery.
    std::mutex listGuard;
};

} // namespace QTD
