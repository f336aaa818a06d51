#pragma once

/// Reads and processes every waiting message, responses (channel 1) before requests (channel 2). Always 0.
int ovk_QMXBusDoWork();

/// Has one received message decoded and delivered to the callback of its service.
///
/// @param msg the message, followed by a NUL.
/// @param len its length in bytes.
/// @return the callback's result, or -1 no integer "msg_type", -2 unknown message type, -3 no callback registered, -4 no
///         record could be obtained. Negative results are traced.
int processReceivedMessage(const char* msg, unsigned len);
