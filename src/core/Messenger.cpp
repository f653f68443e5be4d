#include "core/Messenger.h"

#include "core/AutoLock.h"

#include <algorithm>

namespace QTD {

Messenger::Messenger() : Thread("QTD::Messenger") {}

Messenger::~Messenger() {
    shut();
}

std::vector<BrxDisplayCommand*>::iterator Messenger::findProcessor(BrxDisplayCommand* receiver) {
    if (!receiver)
        return receivers.end();
    return std::find(receivers.begin(), receivers.end(), receiver);
}

Messenger& Messenger::addCommandProcessor(BrxDisplayCommand* receiver) {
    bool any;
    {
        std::lock_guard<std::recursive_mutex> hold(guard);
        if (receiver && findProcessor(receiver) == receivers.end()) {
            std::lock_guard<std::mutex> list(listGuard);
            receivers.push_back(receiver);
        }
        any = !receivers.empty();
    }
    if (any)
        start(nullptr);
    return *this;
}

int Messenger::delCommandProcessor(BrxDisplayCommand* receiver) {
    bool none;
    {
        std::lock_guard<std::recursive_mutex> hold(guard);
        auto it = findProcessor(receiver);
        if (it != receivers.end()) {
            std::lock_guard<std::mutex> list(listGuard);
            receivers.erase(it);
        }
        none = receivers.empty();
    }
    if (none)
        stop();
    return 1;
}

std::vector<BrxDisplayCommand*> Messenger::snapshot() {
    std::lock_guard<std::mutex> list(listGuard);
    return receivers;
}

void Messenger::addCommon(Map& target) {
    std::lock_guard<std::recursive_mutex> hold(common.guard);
    for (PROP const& row : common.rows)
        if (!row.key.empty())
            target[row.key] = row.value;
}

// The messenger's own thread never takes `senders`: it holds `guard` while it delivers, and a
// receiver that sends or posts from there would otherwise take `senders` after `guard`, while a
// receiver called by a sender on another thread may add or remove receivers, and so wait for
// `guard` with `senders` held. Receivers accept calls from both threads at once in any case.
RMutex* Messenger::sendersFor() {
    return inOwnThread() ? nullptr : &senders;
}

int Messenger::sendCommandParams(char const* command, Map* params) {
    AutoLock hold(sendersFor(), "");
    char const* name = command ? command : "";
    Map local;
    if (params)
        local = *params;
    addCommon(local);
    int result = 0;
    for (BrxDisplayCommand* receiver : snapshot()) {
        BrxDisplayCommand* target = receiver->GetCommandProcessor(name);
        if (target)
            result |= target->RunCommandParams(name, &local);
    }
    return result;
}

int Messenger::postCommandParams(char const* command, Map* params) {
    AutoLock holdSenders(sendersFor(), "");
    if (!command)
        return 0;
    // No `guard` here: `pending` has its own lock, and delivery takes its batch out of `pending`
    // first. A post waiting for a delivery to end would deadlock with any receiver that, during
    // that delivery, takes a lock the poster holds (the window's input lock, the controller's
    // set-up lock).
    PROPERTIES local;
    if (params)
        for (auto const& pair : *params)
            if (!pair.first.empty())
                local.set(ATTR(pair.first), ATTR(pair.second), true);
    {
        std::lock_guard<std::recursive_mutex> holdCommon(common.guard);
        for (PROP const& row : common.rows)
            if (!row.key.empty())
                local.set(row.key, row.value, true);
    }
    std::lock_guard<std::mutex> holdPending(pending.guard);
    if (!*command)
        return 0;
    // Appending keeps every post's rows; delivery lets the last row of a key win.
    pending.groups[ATTR(command)] = local;
    return 1;
}

bool Messenger::doStep() {
    if (receivers.empty())
        return false;
    // Take what is pending now; a receiver that posts during the delivery (on this thread)
    // finds an empty table and its post waits for the next step.
    std::map<ATTR, PROPERTIES> batch;
    {
        std::lock_guard<std::mutex> holdPending(pending.guard);
        if (pending.groups.empty())
            return false;
        batch.swap(pending.groups);
    }
    Map local;
    for (auto& entry : batch) {
        local.clear();
        {
            std::lock_guard<std::recursive_mutex> holdBag(entry.second.guard);
            for (PROP const& row : entry.second.rows)
                if (!row.key.empty())
                    local[row.key] = row.value;
        }
        for (BrxDisplayCommand* receiver : std::vector<BrxDisplayCommand*>(receivers)) {
            BrxDisplayCommand* target = receiver->GetCommandProcessor(entry.first.c_str());
            if (target)
                target->RunCommandParams(entry.first.c_str(), &local);
        }
    }
    return false;
}

} // namespace QTD
