#include <kalvo/host/gtk/KGtkKeys.h>

#include <kalvo/toolkit/KEvent.h>

int KGtkKeys::toKeyCode(unsigned keyval) {
    if (keyval >= GDK_KEY_a && keyval <= GDK_KEY_z)
        return static_cast<int>(keyval - GDK_KEY_a + 'A');
    if (keyval >= GDK_KEY_KP_0 && keyval <= GDK_KEY_KP_9)
        return static_cast<int>(keyval - GDK_KEY_KP_0 + '0');
    if (keyval >= GDK_KEY_F1 && keyval <= GDK_KEY_F12)
        return static_cast<int>(KEvent::VK_F1 + (keyval - GDK_KEY_F1));
    switch (keyval) {
        case GDK_KEY_BackSpace:
            return KEvent::VK_BACK;
        case GDK_KEY_Tab:
        case GDK_KEY_ISO_Left_Tab:
        case GDK_KEY_KP_Tab:
            return KEvent::VK_TAB;
        case GDK_KEY_Return:
        case GDK_KEY_KP_Enter:
        case GDK_KEY_ISO_Enter:
            return KEvent::VK_RETURN;
        case GDK_KEY_Escape:
            return KEvent::VK_ESCAPE;
        case GDK_KEY_KP_Space:
            return KEvent::VK_SPACE;
        case GDK_KEY_Page_Up:
        case GDK_KEY_KP_Page_Up:
            return KEvent::VK_PRIOR;
        case GDK_KEY_Page_Down:
        case GDK_KEY_KP_Page_Down:
            return KEvent::VK_NEXT;
        case GDK_KEY_End:
        case GDK_KEY_KP_End:
            return KEvent::VK_END;
        case GDK_KEY_Home:
        case GDK_KEY_KP_Home:
            return KEvent::VK_HOME;
        case GDK_KEY_Left:
        case GDK_KEY_KP_Left:
            return KEvent::VK_LEFT;
        case GDK_KEY_Up:
        case GDK_KEY_KP_Up:
            return KEvent::VK_UP;
        case GDK_KEY_Right:
        case GDK_KEY_KP_Right:
            return KEvent::VK_RIGHT;
        case GDK_KEY_Down:
        case GDK_KEY_KP_Down:
            return KEvent::VK_DOWN;
        case GDK_KEY_Insert:
        case GDK_KEY_KP_Insert:
            return KEvent::VK_INSERT;
        case GDK_KEY_Delete:
        case GDK_KEY_KP_Delete:
            return KEvent::VK_DELETE;
        case GDK_KEY_Menu:
            return KEvent::VK_APPS;
        // The keypad's operators keep their own codes, as the graphs know them.
        case GDK_KEY_KP_Add:
            return 0x6B;
        case GDK_KEY_KP_Subtract:
            return 0x6D;
        case GDK_KEY_KP_Multiply:
            return '*';
        case GDK_KEY_KP_Divide:
            return '/';
        case GDK_KEY_KP_Decimal:
            return '.';
        default:
            break;
    }
    // The rest of printable ASCII, upper-case letters included, is its own code.
    if (keyval >= 0x20 && keyval <= 0x7E) return static_cast<int>(keyval);
    return 0;
}

unsigned KGtkKeys::toModifiers(GdkModifierType state) {
    unsigned modifiers = 0;
    if (state & GDK_SHIFT_MASK) modifiers |= KEvent::SHIFT;
    if (state & GDK_CONTROL_MASK) modifiers |= KEvent::CONTROL;
    if (state & GDK_ALT_MASK) modifiers |= KEvent::ALT;
    if (state & GDK_BUTTON1_MASK) modifiers |= KEvent::BUTTON1;
    if (state & GDK_BUTTON2_MASK) modifiers |= KEvent::BUTTON3;
    if (state & GDK_BUTTON3_MASK) modifiers |= KEvent::BUTTON2;
    return modifiers;
}

unsigned KGtkKeys::toButton(unsigned button) {
    switch (button) {
        case GDK_BUTTON_PRIMARY:
            return KEvent::BUTTON1;
        case GDK_BUTTON_MIDDLE:
            return KEvent::BUTTON3;
        case GDK_BUTTON_SECONDARY:
            return KEvent::BUTTON2;
        default:
            return 0;
    }
}
