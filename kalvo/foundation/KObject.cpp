#include <kalvo/foundation/KObject.h>

const KClass KObject::classInfo("KObject", nullptr, 0, nullptr);

const KClass* KObject::getRuntimeClass() const { return &KObject::classInfo; }

KObject* KObject::clone() const {
    KObject* object = getRuntimeClass()->createObject();
    if (object != nullptr) object->copy(*this);
    return object;
}

void KObject::copy(const KObject&) {}

void KObject::Serialize(KArchive&) {}
