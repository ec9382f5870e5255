#include <kalvo/toolkit/KEvent.h>

#include <cstring>

KEvent KEvent::key(Type type, int keyCode, unsigned modifiers) {
    KEvent e(type, nullptr);
    e.keyCode_ = keyCode;
    e.modifiers_ = modifiers;
    return e;
}

KEvent KEvent::mouse(Type type, CPoint point, unsigned modifiers, int clickCount) {
    KEvent e(type, nullptr);
    e.point_ = point;
    e.modifiers_ = modifiers;
    e.clickCount_ = clickCount;
    return e;
}

KEvent KEvent::wheel(CPoint point, int delta, unsigned modifiers) {
    KEvent e(MOUSE_WHEEL, nullptr);
    e.point_ = point;
    e.wheelDelta_ = delta;
    e.modifiers_ = modifiers;
    return e;
}

KEvent KEvent::command(unsigned id, const char* name) {
    KEvent e(MENU_COMMAND, nullptr);
    e.commandId_ = id;
    e.name_ = name;
    return e;
}

KEvent KEvent::action(KComponent* source, const char* name) {
    KEvent e(ACTION, source);
    e.name_ = name;
    return e;
}

int KEvent::getWheelNotches() const {
    constexpr int NOTCH = 120;
    if (wheelDelta_ == 0) return 0;
    const int notches = wheelDelta_ / NOTCH;
    return notches != 0 ? notches : (wheelDelta_ > 0 ? 1 : -1);
}

// Command and action names are exact: they are identifiers, not text for people.
bool KEvent::isNamed(const char* name) const {
    return name != nullptr && std::strcmp(name_.c_str(), name) == 0;
}
