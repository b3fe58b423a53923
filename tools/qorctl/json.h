// JSON output through RapidJSON's writer: indented, UTF-8, one document per command.
#pragma once

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <string>

namespace Qorctl {

class JsonWriter {
public:
    JsonWriter() : m_writer(m_buffer) { m_writer.SetIndent(' ', 2); }

    void beginObject() { m_writer.StartObject(); }
    void endObject() { m_writer.EndObject(); }
    void beginArray() { m_writer.StartArray(); }
    void endArray() { m_writer.EndArray(); }
    void key(const std::string& name) {
        m_writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    }
    void string(const std::string& text) {
        m_writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
    void number(long long value) { m_writer.Int64(value); }
    void boolean(bool value) { m_writer.Bool(value); }
    void null() { m_writer.Null(); }
    template <class List> void strings(const List& list) {
        beginArray();
        for (const std::string& text : list)
            string(text);
        endArray();
    }
    /// "name": "text"
    void field(const std::string& name, const std::string& text) {
        key(name);
        string(text);
    }

    /// The document with a final line end.
    std::string text() const {
        return std::string(m_buffer.GetString(), m_buffer.GetSize()) + "\n";
    }

private:
    rapidjson::StringBuffer m_buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> m_writer;
};

} // namespace Qorctl
