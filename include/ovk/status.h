#pragma once

/// @file
/// The results of the exported functions.

/// Results of the exported functions of the service core and of the message families. They return plain `unsigned`;
/// these are the names of the values.
enum ovk_Status_t : unsigned {
  ovk_Status_Done = 0, ///< the message was written, or the registration made
  /// An argument is invalid, or the message could not be built from it; also, but for the functions that give 4, when the
  /// topology service does not know an identifier.
  ovk_Status_Invalid = 2,
  /// The topology service does not know the own identifier (ovk_WriteRegisters(), ovk_serveReadRegisters()) or the
  /// destination's parent (ovk_WriteRegisters()).
  ovk_Status_Topology = 4,
  ovk_Status_NoCallback = 6,       ///< no callback given, or none registered for the client service
  ovk_Status_NotWritten = 7,       ///< the transfer channel refused the message; getTagFromConfig: empty "telegram"
  ovk_Status_NoTransferChannel = 8 ///< a transfer channel could not be created
};

/// What a status means, in one clause for a person, such as "unknown destination or invalid argument: nothing was sent".
/// Programs compare the status; the wording may change.
///
/// @param status as returned by an exported function. Of getTagFromConfig() alone, 7 means an empty "telegram".
/// @return a text that lives as long as the program, never null; "unknown status" for any other number.
inline const char* ovk_StatusText(unsigned status) {
  switch (status) {
  case ovk_Status_Done: return "done";
  case ovk_Status_Invalid: return "unknown destination or invalid argument: nothing was sent";
  case ovk_Status_Topology: return "unknown destination or own identifier: nothing was sent";
  case ovk_Status_NoCallback: return "no callback for the service: nothing was sent";
  case ovk_Status_NotWritten:
    return "not handed over, since the receiver does not run or read, the channel is closed or the message too long";
  case ovk_Status_NoTransferChannel:
    return "no transfer channel: another process has the identifier or the bus cannot be used";
  default: return "unknown status";
  }
}
