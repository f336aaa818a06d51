// Who runs on the bus.
//
// A participant is the lock on its file, not the file: a killed process leaves files, but no lock. What it left is
// removed by the next process that joins, and only with the lock of the dead in hand.

#include "platform/local/bus/presence.h"

#include <cerrno>

#include "platform/local/bus/file_names.h"
#include "platform/local/trace.h"
#include "platform/transfer_channel.h"

namespace ovk::local {

namespace {

constexpr std::initializer_list<int> channelsRead = {IPC_TC_QMX_CLIENT_RSP_IDX, IPC_TC_QMX_SERVER_REQ_IDX};

void removeSockets(const BusDirectory& directory, const std::string& fid, std::initializer_list<int> channels) {
  for (const int channel : channels) directory.remove(fileName(fid, socketSuffix(channel)));
}

// The lock removes its own file when it goes.
void sweepFile(const BusDirectoryPtr& directory, const std::string& name) {
  std::string fid;
  std::optional<FileLock> lock;
  const bool presence = identifierOf(name, lockSuffix, fid);
  const bool watcher = identifierOf(name, watcherSuffix, fid);
  if (!presence && !watcher && !identifierOf(name, countersSuffix, fid)) return;
  if (FileLock::take(directory, name, FileLock::Purpose::sweep, lock) != FileLock::Outcome::taken) return;
  OVK_LOCAL_TRACE(traceProgress, "removing what %s left\n", fid.c_str());
  if (presence) removeSockets(*directory, fid, channelsRead);
  if (watcher) removeSockets(*directory, fid, {copiesChannel});
}

} // namespace

std::optional<FileLock> join(const BusDirectoryPtr& directory, const std::string& fid) {
  std::optional<FileLock> lock;
  const FileLock::Outcome outcome = FileLock::take(directory, fileName(fid, lockSuffix), FileLock::Purpose::own, lock);
  if (outcome != FileLock::Outcome::taken) {
    const bool held = outcome == FileLock::Outcome::held;
    const std::string reason = held ? "another process has it, and each needs one of its own" : errorText(errno);
    OVK_LOCAL_TRACE(traceError, "cannot join the bus as %s: %s\n", fid.c_str(), reason.c_str());
    return lock;
  }
  removeSockets(*directory, fid, channelsRead);
  const std::optional<std::vector<std::string>> names = directory->names();
  if (!names) OVK_LOCAL_TRACE(traceError, "what others left is not looked for: %s\n", errorText(errno).c_str());
  for (const std::string& name : names.value_or(std::vector<std::string>())) sweepFile(directory, name);
  OVK_LOCAL_TRACE(traceProgress, "joined the bus in %s as %s\n", directory->path().c_str(), fid.c_str());
  return lock;
}

} // namespace ovk::local
