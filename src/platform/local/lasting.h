#pragma once

#include <utility>

namespace ovk::local {

/// State of the process, made at first use. It has no destructor, since exit handlers and the destructors of the program's
/// static objects may still use it. A function with the attribute `destructor` calls end(): in a shared library it runs after
/// those, or when the library is unloaded.
template <typename State>
class Lasting {
public:
  State& get() {
    if (state_ == nullptr) state_ = new State;
    return *state_;
  }
  void end() { delete std::exchange(state_, nullptr); }

private:
  State* state_ = nullptr;
};

} // namespace ovk::local
