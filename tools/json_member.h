#pragma once

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// A value in a file, with the path that leads to it ("registers[1].start"), for errors that say where they are.
/// Every reader below throws a Failure that names file, path and what is wrong.
class JsonMember {
public:
  /// Reads and parses the file; the result is its outermost value.
  static JsonMember load(const std::string& file);

  [[noreturn]] void fail(const std::string& what) const;

  /// Fails when this is not an object, or has a member that is not in the list.
  void requireOnly(std::initializer_list<std::string_view> names) const;
  bool has(const char* name) const { return value.contains(name); }
  JsonMember member(const char* name) const;
  std::vector<JsonMember> elements() const;

  int64_t integer(int64_t least, int64_t most) const;
  int integer(const char* name, int least, int most) const {
    return static_cast<int>(member(name).integer(least, most));
  }
  /// The value when the member is missing is `otherwise`.
  int integerOr(const char* name, int least, int most, int otherwise) const;
  double number() const;
  bool boolean() const;
  std::string text(size_t longest) const;

private:
  JsonMember(std::string fileName, std::string memberPath, nlohmann::json json)
      : file(std::move(fileName)), path(std::move(memberPath)), value(std::move(json)) {}

  std::string file;
  std::string path; ///< empty for the outermost value
  nlohmann::json value;
};

} // namespace tool
