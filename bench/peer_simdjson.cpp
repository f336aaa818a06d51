// simdjson in its two modes, each with one parser for all messages, as its makers advise. It reads some bytes behind the
// text; they are there without a copy, as they would be in a receive buffer made a little larger.

#include <simdjson.h>

#include "decode.h"
#include "peers.h"

namespace {

constexpr std::size_t space = simdjson::SIMDJSON_PADDING;

// What the two modes read alike.
template <typename Result>
struct Reader {
  using Value = Result;

  static Value member(Value object, std::string_view name) { return object.find_field(name); }

  static bool read(Value value, int& number) {
    std::int64_t wide = 0;
    if (value.get(wide) != simdjson::SUCCESS || wide != static_cast<int>(wide)) return false;
    number = static_cast<int>(wide);
    return true;
  }
  static bool read(Value value, std::string_view& text) { return value.get(text) == simdjson::SUCCESS; }
  static bool read(Value value, bool& flag) { return value.get(flag) == simdjson::SUCCESS; }
};

struct OnDemand : Reader<simdjson::simdjson_result<simdjson::ondemand::value>> {
  class Document {
  public:
    explicit Document(const std::string& text) {
      static simdjson::ondemand::parser parser;
      error_ = parser.iterate(text.data(), text.size(), text.size() + space).get(document_);
    }
    Value root() {
      if (error_ != simdjson::SUCCESS) return Value(error_);
      return document_.get_value();
    }

  private:
    simdjson::ondemand::document document_;
    simdjson::error_code error_;
  };

  template <typename F>
  static bool each(Value value, F f) {
    simdjson::ondemand::array array;
    if (value.get(array) != simdjson::SUCCESS) return false;
    for (Value element : array) {
      if (!f(element)) return false;
    }
    return true;
  }
};

struct Dom : Reader<simdjson::simdjson_result<simdjson::dom::element>> {
  class Document {
  public:
    explicit Document(const std::string& text) {
      static simdjson::dom::parser parser;
      root_ = parser.parse(text.data(), text.size(), false);
    }
    Value root() const { return root_; }

  private:
    Value root_;
  };

  static Value member(Value object, std::string_view name) { return object.at_key(name); }

  template <typename F>
  static bool each(Value value, F f) {
    simdjson::dom::array array;
    if (value.get(array) != simdjson::SUCCESS) return false;
    for (const simdjson::dom::element element : array) {
      if (!f(Value(simdjson::dom::element(element)))) return false;
    }
    return true;
  }
};

const bool entered = bench::enter({"simdjson_dom", bench::Decoder<Dom>::receive, nullptr}) &&
                     bench::enter({"simdjson_ondemand", bench::Decoder<OnDemand>::receive, nullptr});

} // namespace
