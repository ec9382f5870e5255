#pragma once

#include <gdk/gdk.h>

// Translation of GDK's keys and modifier states into the toolkit's: virtual key codes
// (letters and digits as their upper-case characters, other printable characters as
// themselves) and the modifier and button flags of KEvent.
class KGtkKeys {
public:
    KGtkKeys() = delete;

    // The virtual key code of a GDK key value; 0 for a key the toolkit has no code for
    // (modifier keys among them).
    static int toKeyCode(unsigned keyval);
    // KEvent's SHIFT, CONTROL, ALT and button flags of a GDK state. GDK's middle button is
    // the toolkit's BUTTON3 and its right button BUTTON2.
    static unsigned toModifiers(GdkModifierType state);
    // The button flag of a GDK button number (1 left, 2 middle, 3 right); 0 for others.
    static unsigned toButton(unsigned button);
};
