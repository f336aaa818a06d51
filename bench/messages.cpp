// The messages, with values from one generator of a fixed seed, and their texts as the library itself writes them.

#include "messages.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <random>

#include "platform.h"

namespace bench {

namespace {

constexpr int variantsOfEach = 8;
constexpr std::size_t spaceBehindText = 64; // what readers that work on whole vectors ask for

class Values {
public:
  // Of one length, as most applications number their requests.
  std::string reference() { return "bench-" + std::to_string(100000 + number() % 900000); }

  std::vector<uint16_t> words(std::size_t count) {
    std::vector<uint16_t> words(count);
    for (uint16_t& word : words) word = static_cast<uint16_t>(number());
    return words;
  }

  std::vector<DevTagDevInfoTag> selectors(std::size_t count) {
    std::vector<DevTagDevInfoTag> selectors(count);
    for (auto& selector : selectors)
      selector = {number() % 2 == 0 ? DevTag : DevInfoTag, static_cast<uint16_t>(number())};
    return selectors;
  }

  std::vector<TagItem_t> items(std::size_t count) {
    constexpr uint8_t kinds[] = {0, 1, 2, 4, 5, 8, 9};
    std::vector<TagItem_t> items(count);
    for (std::size_t i = 0; i < count; ++i) items[i] = item(kinds[i % std::size(kinds)]);
    return items;
  }

private:
  std::uint32_t number() { return static_cast<std::uint32_t>(engine_()); }

  TagItem_t item(uint8_t idd) {
    TagItem_t item{};
    item.tag = static_cast<uint16_t>(number());
    item.idd = idd;
    item.startReg = static_cast<int32_t>(number() % 65536);
    item.regLen = 1 + static_cast<int32_t>(number() % 10);
    if (idd == ovk_TagData_Float) {
      item.data.f = static_cast<float>(static_cast<int32_t>(number() % 2000000) - 1000000) / 64.0F;
    } else if (idd == ovk_TagData_Text) {
      std::memset(item.data.str, static_cast<int>('a' + number() % 26), 1 + number() % (sizeof item.data.str - 1));
    } else {
      item.data.ui = number();
    }
    return item;
  }

  std::mt19937 engine_{17}; // NOLINT(cert-msc51-cpp): the same values in every run
};

int consume(void* record, unsigned /*length*/) {
  benchmark::DoNotOptimize(record);
  benchmark::ClobberMemory();
  return 0;
}

void startLibrary() {
  ovk_Init(false, ownFid, nullptr, nullptr, nullptr);
  for (int service = 0; service < static_cast<int>(OrvaneServices.size()); ++service) {
    ovk_RegisterForService(static_cast<ovk_Service_t>(service), reinterpret_cast<void*>(consume), nullptr, nullptr,
                           nullptr);
  }
}

void addText(Message& message) {
  message.text = captured([](const void* given) { send(*static_cast<const Message*>(given)); }, &message);
  message.text.reserve(message.text.size() + spaceBehindText);
}

template <typename Fill>
Case makeCase(const std::string& name, ovk_Service_t sender, Values& values, Fill fill) {
  Case made{name, std::vector<Message>(variantsOfEach)};
  for (Message& message : made.variants) {
    message.sender = sender;
    message.refId = values.reference();
    fill(message);
    addText(message);
  }
  return made;
}

std::vector<Case> makeCases() {
  startLibrary();
  Values values;
  std::vector<Case> all;
  const auto add = [&](const std::string& name, ovk_Service_t sender, auto fill) {
    all.push_back(makeCase(name, sender, values, fill));
  };
  const auto nothing = [](Message&) {};
  add("read_request", ovk_Service_RegisterReadClient, nothing);
  for (const std::size_t words : {16U, 128U, 1024U}) {
    const std::string size = "_2x" + std::to_string(words);
    const auto areas = [&](Message& message) { message.areas = {values.words(words), values.words(words)}; };
    add("read_response" + size, ovk_Service_RegisterReadServer, areas);
    add("write_request" + size, ovk_Service_RegisterWriteClient, areas);
  }
  add("write_response", ovk_Service_RegisterWriteServer, nothing);
  add("device_info_request", ovk_Service_DescriptorReadClient, nothing);
  add("device_info_response", ovk_Service_DescriptorReadServer, nothing);
  add("tag_request_50", ovk_Service_TagReadClient, [&](Message& message) { message.selectors = values.selectors(50); });
  for (const std::size_t items : {1U, 20U, 100U}) {
    add("tag_response_" + std::to_string(items), ovk_Service_TagReadServer,
        [&](Message& message) { message.items = values.items(items); });
  }
  return all;
}

unsigned sendRegisters(const Message& message) {
  const auto& [one, two] = message.areas;
  const char* const refId = message.refId.c_str();
  const int count1 = static_cast<int>(one.size());
  const int count2 = static_cast<int>(two.size());
  if (message.sender == ovk_Service_RegisterWriteClient) {
    return ovk_WriteRegisters(peerFid, refId, 1, 100, one.data(), count1, 4096, two.data(), count2);
  }
  return ovk_serveReadRegisters(peerFid, ownFid, refId, 100, one.data(), count1, 4096, two.data(), count2, true,
                                nullptr);
}

unsigned sendByService(const Message& message) {
  const char* const refId = message.refId.c_str();
  switch (message.sender) {
  case ovk_Service_RegisterReadClient: return ovk_ReadRegisters(peerFid, refId, 100, 16, 4096, 16);
  case ovk_Service_RegisterWriteServer: return ovk_serveWriteRegisters(peerFid, ownFid, refId, true, nullptr);
  case ovk_Service_DescriptorReadClient: return ovk_ReadDeviceInfo(peerFid, refId);
  case ovk_Service_DescriptorReadServer:
    return ovk_serveReadDeviceInfo(peerFid, ownFid, refId, ovk_MaxTagRegBlocks, const_cast<int*>(tagRegBlocks.data()),
                                   ovk_MaxResRegBlocks, const_cast<int*>(resRegBlocks.data()), modbusBufferSize, true,
                                   nullptr);
  case ovk_Service_TagReadClient: return ovk_ReadTags(peerFid, refId, message.selectors);
  case ovk_Service_TagReadServer:
    return ovk_serveReadTag(peerFid, ownFid, refId, static_cast<unsigned>(message.items.size()),
                            const_cast<TagItem_t*>(message.items.data()), true, nullptr);
  default: return sendRegisters(message);
  }
}

} // namespace

bool send(const Message& message) { return sendByService(message) == ovk_Status_Done; }

const std::vector<Case>& cases() {
  static const std::vector<Case> all = makeCases();
  return all;
}

} // namespace bench
