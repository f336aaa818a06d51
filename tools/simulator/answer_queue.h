#pragma once

#include <chrono>
#include <functional>
#include <map>

namespace tool {

/// Answers that wait for their time. They are given out in the order of their due times, equal ones as they came.
class AnswerQueue {
public:
  using Clock = std::chrono::steady_clock;
  using Answer = std::function<void()>;

  void add(Clock::time_point due, Answer answer) { answers.emplace(due, std::move(answer)); }
  /// Calls every answer that is due; an answer may add others.
  void release(Clock::time_point now);
  /// Milliseconds until the next one is due, for poll(): 0 when one is, -1 when none waits.
  int timeToNext(Clock::time_point now) const;
  size_t size() const { return answers.size(); }

private:
  std::multimap<Clock::time_point, Answer> answers;
};

} // namespace tool
