// Runs the same work in several threads, which start it together.

#ifndef ORLA_TESTS_KIT_AT_ONCE_H
#define ORLA_TESTS_KIT_AT_ONCE_H

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

// Calls `work` with 0 to `count` - 1, each in a thread of its own, and adds up the numbers of
// errors that it returns, as assertions of the test framework only work on the main thread.
inline int wrong_in_threads(int count, const std::function<int(int)> &work) {
  std::atomic<bool> go = false;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      go.wait(false);
      wrong += work(i);
    });
  }
  go = true;
  go.notify_all();
  for (std::thread &thread : threads)
    thread.join();
  return wrong;
}

constexpr int kThreads = 8;

// The errors of `work` with 0 to `rounds` - 1, in each of eight threads.
inline int wrong_in_rounds(int rounds, const std::function<int(int)> &work) {
  return wrong_in_threads(kThreads, [&](int) {
    int wrong = 0;
    for (int round = 0; round < rounds; ++round)
      wrong += work(round);
    return wrong;
  });
}

inline void expect_right(int rounds, const std::function<int(int)> &work) {
  EXPECT_EQ(wrong_in_rounds(rounds, work), 0);
}

#endif
