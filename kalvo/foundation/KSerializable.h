#pragma once

class KArchive;

// Something that writes itself to an archive and reads itself back in the same order.
class KSerializable {
public:
    virtual ~KSerializable() = default;
    virtual void writeObject(KArchive& archive) const = 0;
    virtual void readObject(KArchive& archive) = 0;
};
