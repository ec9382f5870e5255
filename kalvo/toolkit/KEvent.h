#pragma once

#include <kalvo/foundation/KString.h>
#include <kalvo/platform/CPoint.h>

class KComponent;

// An input or notification event on its way through the component tree. Mouse points are
// in the coordinates of the component the event is offered to: containers translate them
// as they pass the event down. A handler that uses the event consumes it, which ends the
// route.
class KEvent {
public:
    enum Type {
        NONE,
        KEY_PRESSED,
        KEY_RELEASED,
        MOUSE_PRESSED,
        MOUSE_RELEASED,
        MOUSE_MOVED,
        MOUSE_DRAGGED,
        MOUSE_WHEEL,
        MENU_COMMAND,  // a menu choice, by command number and name
        ACTION,        // a component telling its listeners, by a dotted name
    };

    // Modifier and button flags.
    static constexpr unsigned SHIFT = 0x1;
    static constexpr unsigned CONTROL = 0x2;
    static constexpr unsigned ALT = 0x4;
    static constexpr unsigned BUTTON1 = 0x10;  // left
    static constexpr unsigned BUTTON2 = 0x20;  // right
    static constexpr unsigned BUTTON3 = 0x40;  // middle

    // Virtual key codes; letters and digits are their upper-case characters.
    static constexpr int VK_BACK = 0x08;
    static constexpr int VK_TAB = 0x09;
    static constexpr int VK_RETURN = 0x0D;
    static constexpr int VK_ESCAPE = 0x1B;
    static constexpr int VK_SPACE = 0x20;
    static constexpr int VK_PRIOR = 0x21;
    static constexpr int VK_NEXT = 0x22;
    static constexpr int VK_END = 0x23;
    static constexpr int VK_HOME = 0x24;
    static constexpr int VK_LEFT = 0x25;
    static constexpr int VK_UP = 0x26;
    static constexpr int VK_RIGHT = 0x27;
    static constexpr int VK_DOWN = 0x28;
    static constexpr int VK_INSERT = 0x2D;
    static constexpr int VK_DELETE = 0x2E;
    static constexpr int VK_F1 = 0x70;
    static constexpr int VK_F10 = 0x79;
    static constexpr int VK_APPS = 0x5D;  // the context menu key

    KEvent() = default;
    KEvent(Type type, KComponent* source) : type_(type), source_(source) {}

    static KEvent key(Type type, int keyCode, unsigned modifiers = 0);
    static KEvent mouse(Type type, CPoint point, unsigned modifiers = BUTTON1, int clickCount = 1);
    static KEvent wheel(CPoint point, int delta, unsigned modifiers = 0);
    static KEvent command(unsigned id, const char* name);
    static KEvent action(KComponent* source, const char* name);

    Type getType() const { return type_; }
    bool isKey() const { return type_ == KEY_PRESSED || type_ == KEY_RELEASED; }
    bool isMouse() const { return type_ >= MOUSE_PRESSED && type_ <= MOUSE_WHEEL; }
    KComponent* getSource() const { return source_; }
    void setSource(KComponent* source) { source_ = source; }

    CPoint getPoint() const { return point_; }
    void setPoint(CPoint point) { point_ = point; }
    // Moves the point by -offset: into the coordinates of a child at that location.
    void translate(CPoint offset) { point_ -= offset; }
    unsigned getModifiers() const { return modifiers_; }
    bool isShiftDown() const { return (modifiers_ & SHIFT) != 0; }
    bool isControlDown() const { return (modifiers_ & CONTROL) != 0; }
    bool isLeftButton() const { return (modifiers_ & BUTTON1) != 0; }
    bool isRightButton() const { return (modifiers_ & BUTTON2) != 0; }
    int getClickCount() const { return clickCount_; }
    int getWheelDelta() const { return wheelDelta_; }
    // Whole notches of the wheel (120 each), positive away from the user; a turn smaller
    // than a notch counts as one.
    int getWheelNotches() const;
    int getKeyCode() const { return keyCode_; }

    unsigned getCommandId() const { return commandId_; }
    void setCommandId(unsigned id) { commandId_ = id; }
    // The command name of a menu event, the dotted name of an action event.
    const KString& getName() const { return name_; }
    void setName(const char* name) { name_ = name; }
    bool isNamed(const char* name) const;

    bool isConsumed() const { return consumed_; }
    void consume() { consumed_ = true; }

private:
    Type type_ = NONE;
    KComponent* source_ = nullptr;
    CPoint point_;
    unsigned modifiers_ = 0;
    int clickCount_ = 0;
    int wheelDelta_ = 0;
    int keyCode_ = 0;
    unsigned commandId_ = 0;
    KString name_;
    bool consumed_ = false;
};
