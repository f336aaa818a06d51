// Values of JSON files that know where they stand.
//
// Nothing is converted: a number in quotes is not a number and 1.0 is not whole. Texts must be fit for messages, which
// are not escaped: no quotes, no backslashes, no control characters.

#include "json_member.h"

#include <algorithm>
#include <set>

#include "arguments.h"
#include "failure.h"
#include "file_content.h"

namespace tool {
namespace {

using nlohmann::json;

/// `byte` counts from 1 and may point behind the text.
std::string position(const std::string& text, size_t byte) {
  const std::string before = text.substr(0, byte > 0 ? byte - 1 : 0);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const size_t lineStart = before.rfind('\n') == std::string::npos ? 0 : before.rfind('\n') + 1;
  return "line " + std::to_string(line) + ", column " + std::to_string(before.size() - lineStart + 1);
}

/// The parser's text without its own prefix and position.
std::string complaint(const std::string& what) {
  const size_t position = what.find("column ");
  const size_t colon = what.find(": ", position == std::string::npos ? 0 : position);
  return printable(colon == std::string::npos ? what : what.substr(colon + 2));
}

/// The library's own limit. Values are copied level by level, so without one a file could exhaust the stack.
constexpr int kMostLevels = 32;

/// Watches the parser for too many levels, and for a second member of the same name, of which it would silently take the
/// last.
class Watch {
public:
  explicit Watch(std::string fileName) : file(std::move(fileName)) {}

  bool operator()(int levelsAround, json::parse_event_t event, json& parsed) {
    const bool opens = event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
    if (opens && levelsAround >= kMostLevels) {
      throw Failure(Exit_Other, file + ": has more than " + std::to_string(kMostLevels) + " levels");
    }
    if (event == json::parse_event_t::object_start) open.emplace_back();
    if (event == json::parse_event_t::object_end) open.pop_back();
    if (event != json::parse_event_t::key || open.back().insert(parsed.get<std::string>()).second) return true;
    throw Failure(Exit_Other, file + ": member '" + printable(parsed.get<std::string>()) + "' stands twice");
  }

private:
  std::string file;
  std::vector<std::set<std::string>> open; ///< names so far, of each object around the parser's place
};

bool spoilsMessages(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\' || c == 0x7F; }

} // namespace

JsonMember JsonMember::load(const std::string& file) {
  const std::string text = contentOf(file);
  try {
    return {file, "", json::parse(text, Watch(file))};
  } catch (const json::parse_error& error) {
    throw Failure(Exit_Other, file + ": " + position(text, error.byte) + ": " + complaint(error.what()));
  } catch (const json::out_of_range&) { // says no position
    throw Failure(Exit_Other, file + ": has a number beyond the range of a double");
  }
}

void JsonMember::fail(const std::string& what) const {
  throw Failure(Exit_Other, file + ": " + (path.empty() ? "" : path + ": ") + what);
}

void JsonMember::requireOnly(std::initializer_list<std::string_view> names) const {
  if (!value.is_object()) fail("must be an object");
  for (const auto& entry : value.items()) {
    if (std::find(names.begin(), names.end(), entry.key()) != names.end()) continue;
    std::string known;
    for (const std::string_view name : names) known += (known.empty() ? "" : ", ") + std::string(name);
    fail("unknown member '" + printable(entry.key()) + "'; known are " + known);
  }
}

JsonMember JsonMember::member(const char* name) const {
  if (!value.contains(name)) fail(std::string("member '") + name + "' is missing");
  return {file, (path.empty() ? "" : path + ".") + name, value.at(name)};
}

std::vector<JsonMember> JsonMember::elements() const {
  if (!value.is_array()) fail("must be an array");
  std::vector<JsonMember> members;
  for (const json& element : value) {
    members.push_back({file, path + "[" + std::to_string(members.size()) + "]", element});
  }
  return members;
}

int64_t JsonMember::integer(int64_t least, int64_t most) const {
  // The parser keeps what only fits unsigned as unsigned; that is beyond every range asked for here.
  const bool fits = value.is_number_integer() && !(value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX);
  if (!fits || value.get<int64_t>() < least || value.get<int64_t>() > most) {
    fail("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return value.get<int64_t>();
}

int JsonMember::integerOr(const char* name, int least, int most, int otherwise) const {
  return has(name) ? integer(name, least, most) : otherwise;
}

double JsonMember::number() const {
  if (!value.is_number()) fail("must be a number");
  return value.get<double>();
}

bool JsonMember::boolean() const {
  if (!value.is_boolean()) fail("must be true or false");
  return value.get<bool>();
}

std::string JsonMember::text(size_t longest) const {
  if (!value.is_string()) fail("must be a text");
  std::string content = value.get<std::string>();
  if (content.size() > longest) fail("has more than " + std::to_string(longest) + " bytes");
  if (std::any_of(content.begin(), content.end(), &spoilsMessages)) {
    fail("has a quote, a backslash or a control character, which messages cannot carry");
  }
  return content;
}

} // namespace tool
