#include "JsonWriter.h"

#include <charconv>
#include <cmath>

JsonWriter& JsonWriter::beginObject() {
    separate();
    fputc('{', out_);
    first_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::endObject() {
    const bool empty = first_.back();
    first_.pop_back();
    if (!empty) indent();
    fputc('}', out_);
    return *this;
}

JsonWriter& JsonWriter::beginArray() {
    separate();
    fputc('[', out_);
    first_.push_back(true);
    return *this;
}

JsonWriter& JsonWriter::endArray() {
    const bool empty = first_.back();
    first_.pop_back();
    if (!empty) indent();
    fputc(']', out_);
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    value(name);
    fputs(": ", out_);
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    separate();
    fputc('"', out_);
    for (const char ch : text) {
        const auto c = static_cast<unsigned char>(ch);
        if (c == '"' || c == '\\') {
            fputc('\\', out_);
            fputc(c, out_);
        } else if (c == '\n') {
            fputs("\\n", out_);
        } else if (c == '\t') {
            fputs("\\t", out_);
        } else if (c < 0x20 || c == 0x7F) {
            fprintf(out_, "\\u%04x", c);
        } else {
            fputc(c, out_);
        }
    }
    fputc('"', out_);
    return *this;
}

JsonWriter& JsonWriter::value(double number) {
    if (!std::isfinite(number)) return null();
    separate();
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, number);
    fwrite(text, 1, static_cast<size_t>(result.ptr - text), out_);
    return *this;
}

JsonWriter& JsonWriter::value(long long number) {
    separate();
    fprintf(out_, "%lld", number);
    return *this;
}

JsonWriter& JsonWriter::value(bool flag) {
    separate();
    fputs(flag ? "true" : "false", out_);
    return *this;
}

JsonWriter& JsonWriter::null() {
    separate();
    fputs("null", out_);
    return *this;
}

void JsonWriter::finish() { fputc('\n', out_); }

void JsonWriter::separate() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (first_.empty()) return;
    if (!first_.back()) fputc(',', out_);
    first_.back() = false;
    indent();
}

void JsonWriter::indent() {
    fputc('\n', out_);
    for (size_t i = 0; i < first_.size(); ++i) fputs("  ", out_);
}
