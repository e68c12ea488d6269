// JsonWriter: see json.h.
#include "json.h"

#include <cinttypes>
#include <cmath>

std::string JsonWriter::escape(const std::string& text) {
    std::string out;
    out.reserve(text.size() + 2);
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        default:
            if (c < 0x20 || c == 0x7f) {
                char buf[8];
                snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else if (c >= 0x80) {
                // Design files are not UTF-8 in general: keep bytes readable
                // and the output valid by escaping them as Latin-1.
                char buf[8];
                snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out;
}

void JsonWriter::newline() {
    if (!pretty_) return;
    fputc('\n', out_);
    for (size_t i = 0; i < counts_.size(); ++i) fputs("  ", out_);
}

void JsonWriter::beforeValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (!counts_.empty()) {
        if (counts_.back()++ > 0) fputc(',', out_);
        newline();
    }
}

void JsonWriter::beginObject() { beforeValue(); fputc('{', out_); counts_.push_back(0); }
void JsonWriter::beginArray() { beforeValue(); fputc('[', out_); counts_.push_back(0); }

void JsonWriter::endObject() {
    int n = counts_.back();
    counts_.pop_back();
    if (n) newline();
    fputc('}', out_);
    if (counts_.empty()) fputc('\n', out_);
}

void JsonWriter::endArray() {
    int n = counts_.back();
    counts_.pop_back();
    if (n) newline();
    fputc(']', out_);
    if (counts_.empty()) fputc('\n', out_);
}

void JsonWriter::key(const std::string& name) {
    beforeValue();
    fprintf(out_, "\"%s\":%s", escape(name).c_str(), pretty_ ? " " : "");
    afterKey_ = true;
}

void JsonWriter::value(const std::string& text) { beforeValue(); fprintf(out_, "\"%s\"", escape(text).c_str()); }
void JsonWriter::value(const char* text) {
    if (!text) { null(); return; }
    value(std::string(text));
}
void JsonWriter::value(int64_t number) { beforeValue(); fprintf(out_, "%" PRId64, number); }
void JsonWriter::value(uint64_t number) { beforeValue(); fprintf(out_, "%" PRIu64, number); }
void JsonWriter::value(double number) {
    beforeValue();
    if (std::isfinite(number)) fprintf(out_, "%.6g", number);
    else fputs("null", out_);
}
void JsonWriter::value(bool flag) { beforeValue(); fputs(flag ? "true" : "false", out_); }
void JsonWriter::null() { beforeValue(); fputs("null", out_); }
