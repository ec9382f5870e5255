#pragma once

#include <kalvo/foundation/KClass.h>

class KArchive;

// The root of the library's run-time typed, storable classes.
class KObject {
public:
    static const KClass classInfo;

    KObject() = default;
    KObject(const KObject&) = default;
    KObject& operator=(const KObject&) = default;
    virtual ~KObject() = default;

    virtual const KClass* getRuntimeClass() const;
    const char* getClassName() const { return getRuntimeClass()->getClassName(); }
    bool isKindOf(const KClass* c) const { return getRuntimeClass()->isDerivedFrom(c); }

    // A new object of the same class with this one copied into it; null for a class that
    // cannot be created by name.
    virtual KObject* clone() const;
    // Copies the state of other into this object; the root has none.
    virtual void copy(const KObject& other);
    // Stores or loads the object's fields, by the archive's direction; the root has none.
    virtual void Serialize(KArchive& archive);
};

// The object as T when it is of class T or derived from it, else null.
template <class T>
T* k_dynamic_cast(KObject* object) {
    return object != nullptr && object->isKindOf(K_CLASS(T)) ? static_cast<T*>(object) : nullptr;
}
