#pragma once

/// @mainpage The bus SDK: everything that libovk exports
///
/// Conventions, stated once:
///
/// 1. Life. ovk_Init() once, ovk_RegisterForService() once per service, then ovk_DoWork() again and again, with requests
///    and answers between the calls or inside callbacks; ovk_QMXBusShutdown() at the end.
/// 2. One thread. The library has no thread and no lock. Everything happens inside a call of yours, on your thread;
///    never call it from two threads at once.
/// 3. Status. Functions that return `unsigned` return an `ovk_Status_t`, 0 for success. On any other status nothing was
///    written to the bus. The topology functions return the topology service's own results.
/// 4. Nothing is remembered. An answer is delivered whether or not you asked; match `refId` and `srcFid` with your own
///    list of open requests and keep your own deadlines. Nothing is repeated.
/// 5. Records are lent. What a callback gets is gone when it returns: copy.
/// 6. Callbacks may call every function here, ovk_DoWork() included. An exception that leaves a callback reaches the
///    caller of ovk_DoWork(); the record is released first and unread messages stay queued. Any function may throw
///    std::bad_alloc: a request or answer was not written then, a registration is as it was before (its channels may be
///    open), and a message that ovk_DoWork() was about to deliver is dropped and traced, the others stay queued.
/// 7. Texts are UTF-8 or any other bytes and are copied during the call, or used only during it, but for the two user
///    texts of a registration. They go into messages as they are and come out as they went in: nothing is escaped or
///    unescaped, so a '"' or '\' spoils the message. A null text where one is needed gives status 2.
/// 8. Sizes. A message has at most 16383 bytes, an area at most 1024 registers; references have at most 40 characters,
///    reasons at most 80.
/// 9. Fusion identifiers have 24 characters, "VRddd_ddddd_hhhhhhhhhhhh" of decimal (d) and hexadecimal (h) digits.

#include "ovk/device_info.h"
#include "ovk/records.h"
#include "ovk/registers.h"
#include "ovk/service.h"
#include "ovk/status.h"
#include "ovk/tags.h"
#include "ovk/topology.h"
#include "ovk/version.h"
