// RapidJSON: a document of its own for each message, a writer into a string buffer.

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "decode.h"
#include "encode.h"
#include "peers.h"

namespace {

struct Reader {
  using Value = const rapidjson::Value*; // null for none

  class Document {
  public:
    explicit Document(const std::string& text) { document_.Parse(text.data(), text.size()); }
    Value root() const { return document_.HasParseError() ? nullptr : &document_; }

  private:
    rapidjson::Document document_;
  };

  static Value member(Value object, std::string_view name) {
    if (object == nullptr || !object->IsObject()) return nullptr;
    const rapidjson::Value key(rapidjson::StringRef(name.data(), name.size()));
    const auto found = object->FindMember(key);
    return found == object->MemberEnd() ? nullptr : &found->value;
  }

  static bool read(Value value, int& number) {
    if (value == nullptr || !value->IsInt()) return false;
    number = value->GetInt();
    return true;
  }
  static bool read(Value value, std::string_view& text) {
    if (value == nullptr || !value->IsString()) return false;
    text = {value->GetString(), value->GetStringLength()};
    return true;
  }
  static bool read(Value value, bool& flag) {
    if (value == nullptr || !value->IsBool()) return false;
    flag = value->GetBool();
    return true;
  }

  template <typename F>
  static bool each(Value array, F f) {
    if (array == nullptr || !array->IsArray()) return false;
    for (const rapidjson::Value& element : array->GetArray()) {
      if (!f(&element)) return false;
    }
    return true;
  }
};

class Writer {
public:
  Writer() : json_(buffer_) {}
  void beginObject() { json_.StartObject(); }
  void endObject() { json_.EndObject(); }
  void beginArray() { json_.StartArray(); }
  void endArray() { json_.EndArray(); }
  void key(std::string_view name) { json_.Key(name.data(), size(name)); }
  void value(int number) { json_.Int(number); }
  void value(bool flag) { json_.Bool(flag); }
  void value(std::string_view text) { json_.String(text.data(), size(text)); }
  std::string_view text() { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
  static rapidjson::SizeType size(std::string_view text) { return static_cast<rapidjson::SizeType>(text.size()); }

  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> json_;
};

const bool entered = bench::enter({"rapidjson", bench::Decoder<Reader>::receive, bench::Encoder<Writer>::send});

} // namespace
