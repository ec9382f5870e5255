#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <kalvo/foundation/KStringArray.h>
#include <kalvo/io/KComtradeConfig.h>

// Reads the text of a configuration file (already in UTF-8) into a KComtradeConfig.
// Departures from the format that leave the meaning clear are mended and reported in the
// warnings; anything else raises a KException naming the file, the line and what was
// expected there.
class KComtradeConfigParser {
public:
    // fileName is used in messages only; firstLine is the number of the text's first line
    // in its file (a combined file has the configuration after a marker line).
    KComtradeConfigParser(const char* fileName, int firstLine = 1);

    // The config read from text; warnings are appended to warnings.
    KComtradeConfig parse(std::string_view text, KStringArray& warnings);

private:
    struct Line {
        std::string_view text;
        int number;
    };

    [[noreturn]] void fail(const Line& line, const char* expected) const;
    const Line& next(const char* expected);
    bool atEnd() const { return pos_ >= lines_.size(); }
    std::vector<std::string> fields(const Line& line) const;
    double number(const Line& line, const std::string& field, const char* what) const;
    long long integer(const Line& line, const std::string& field, const char* what) const;
    // Raises for a control character (other than tab and CR) inside a line: texts are cut at
    // a NUL, and a number would be read only up to it.
    void checkCharacters(std::string_view line, int number) const;
    // Collects one kind of departure per channel so that it is reported once.
    void note(const char* what, int channel);

    void parseHeader(KComtradeConfig& config);
    void parseCounts(int& analogs, int& digitals);
    void parseAnalog(KComtradeConfig& config);
    void parseDigital(KComtradeConfig& config);
    void parseRates(KComtradeConfig& config);
    void parseStamp(KComtradeConfig& config, KComtradeStamp& stamp, const char* what);
    void parseTail(KComtradeConfig& config);

    KString fileName_;
    int firstLine_;
    std::vector<Line> lines_;
    size_t pos_ = 0;
    KStringArray* warnings_ = nullptr;
    std::map<std::string, std::vector<int>> notes_;
};
