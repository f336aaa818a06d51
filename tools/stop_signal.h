#pragma once

namespace tool {

/// SIGINT and SIGTERM as a descriptor for poll(), from construction on: they no longer end the process by themselves.
class StopSignal {
public:
  StopSignal();
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  /// Readable when the process is asked to end.
  int descriptor() const { return fd; }
  /// The signal that asked for it; 0 when none did.
  int take() const;

private:
  int fd;
};

} // namespace tool
