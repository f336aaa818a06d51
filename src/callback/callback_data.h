#pragma once

#include "callback/record_table.h"
#include "ovk/service.h"

// The life of a callback record: allocated zero-filled from the process heap, filled from a message, lent to a callback,
// released with the blocks it owns.

/// @return 0 with both outputs set; -2 for no service, -1 when the heap refuses: outputs untouched.
int allocateCallbackData(ovk_Service_t service, void** ppData, unsigned int* pDataLen);

/// Frees the blocks in the record's pointer fields, then the record. A null record is none to free.
/// @return 0, or -1 for no service: nothing is freed.
int releaseCallbackData(ovk_Service_t service, void* pData, unsigned int dataLen);

/// Allocates and fills the record of a received message and counts the outcome. As soon as the record is allocated its
/// address stands in `*ppData` and it is the caller's to release, whatever happens after.
/// @return 0 complete; -4 not allocated; -3 common members missing or invalid; else the result of the body's extractor.
int getCallbackData(ovk_Service_t service, const char* msg, unsigned int msgLen, void** ppData, unsigned int* pDataLen);

namespace ovk {

/// A record from its allocation until after its callback; released whichever way that ends.
class CallbackRecord {
public:
  explicit CallbackRecord(ovk_Service_t service) : service_(service) {}
  CallbackRecord(const CallbackRecord&) = delete;
  CallbackRecord& operator=(const CallbackRecord&) = delete;
  ~CallbackRecord();

  /// getCallbackData() into this record, once.
  int fill(const char* msg, unsigned len);
  void* data() const { return data_; }
  unsigned length() const { return length_; }

private:
  ovk_Service_t service_;
  void* data_ = nullptr;
  unsigned length_ = 0;
  OwnedBlocks blocks_{}; // as attached: a callback may move the record's own pointers
  bool filled_ = false;
};

} // namespace ovk
