#pragma once

namespace tool {

/// The messages on the bus. The numbers are known to every controller: never renumber.
enum MessageType : int {
  Message_ReadRequest = 200,
  Message_ReadAnswer = 201,
  Message_WriteRequest = 202,
  Message_WriteAnswer = 203,
  Message_InfoRequest = 204,
  Message_InfoAnswer = 205,
  Message_TagsRequest = 206,
  Message_TagsAnswer = 207
};

} // namespace tool
