#include <kalvo/foundation/KClass.h>

#include <map>
#include <string>

#include <kalvo/foundation/KObject.h>

namespace {
std::map<std::string, const KClass*>& registry() {
    static std::map<std::string, const KClass*> classes;
    return classes;
}
}  // namespace

KClass::KClass(const char* className, const KClass* base, unsigned schema, Factory factory)
    : className_(className), base_(base), schema_(schema), factory_(factory) {
    registry()[className] = this;
}

bool KClass::isDerivedFrom(const KClass* other) const {
    for (const KClass* c = this; c != nullptr; c = c->base_) {
        if (c == other) return true;
    }
    return false;
}

KObject* KClass::createObject() const { return factory_ != nullptr ? factory_() : nullptr; }

const KClass* KClass::find(const char* className) {
    if (className == nullptr) return nullptr;
    auto it = registry().find(className);
    return it == registry().end() ? nullptr : it->second;
}

KObject* KClass::createObject(const char* className) {
    const KClass* c = find(className);
    return c != nullptr ? c->createObject() : nullptr;
}
