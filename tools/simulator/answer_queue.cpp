// The queue of delayed answers.
//
// Nothing here reads the clock or waits: the caller says what time it is, and sleeps in its poll().

#include "simulator/answer_queue.h"

#include <algorithm>

namespace tool {

void AnswerQueue::release(Clock::time_point now) {
  while (!answers.empty() && answers.begin()->first <= now) {
    const Answer answer = std::move(answers.begin()->second);
    answers.erase(answers.begin());
    answer();
  }
}

int AnswerQueue::timeToNext(Clock::time_point now) const {
  if (answers.empty()) return -1;
  // Rounded up: rounding down would spin through the last millisecond.
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(answers.begin()->first - now);
  return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

} // namespace tool
