// Modbus TCP over the loopback device. A read has at most 125 registers, so 2048 take seventeen.

#include <algorithm>
#include <array>
#include <modbus/modbus.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "links.h"
#include "processes.h"

namespace {

struct FreeContext {
  void operator()(modbus_t* context) const {
    modbus_close(context);
    modbus_free(context);
  }
};
using Context = std::unique_ptr<modbus_t, FreeContext>;

int portOf(int listener) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) return -1;
  return ntohs(address.sin_port);
}

template <typename Ready>
void serve(Ready ready) {
  const Context context(modbus_new_tcp("127.0.0.1", 0)); // the system chooses the port
  modbus_mapping_t* const mapping = modbus_mapping_new(0, 0, bench::manyRegisters, 0);
  for (int i = 0; i < bench::manyRegisters; ++i) mapping->tab_registers[i] = bench::registerValue(i);
  int listener = modbus_tcp_listen(context.get(), 1);
  if (!ready(portOf(listener)) || modbus_tcp_accept(context.get(), &listener) < 0) return;
  std::array<uint8_t, MODBUS_TCP_MAX_ADU_LENGTH> request{};
  for (;;) {
    const int length = modbus_receive(context.get(), request.data());
    if (length < 0 || modbus_reply(context.get(), request.data(), length, mapping) < 0) return;
  }
}

class ModbusLink : public bench::Link {
public:
  ModbusLink() : server_([](auto ready) { serve(ready); }), context_(modbus_new_tcp("127.0.0.1", server_.word())) {}
  bool connect() { return server_.word() > 0 && modbus_connect(context_.get()) == 0; }

  bool read(int registers) override {
    for (int start = 0; start < registers; start += MODBUS_MAX_READ_REGISTERS) {
      const int count = std::min(registers - start, MODBUS_MAX_READ_REGISTERS);
      if (modbus_read_registers(context_.get(), start, count, values_.data() + start) != count) return false;
    }
    return bench::areRight(values_.data(), registers);
  }

private:
  bench::ServerProcess server_;
  Context context_;
  std::array<uint16_t, bench::manyRegisters> values_{};
};

const bool entered =
    bench::enter(bench::LinkType{"libmodbus", [] {
                                   auto link = std::make_unique<ModbusLink>();
                                   return std::unique_ptr<bench::Link>(link->connect() ? std::move(link) : nullptr);
                                 }});

} // namespace
