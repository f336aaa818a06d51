// ZeroMQ: REQ and REP over an ipc socket, with the library's own texts. Only the transport is measured: the answer is
// ready beforehand, and nobody reads it.

#include <zmq.hpp>

#include "links.h"
#include "processes.h"
#include "support/temporary_directory.h"
#include "texts.h"

namespace {

zmq::const_buffer bufferOf(const std::string& text) { return zmq::buffer(text); }

template <typename Ready>
void serve(const std::string& endpoint, Ready ready) {
  const std::string few = bench::readResponseText(bench::fewRegisters);
  const std::string many = bench::readResponseText(bench::manyRegisters);
  const std::string askForFew = bench::readRequestText(bench::fewRegisters);
  zmq::context_t context;
  zmq::socket_t socket(context, zmq::socket_type::rep);
  socket.bind(endpoint);
  if (!ready(0)) return;
  zmq::message_t request;
  while (socket.recv(request)) socket.send(bufferOf(request.to_string_view() == askForFew ? few : many));
}

class ZeromqLink : public bench::Link {
public:
  ZeromqLink() : server_([this](auto ready) { serve(endpoint(), ready); }), socket_(context_, zmq::socket_type::req) {
    socket_.connect(endpoint());
  }

  bool read(int registers) override {
    const bool isFew = registers == bench::fewRegisters;
    socket_.send(bufferOf(isFew ? askForFew_ : askForMany_), zmq::send_flags::none);
    zmq::message_t answer;
    return socket_.recv(answer) && answer.to_string_view() == (isFew ? few_ : many_);
  }

private:
  std::string endpoint() const { return "ipc://" + directory_.path() + "/zeromq"; }

  TemporaryDirectory directory_;
  bench::ServerProcess server_;
  zmq::context_t context_;
  zmq::socket_t socket_;
  const std::string askForFew_ = bench::readRequestText(bench::fewRegisters);
  const std::string askForMany_ = bench::readRequestText(bench::manyRegisters);
  const std::string few_ = bench::readResponseText(bench::fewRegisters);
  const std::string many_ = bench::readResponseText(bench::manyRegisters);
};

const bool entered = bench::enter(
    bench::LinkType{"zeromq", [] { return std::unique_ptr<bench::Link>(std::make_unique<ZeromqLink>()); }});

} // namespace
