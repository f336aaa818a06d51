#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ovk/registers.h"
#include "platform/json.h"

// The payloads of the register messages.

/// Builds a register write request in an empty document.
/// @return 0; -1 destination, -2 its gateway or -3 source empty; -4 sendNotification neither 0 nor 1.
int ovk_build_register_write_message(const std::string& dstFid, const std::string& dstGatewayFid,
                                     const std::string& srcFid, const std::string& refId, int sendNotification,
                                     const std::vector<RegisterArea>& areas, Json& msg);

/// Builds a register read response in an empty document; a failed one carries no areas.
/// @return 0; -1 destination, -2 source or -3 the source's "at" empty.
int ovk_build_data_read_response_message(const std::string& dstFid, const std::string& srcFid,
                                         const std::string& srcAtFid, const std::string& refId, bool success,
                                         const char* errReason, const std::vector<RegisterArea>& areas, Json& msg);

/// Reads a register write request. Only the outputs of areas found are written; the value buffers hold 1024 words.
/// @return 0, or -1 when "sendNotification" is missing.
int getWriteRequestMessageParameters(const char* msg, unsigned len, int* sendNotification, int* startRegister1,
                                     uint16_t* values1, int* numberRegisters1, int* startRegister2, uint16_t* values2,
                                     int* numberRegisters2);

/// Reads a register read response likewise.
/// @return 0, or -1 when an output is null.
int getMsgRegisterContent(const char* msg, unsigned len, int* startRegister1, uint16_t* values1, int* numberRegisters1,
                          int* startRegister2, uint16_t* values2, int* numberRegisters2);

namespace ovk {

/// Whether an area's values are missing though its count says that there are some; traced in the name of `function`.
bool lacksValues(const char* function, const RegisterArea& area);

} // namespace ovk
