#pragma once

// One processor in the render window's chain of input handlers. The window walks the chain in
// order for every event; the first processor that answers true has handled it and ends the walk.
// Every base operation declines.
class QTDInput {
public:
    virtual ~QTDInput() {}

    virtual bool mouseDown(int x, int y, bool left, int modifiers) {
        (void)x, (void)y, (void)left, (void)modifiers;
        return false;
    }
    virtual bool mouseMove(int x, int y, int modifiers) {
        (void)x, (void)y, (void)modifiers;
        return false;
    }
    virtual bool mouseUp(int x, int y, bool left, int modifiers) {
        (void)x, (void)y, (void)left, (void)modifiers;
        return false;
    }
    virtual bool mouseDblClick(int x, int y, bool left, int modifiers) {
        (void)x, (void)y, (void)left, (void)modifiers;
        return false;
    }
    virtual bool mouseWheel(int delta) {
        (void)delta;
        return false;
    }
    virtual bool mouseFree() { return false; }
    virtual bool keyDown(int key) {
        (void)key;
        return false;
    }
    virtual bool inputUpdate() { return false; }
};
