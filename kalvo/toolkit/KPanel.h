#pragma once

#include <kalvo/foundation/KProperties.h>
#include <kalvo/toolkit/KContainer.h>

// The plain container, with named text properties for whoever builds views from it.
class KPanel : public KContainer {
    K_DECLARE_CLASS(KPanel);

public:
    explicit KPanel(const char* name = nullptr);

    // A null key is ignored; a null value is stored as empty.
    void setProperty(const char* key, const char* value) { properties_.setProperty(key, value); }
    // Empty when the key is not set.
    KString getProperty(const char* key) const { return properties_.getProperty(key); }
    const KProperties& getProperties() const { return properties_; }

    void copy(const KObject& other) override;
    // After the container part: version 1, the properties.
    void Serialize(KArchive& archive) override;

private:
    KProperties properties_;
};
