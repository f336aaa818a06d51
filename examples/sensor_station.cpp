// A controller with three sensors below it, whose registers can be read and written:  sensor_station [BUS-DIRECTORY]
//
// All requests reach the controller. Their record's `dstFid` says which sensor is meant, and the answer comes from it.
#include <ovk/local_platform.h>
#include <ovk/ovk.h>
#include <poll.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

constexpr const char* station = "VR010_00001_0000000000A0";
constexpr int registerCount = 4;

struct Sensor {
  const char* fid;
  const char* name;
  uint16_t registers[registerCount];
};
Sensor sensors[] = {
    {"VR110_00001_0000000000A1", "inlet", {215, 1, 0, 0}},
    {"VR110_00002_0000000000A2", "outlet", {480, 1, 0, 0}},
    {"VR110_00003_0000000000A3", "ambient", {187, 0, 0, 0}},
};

volatile std::sig_atomic_t stopped = 0;

Sensor* sensorOf(const char* fid) {
  const auto* found = std::find_if(std::begin(sensors), std::end(sensors),
                                   [fid](const Sensor& sensor) { return std::strcmp(sensor.fid, fid) == 0; });
  return found == std::end(sensors) ? nullptr : sensors + (found - sensors);
}

// The registers of an area; null when some are not there.
uint16_t* areaOf(Sensor& sensor, int start, int count) {
  const bool known = start >= 0 && count >= 0 && count <= registerCount && start <= registerCount - count;
  return known ? sensor.registers + start : nullptr;
}

// Finds the registers of both areas of a request, or says why it is refused: it is granted whole or refused whole.
template <typename Request>
const char* locate(const Request& request, uint16_t* (&areas)[2]) {
  Sensor* sensor = sensorOf(request.dstFid);
  if (sensor == nullptr) return "no such sensor here";
  const bool hasSecond = request.startRegister2 >= 0 || request.numberRegisters2 > 0;
  areas[0] = areaOf(*sensor, request.startRegister1, request.numberRegisters1);
  areas[1] = hasSecond ? areaOf(*sensor, request.startRegister2, request.numberRegisters2) : nullptr;
  const bool known = areas[0] != nullptr && (areas[1] != nullptr || !hasSecond);
  return known ? nullptr : "only registers 0 to 3 are here";
}

int onRead(void* data, unsigned /*length*/) {
  const auto& request = *static_cast<ovk_RegisterReadReqCallbackData_t*>(data);
  uint16_t* areas[2] = {};
  const char* refusal = locate(request, areas);
  ovk_serveReadRegisters(request.srcFid, request.dstFid, request.refId, request.startRegister1, areas[0],
                         request.numberRegisters1, request.startRegister2, areas[1], request.numberRegisters2,
                         refusal == nullptr, refusal);
  return 0;
}

int onWrite(void* data, unsigned /*length*/) {
  const auto& request = *static_cast<ovk_RegisterWriteReqCallbackData_t*>(data);
  uint16_t* areas[2] = {};
  const char* refusal = locate(request, areas);
  if (refusal == nullptr) {
    std::copy_n(request.pStartRegister1, request.numberRegisters1, areas[0]);
    std::copy_n(request.pStartRegister2, request.numberRegisters2, areas[1]);
  }
  ovk_serveWriteRegisters(request.srcFid, request.dstFid, request.refId, refusal == nullptr, refusal);
  return 0;
}

bool isDone(unsigned status) {
  if (status != ovk_Status_Done) std::fprintf(stderr, "%s\n", ovk_StatusText(status));
  return status == ovk_Status_Done;
}

bool open() {
  const auto serve = [](ovk_Service_t service, ovk_ServiceCallback_t callback) {
    return isDone(ovk_RegisterForService(service, reinterpret_cast<void*>(callback), nullptr, nullptr, nullptr));
  };
  if (!isDone(ovk_Init(true, station, nullptr, nullptr, nullptr))) return false;
  if (!serve(ovk_Service_RegisterReadServer, onRead) || !serve(ovk_Service_RegisterWriteServer, onWrite)) return false;
  return std::all_of(std::begin(sensors), std::end(sensors), [](const Sensor& sensor) {
    return ovk_topology_cfg_set_static_device(station, sensor.fid, sensor.name) != 0; // so that others can find it
  });
}

} // namespace

int main(int argc, char* argv[]) {
  if (argc > 1) ovk_local_set_bus_directory(argv[1]);
  for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, [](int) { stopped = 1; });
  if (!open()) return 1;
  for (const Sensor& sensor : sensors) std::printf("ready %s\n", sensor.fid);
  std::fflush(stdout);
  pollfd wait = {ovk_local_wait_descriptor(), POLLIN, 0};
  while (stopped == 0) {
    poll(&wait, 1, 1000);
    ovk_DoWork(nullptr, nullptr, nullptr);
  }
  unsigned delivered = 0;
  unsigned received = 0;
  ovk_topology_get_qmxb_statistic(&delivered, &received);
  std::fprintf(stderr, "%u requests, %u answers delivered\n", received, delivered);
  ovk_QMXBusShutdown();
  return 0;
}
