#pragma once

// The shared-memory service: gives the bus counters a home that other processes can read.

/// Called once by ovk_Init(). The library does not examine the result.
int createQMXBSharedMemory();
