// Compares what the peers make of the messages with what the library makes of them.
//
// Records are compared byte by byte, blocks included: both sides fill zeroed memory from the heap.

#include "peers.h"

#include <cstdio>

#include "callback/record_table.h"
#include "core/receive_loop.h"
#include "platform.h"

namespace bench {

namespace {

ovk_Service_t observed;
std::string observedBytes;

// Of each of the record's blocks.
std::size_t blockSize(const void* record) {
  switch (observed) {
  case ovk_Service_TagReadClient:
    return sizeof(TagItem_t) *
           static_cast<std::size_t>(static_cast<const ovk_TagReadRspCallbackData_t*>(record)->numTagItems);
  case ovk_Service_TagReadServer:
    return sizeof(Tag_t) * static_cast<std::size_t>(static_cast<const ovk_TagReadReqCallbackData_t*>(record)->numTags);
  case ovk_Service_DescriptorReadClient: return sizeof(int32_t) * ovk_MaxTagRegBlocks;
  default: return sizeof(uint16_t) * ovk_MaxRegistersPerArea;
  }
}

int observe(void* record, unsigned length) {
  const ovk::RecordRow& row = *ovk::recordRowOf(observed);
  const ovk::OwnedBlocks blocks = row.blocks(record);
  const std::size_t size = blockSize(record);
  row.setBlocks(record, {}); // addresses differ
  observedBytes.assign(static_cast<const char*>(record), length);
  row.setBlocks(record, blocks);
  for (const void* block : blocks) {
    if (block != nullptr) observedBytes.append(static_cast<const char*>(block), size);
  }
  return 0;
}

struct Sending {
  const Peer& peer;
  const Message& message;
};

bool isEqual(const char* what, const Peer& peer, const std::string& name, const std::string& got,
             const std::string& expected) {
  if (got == expected && !got.empty()) return true;
  std::fprintf(stderr, "%s: the %s of %s differs from the library's (%zu bytes instead of %zu)\n", peer.name, what,
               name.c_str(), got.size(), expected.size());
  return false;
}

} // namespace

const Peer library = {"ovk",
                      [](const Message& message) {
                        return processReceivedMessage(message.text.c_str(),
                                                      static_cast<unsigned>(message.text.size())) >= 0;
                      },
                      send};

std::string recordOf(const Peer& peer, const Message& message) {
  observed = message.receiver();
  observedBytes.clear();
  void*& callback = OrvaneServices[static_cast<std::size_t>(observed)].p_ServiceCallback;
  void* const usual = callback;
  callback = reinterpret_cast<void*>(observe);
  const bool received = peer.receive(message);
  callback = usual;
  return received ? observedBytes : std::string();
}

std::string textOf(const Peer& peer, const Message& message) {
  const Sending sending{peer, message};
  const auto run = [](const void* given) {
    const auto& [by, what] = *static_cast<const Sending*>(given);
    by.send(what);
  };
  return captured(run, &sending);
}

bool peersAgree() {
  bool agree = true;
  for (const Case& each : cases()) {
    for (const Message& message : each.variants) {
      const std::string record = recordOf(library, message);
      for (const Peer& peer : peers()) {
        agree = isEqual("record", peer, each.name, recordOf(peer, message), record) && agree;
        if (peer.send == nullptr) continue;
        agree = isEqual("text", peer, each.name, textOf(peer, message), message.text) && agree;
      }
    }
  }
  return agree;
}

} // namespace bench
