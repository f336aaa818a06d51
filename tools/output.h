#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "failure.h"
#include "ovk/service.h"

namespace tool {

/// What a command prints of a result.
enum class Form {
  Table,  ///< for people
  Values, ///< -q: nothing but the values
  Json    ///< --json: one line for each result, with the members of the message
};

/// Keeps the members in the order in which they are added.
using Json = nlohmann::ordered_json;

/// Nobody reads the output any more: the end, but not a failure.
struct ReaderGone {};

/// Writes what waits for stdout: every result goes out when it is there. Throws a Failure when it cannot be written, and
/// ReaderGone.
void flushOutput();

/// One result, or one failure, as a line. Bytes that are not UTF-8 are replaced.
void putJson(const Json& result);

/// What all results have that come from an answer: its header. The caller adds "data".
template <class Record>
Json answerHeader(ovk_MessageType_t messageType, const Record& answer) {
  return {{"msg_type", messageType},
          {"ref_id", answer.refId},
          {"src", {{"fid", answer.srcFid}}},
          {"dst", {{"fid", answer.dstFid}}},
          {"success", answer.success != 0}};
}

/// A value as it was printed: a number, or a text when it is none (also "nan" and "inf", which JSON does not know).
Json valueJson(const std::string& text, bool isNumber);

/// A result that no message brought.
Json ownResult(Json data);

/// A line on stderr. It is written in one piece: of several tools that share a log, each line stays whole.
void putLog(const std::string& line);

/// The same, as what the tool itself has to say.
void putWarning(const std::string& text);

/// Says a failure on stderr and, in JSON's form, as a line on stdout.
void report(const Failure& failure, Form form);

} // namespace tool
