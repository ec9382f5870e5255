#pragma once

class KObject;

// Run-time class information: the class name, its base, the schema stored with its
// objects, and how to make a new one. Every KClass registers itself under its name so
// that objects can be created by name when an archive is read.
class KClass {
public:
    using Factory = KObject* (*)();

    KClass(const char* className, const KClass* base, unsigned schema, Factory factory);
    KClass(const KClass&) = delete;
    KClass& operator=(const KClass&) = delete;

    const char* getClassName() const { return className_; }
    const KClass* getBaseClass() const { return base_; }
    unsigned getSchema() const { return schema_; }
    bool isAbstract() const { return factory_ == nullptr; }
    bool isDerivedFrom(const KClass* other) const;

    // A new object of this class, or null for an abstract class.
    KObject* createObject() const;

    // Look-up by exact class name; null when no such class is linked in.
    static const KClass* find(const char* className);
    static KObject* createObject(const char* className);

private:
    const char* className_;
    const KClass* base_;
    unsigned schema_;
    Factory factory_;
};

// Declares the run-time class of a KObject subclass (in its public section).
#define K_DECLARE_CLASS(name)                           \
public:                                                 \
    static const KClass classInfo;                      \
    const KClass* getRuntimeClass() const override

// Defines the run-time class of a concrete class that has a default constructor.
#define K_IMPLEMENT_CLASS(name, base, schema)                                           \
    const KClass name::classInfo(#name, &base::classInfo, schema,                       \
                                 +[]() -> KObject* { return new name(); });             \
    const KClass* name::getRuntimeClass() const { return &name::classInfo; }

// Defines the run-time class of a class that is not created by name.
#define K_IMPLEMENT_ABSTRACT(name, base)                                   \
    const KClass name::classInfo(#name, &base::classInfo, 0, nullptr);     \
    const KClass* name::getRuntimeClass() const { return &name::classInfo; }

#define K_CLASS(name) (&name::classInfo)
