#pragma once

class KClass;

// The run-time classes of the toolkit. Referring to them links every toolkit class into a
// program that uses the static library, so that archives can create any of them by name.
class KToolkit {
public:
    KToolkit() = delete;

    // The classes, ending with null.
    static const KClass* const* getClasses();
};
