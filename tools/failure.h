#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace tool {

/// How the process ends. Scripts test these numbers: never renumber.
enum ExitCode : int {
  Exit_Done = 0,
  Exit_Other = 1,    ///< unusable file, unusable answer, output not written
  Exit_Usage = 2,    ///< wrong arguments or an invalid identifier
  Exit_Refused = 3,  ///< the device refused and gave its reason
  Exit_Unknown = 4,  ///< not in the topology
  Exit_NoAnswer = 5, ///< no answer in time
  Exit_NotSent = 7,  ///< the request could not be sent
  Exit_NoBus = 8,    ///< the bus could not be opened
  Exit_Signal = 128  ///< to which the signal's number is added
};

/// Ends a command: main() prints the text, one line, and exits with the code. Without a text all was said already.
class Failure : public std::runtime_error {
public:
  Failure(ExitCode exitCode, const std::string& text) : std::runtime_error(text), code(exitCode) {}
  ExitCode code;
};

/// A device's refusal, with what only its answer tells.
class RefusalFailure : public Failure {
public:
  RefusalFailure(std::string fid, std::string reference, std::string why)
      : Failure(Exit_Refused, fid + " refused: " + why), source(std::move(fid)), refId(std::move(reference)),
        reason(std::move(why)) {}
  std::string source, refId, reason;
};

} // namespace tool
