// Processes that begin their work at the same moment. Add all of them before another such object is
// made: a process that holds the gate of another object keeps it shut.
//
//     Processes readers;
//     for (int i = 0; i < 8; ++i)
//       readers.add([i] { return read_on(i); });     the result is the exit status
//     EXPECT_EQ(readers.run(), 0);
//
// They describe a failure on standard error.

#ifndef ORLA_TESTS_KIT_PROCESSES_H
#define ORLA_TESTS_KIT_PROCESSES_H

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

// Called by a child: it is killed when its parent ends, also where the parent itself was killed.
// One that runs a loop would otherwise go on for ever.
inline void die_with_the_parent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }

class Processes {
 public:
  Processes() {
    if (pipe(gate_) != 0) throw std::runtime_error("no pipe");
  }
  ~Processes() { run(); }
  Processes(const Processes &) = delete;
  Processes &operator=(const Processes &) = delete;

  // Forks a process that does `work` once all are there.
  template <typename Work>
  void add(Work work) {
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process < 0) throw std::runtime_error("no process");
    if (process == 0) {
      die_with_the_parent();
      wait_for_the_gate();
      const int status = work();
      std::fflush(nullptr);
      _exit(status);
    }
    processes_.push_back(process);
  }

  // The process ids, in the order in which they were added.
  const std::vector<pid_t> &ids() const { return processes_; }

  // Lets them begin and waits for all; returns how many did not end with exit status 0.
  int run() {
    open_the_gate();
    int count = 0;
    for (const pid_t process : processes_) {
      int status = -1;
      waitpid(process, &status, 0);
      count += status != 0;
    }
    processes_.clear();
    return count;
  }

 private:
  // Every process holds a read end; the gate opens when the last write end goes.
  void wait_for_the_gate() {
    close(gate_[1]);
    char none;
    while (read(gate_[0], &none, 1) != 0) {
    }
    close(gate_[0]);
  }

  void open_the_gate() {
    if (gate_[0] < 0) return;
    close(gate_[0]);
    close(gate_[1]);
    gate_[0] = -1;
  }

  int gate_[2];
  std::vector<pid_t> processes_;
};

// Does `work` in a process of its own and says whether it returned 0. What it leaves open, such as
// a descriptor for each rewrite of a profile, ends with the process.
template <typename Work>
bool succeeds_apart(Work work) {
  Processes process;
  process.add(work);
  return process.run() == 0;
}

#endif
