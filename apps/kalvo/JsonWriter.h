#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

// Writes one JSON document to a file as it goes: objects and arrays nested by begin and end,
// members named by key. Strings are escaped as JSON wants (control characters as \u00XX);
// numbers are written in the fewest digits that read back the same, and NaN or infinities,
// which JSON cannot hold, as null.
class JsonWriter {
public:
    explicit JsonWriter(FILE* out) : out_(out) {}

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);
    JsonWriter& value(std::string_view text);
    JsonWriter& value(const char* text) { return value(std::string_view(text)); }
    JsonWriter& value(double number);
    JsonWriter& value(long long number);
    JsonWriter& value(int number) { return value(static_cast<long long>(number)); }
    JsonWriter& value(bool flag);
    JsonWriter& null();
    // Ends the document with a line end.
    void finish();

private:
    void separate();
    void indent();

    FILE* out_;
    std::vector<bool> first_;  // per open level: nothing written in it yet
    bool afterKey_ = false;
};
