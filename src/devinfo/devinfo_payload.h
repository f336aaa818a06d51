#pragma once

/// Reads the payload of a device information response. The lists have room for 10 and 4 values; a value found is stored, one
/// that is missing leaves its output, which also bounds the list behind it, as it was.
/// @return 0, or the code of the last value missing: -1 number of tag register blocks, -2 number of reserved register
///         blocks, -3 Modbus buffer size.
int getReadResponseDevInfoContent(const char* msg, unsigned int msgLen, int* pNumTagRegBlocks, int* pTagRegBlocks,
                                  int* pNumResRegBlocks, int* pResRegBlocks, int* pModbusBufferSize);
