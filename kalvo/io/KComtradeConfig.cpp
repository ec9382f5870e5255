#include <kalvo/io/KComtradeConfig.h>

#include <strings.h>

double KComtradeConfig::getTimeStampUnit() const {
    const double base = start.getFractionDigits() > 6 ? 1e-9 : 1e-6;
    return base * timeMultiplier;
}

int KComtradeConfig::getRecordSize(FileType type) const {
    const int width = type == BINARY ? 2 : 4;
    const int words = static_cast<int>((digitals.size() + 15) / 16);
    return 8 + width * static_cast<int>(analogs.size()) + 2 * words;
}

const char* KComtradeConfig::getFileTypeName(FileType type) {
    switch (type) {
        case ASCII:
            return "ASCII";
        case BINARY:
            return "BINARY";
        case BINARY32:
            return "BINARY32";
        case FLOAT32:
            return "FLOAT32";
    }
    return "ASCII";
}

bool KComtradeConfig::parseFileType(const char* name, FileType& type) {
    for (FileType t : {ASCII, BINARY, BINARY32, FLOAT32}) {
        if (strcasecmp(name, getFileTypeName(t)) == 0) {
            type = t;
            return true;
        }
    }
    return false;
}
