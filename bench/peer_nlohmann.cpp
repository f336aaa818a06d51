// nlohmann-json: parsed to a value for each message, written from a value that keeps the order of its members.

#include <nlohmann/json.hpp>

#include "decode.h"
#include "encode.h"
#include "peers.h"

namespace {

struct Reader {
  using Value = const nlohmann::json*; // null for none

  class Document {
  public:
    explicit Document(const std::string& text) : document_(nlohmann::json::parse(text, nullptr, false)) {}
    Value root() const { return &document_; }

  private:
    nlohmann::json document_;
  };

  static Value member(Value object, std::string_view name) {
    if (object == nullptr || !object->is_object()) return nullptr;
    const auto found = object->find(name);
    return found == object->end() ? nullptr : &*found;
  }

  static bool read(Value value, int& number) {
    if (value == nullptr || !value->is_number_integer()) return false;
    number = value->get<int>();
    return true;
  }
  static bool read(Value value, std::string_view& text) {
    if (value == nullptr || !value->is_string()) return false;
    text = value->get_ref<const std::string&>();
    return true;
  }
  static bool read(Value value, bool& flag) {
    if (value == nullptr || !value->is_boolean()) return false;
    flag = value->get<bool>();
    return true;
  }

  template <typename F>
  static bool each(Value array, F f) {
    if (array == nullptr || !array->is_array()) return false;
    for (const nlohmann::json& element : *array) {
      if (!f(&element)) return false;
    }
    return true;
  }
};

class Writer {
public:
  void beginObject() { open(nlohmann::ordered_json::object()); }
  void beginArray() { open(nlohmann::ordered_json::array()); }
  void endObject() { open_.pop_back(); }
  void endArray() { open_.pop_back(); }
  void key(std::string_view name) { key_ = name; }
  void value(int number) { add(number); }
  void value(bool flag) { add(flag); }
  void value(std::string_view text) { add(text); }
  std::string_view text() { return text_ = root_.dump(); }

private:
  nlohmann::ordered_json& add(nlohmann::ordered_json value) {
    if (open_.empty()) return root_ = std::move(value);
    nlohmann::ordered_json& parent = *open_.back();
    if (parent.is_array()) return parent.emplace_back(std::move(value));
    return parent.emplace(key_, std::move(value)).first.value();
  }
  void open(nlohmann::ordered_json value) { open_.push_back(&add(std::move(value))); }

  nlohmann::ordered_json root_;
  std::vector<nlohmann::ordered_json*> open_;
  std::string key_;
  std::string text_;
};

const bool entered = bench::enter({"nlohmann", bench::Decoder<Reader>::receive, bench::Encoder<Writer>::send});

} // namespace
