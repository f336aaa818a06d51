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
