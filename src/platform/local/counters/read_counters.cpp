// Reads the counters of another participant, and knows what each of them counts.
//
// The file is read, not mapped, and only while its owner holds it: another process may cut it short at any time.

#include <array>
#include <fcntl.h>

#include "ovk/local_platform.h"
#include "platform/bus_counters.h"
#include "platform/local/bus/file_lock.h"
#include "platform/local/bus/file_names.h"
#include "platform/local/counters/counters.h"

namespace {

struct Meaning {
  QMXBCounter_e counter;
  const char* text;
};

constexpr Meaning meanings[] = {
    {QMXB_API_RX_COMMON_ERR, "messages received that could not be used"},
    {QMXB_API_REG_READ_REQ_RX_OK, "register read requests received"},
    {QMXB_API_REG_READ_REQ_RX_ERR, "register read requests received that could not be read"},
    {QMXB_API_REG_READ_RSP_TX_OK, "register read responses sent"},
    {QMXB_API_REG_READ_RSP_TX_ERR, "register read responses that could not be sent"},
    {QMXB_API_REG_READ_RSP_RX_OK, "register read responses received"},
    {QMXB_API_REG_READ_RSP_RX_ERR, "register read responses received that could not be read"},
    {QMXB_API_TAG_READ_REQ_RX_OK, "tag read requests received"},
    {QMXB_API_TAG_READ_REQ_RX_ERR, "tag read requests received that could not be read"},
    {QMXB_API_TAG_READ_RSP_RX_OK, "tag read responses received"},
    {QMXB_API_TAG_READ_RSP_RX_ERR, "tag read responses received that could not be read"},
    {QMXB_API_DESC_READ_REQ_RX_OK, "device information requests received"},
    {QMXB_API_DESC_READ_REQ_RX_ERR, "device information requests received that could not be read"},
    {QMXB_API_DESC_READ_RSP_RX_OK, "device information responses received"},
    {QMXB_API_DESC_READ_RSP_RX_ERR, "device information responses received that could not be read"},
    {QMXB_API_REG_WRITE_REQ_TX_OK, "register write requests sent"},
    {QMXB_API_REG_WRITE_REQ_TX_ERR, "register write requests that could not be sent"},
    {QMXB_API_REG_WRITE_REQ_RX_OK, "register write requests received"},
    {QMXB_API_REG_WRITE_REQ_RX_ERR, "register write requests received that could not be read"},
    {QMXB_API_REG_WRITE_RSP_RX_OK, "register write responses received"},
    {QMXB_API_REG_WRITE_RSP_RX_ERR, "register write responses received that could not be read"},
};

// A CounterFile as plain numbers.
struct Snapshot {
  std::uint32_t magic;
  std::uint32_t count;
  std::array<std::uint32_t, ovk::local::counterCount> values;
};
static_assert(sizeof(Snapshot) == sizeof(ovk::local::CounterFile), "another view of the same bytes");

bool readSnapshot(const ovk::local::BusDirectory& directory, const std::string& name, Snapshot& snapshot) {
  const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const ovk::local::FileDescriptor file(::openat(directory.descriptor(), name.c_str(), flags));
  return file && ::pread(file.get(), &snapshot, sizeof snapshot, 0) == ssize_t{sizeof snapshot} &&
         snapshot.magic == ovk::local::CounterFile::expectedMagic && snapshot.count == ovk::local::counterCount;
}

} // namespace

bool ovk_local_read_counters(const char* fid, std::vector<ovk_local_counter_t>& counters) {
  if (fid == nullptr) return false;
  const ovk::local::BusDirectoryPtr directory = ovk::local::busDirectory();
  const std::string name = ovk::local::fileName(fid, ovk::local::countersSuffix);
  Snapshot snapshot;
  if (!directory || !readSnapshot(*directory, name, snapshot) ||
      !ovk::local::isFileLocked(*directory, name).value_or(false))
    return false;
  counters.clear();
  for (const Meaning& meaning : meanings)
    counters.push_back({meaning.counter, meaning.text, snapshot.values[static_cast<std::size_t>(meaning.counter)]});
  return true;
}
