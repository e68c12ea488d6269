// A small JSON writer for --json output: objects, arrays, strings, numbers,
// booleans and null, with commas and escapes handled. Writes to a FILE*.
//
//   JsonWriter j(stdout);
//   j.beginObject(); j.key("name"); j.value("a.sch"); j.endObject();
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

class JsonWriter {
public:
    explicit JsonWriter(FILE* out, bool pretty = true) : out_(out), pretty_(pretty) {}

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(const std::string& name);
    void value(const std::string& text);
    void value(const char* text); // null writes null
    void value(int64_t number);
    void value(uint64_t number);
    void value(int number) { value(static_cast<int64_t>(number)); }
    void value(unsigned number) { value(static_cast<uint64_t>(number)); }
    void value(double number);
    void value(bool flag);
    void null();

    // Shorthands for one member of an object.
    template <typename T>
    void field(const std::string& name, const T& v) { key(name); value(v); }

    static std::string escape(const std::string& text);

private:
    void beforeValue();
    void newline();
    FILE* out_;
    bool pretty_;
    std::vector<int> counts_; // members written at each open level
    bool afterKey_ = false;
};
