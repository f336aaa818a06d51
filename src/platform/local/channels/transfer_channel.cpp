// The transfer channels of this process.
//
// The first channel makes the process a participant of the bus, the last one to go ends that: whoever holds a channel
// holds the identifier.

#include "platform/transfer_channel.h"

#include <array>
#include <memory>

#include "ovk/service.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/bus/own_identity.h"
#include "platform/local/bus/presence.h"
#include "platform/local/bus/traffic.h"
#include "platform/local/channels/read_channel.h"
#include "platform/local/channels/routing.h"
#include "platform/local/channels/watching.h"
#include "platform/local/channels/write_channel.h"
#include "platform/local/lasting.h"
#include "platform/local/trace.h"

namespace ovk::local {

namespace {

constexpr int channelCount = 4;

struct Channels {
  std::string fid; // of the participant
  BusDirectoryPtr directory;
  std::optional<FileLock> presence;
  std::array<std::unique_ptr<ReadChannel>, channelCount> read;
  std::array<std::unique_ptr<WriteChannel>, channelCount> written;
  std::unique_ptr<WriteChannel> copies; // for those who watch; made for the first one

  bool isOpen(std::size_t index) const { return read[index] || written[index]; }
  void close(std::size_t index);
};

void Channels::close(std::size_t index) {
  read[index].reset();
  written[index].reset();
  for (std::size_t other = 0; other < channelCount; ++other)
    if (isOpen(other)) return;
  copies.reset();
  presence.reset();
}

Lasting<Channels> ownChannels;
Channels& channels() { return ownChannels.get(); }

// After the last exit handler, so that nothing stays in the bus directory.
[[gnu::destructor]] void closeAll() { ownChannels.end(); }

bool isChannel(int index) { return index >= 0 && index < channelCount; }

bool isWritten(int index) { return index == IPC_TC_QMX_CLIENT_REQ_IDX || index == IPC_TC_QMX_SERVER_RSP_IDX; }

// Requests are read as requests, responses as responses.
int targetChannel(int index) {
  return index == IPC_TC_QMX_CLIENT_REQ_IDX ? IPC_TC_QMX_SERVER_REQ_IDX : IPC_TC_QMX_CLIENT_RSP_IDX;
}

// Makes the process a participant unless it is one already.
bool takePart(Channels& all) {
  if (all.presence && all.fid == ownFid()) return true;
  if (all.presence) {
    OVK_LOCAL_TRACE(traceError, "channels of another identifier are open\n");
    return false;
  }
  if (ownFid().empty()) {
    OVK_LOCAL_TRACE(traceError, "no own identifier\n");
    return false;
  }
  all.directory = busDirectory();
  all.fid = ownFid();
  if (!all.directory) return false;
  std::optional<FileLock> presence = join(all.directory, all.fid);
  if (presence) all.presence.emplace(std::move(*presence));
  return all.presence.has_value();
}

void openChannel(Channels& all, int index) {
  const auto at = static_cast<std::size_t>(index);
  if (isWritten(index)) {
    all.written[at] = std::make_unique<WriteChannel>(all.directory, targetChannel(index));
  } else {
    all.read[at] = ReadChannel::open(all.directory, fileName(all.fid, socketSuffix(index)));
  }
}

// The message is on its way already: a copy that there is no memory for is one that the watchers miss.
void show(Channels& all, WatchTime time, std::string_view message) try {
  if (!all.copies) all.copies = std::make_unique<WriteChannel>(all.directory, copiesChannel);
  showToWatchers(*all.copies, time, message);
} catch (const std::bad_alloc&) {
}

// Hands a message over and shows it to those who watch, if any.
bool deliver(Channels& all, int index, const std::string& target, std::string_view message) {
  const bool watched = isWatched();
  const WatchTime time = watched ? watchTime() : WatchTime();
  WriteChannel& channel = *all.written[static_cast<std::size_t>(index)];
  if (!channel.write(target, message.data(), static_cast<unsigned>(message.size()))) return false;
  ++traffic().delivered;
  if (watched) show(all, time, message);
  return true;
}

// Gives the identifier back when no channel is open after all.
class Opening {
public:
  Opening(Channels& all, std::size_t index) : all_(all), index_(index) {}
  Opening(const Opening&) = delete;
  Opening& operator=(const Opening&) = delete;
  ~Opening() {
    if (!all_.isOpen(index_)) all_.close(index_);
  }

private:
  Channels& all_;
  std::size_t index_;
};

bool open(int index) {
  Channels& all = channels();
  const auto at = static_cast<std::size_t>(index);
  const Opening opening(all, at);
  if (!takePart(all)) return false;
  if (!all.isOpen(at)) openChannel(all, index);
  return all.isOpen(at);
}

} // namespace

} // namespace ovk::local

using ovk::local::channels;

int createTransferChannel(int index, int role) {
  const int ownRole = ovk::local::isWritten(index) ? transferChannelWritten : transferChannelRead;
  if (ovk::local::isChannel(index) && role == ownRole) return ovk::local::open(index) ? 0 : -1;
  OVK_LOCAL_TRACE(traceError, "there is no channel %d of role %d\n", index, role);
  return -1;
}

int readTransferChannel(int index, void* buffer, unsigned size) {
  if (!ovk::local::isChannel(index)) return -1;
  const auto& channel = channels().read[static_cast<std::size_t>(index)];
  if (!channel) return -1;
  const int length = channel->read(buffer, size);
  if (length > 0) ++ovk::local::traffic().received;
  return length;
}

int writeTransferChannel(int index, const void* message, unsigned size) {
  if (!ovk::local::isChannel(index) || !channels().written[static_cast<std::size_t>(index)]) {
    OVK_LOCAL_TRACE(traceError, "channel %d is not open for writing\n", index);
    return -1;
  }
  if (size == 0 || size > unsigned{ovk_MaxMessageSize}) {
    OVK_LOCAL_TRACE(traceError, "a message has 1 to %u bytes, not %u\n", unsigned{ovk_MaxMessageSize}, size);
    return -1;
  }
  const std::string_view text(static_cast<const char*>(message), size);
  const std::string target = ovk::local::targetOf(index, text);
  return !target.empty() && ovk::local::deliver(channels(), index, target, text) ? 0 : -1;
}

int destroyTransferChannel(int index) {
  if (!ovk::local::isChannel(index)) return -1;
  channels().close(static_cast<std::size_t>(index));
  return 0;
}
