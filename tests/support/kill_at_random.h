// Kills a writer at a random moment of its work, for the tests that check
// what a killed process leaves on disk.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <random>
#include <thread>

namespace velmar::testing {

// Forks a child that runs `work(progress)`: it writes one byte to `progress`
// after each step it has made durable and never returns. The parent waits for
// up to `maxSteps` of those steps (how many is random, and given back), then
// sleeps up to `maxSleep` into the next one and kills the child. False (with
// a test failure) when the child could not be run or ended by itself.
inline bool KillWriterAtRandom(std::mt19937& random, unsigned maxSteps, std::chrono::microseconds maxSleep,
                               const std::function<void(int progress)>& work, unsigned* acknowledged) {
  int progress[2];
  if (pipe(progress) != 0) return ADD_FAILURE() << "pipe", false;
  const pid_t child = fork();
  if (child < 0) return ADD_FAILURE() << "fork", false;
  if (child == 0) {
    close(progress[0]);
    work(progress[1]);
    _exit(99);  // work never returns
  }
  close(progress[1]);
  *acknowledged = static_cast<unsigned>(random() % (maxSteps + 1));
  char step = 0;
  for (unsigned k = 0; k < *acknowledged; ++k) {
    if (read(progress[0], &step, 1) != 1) break;
  }
  std::this_thread::sleep_for(std::chrono::microseconds(random() % (maxSleep.count() + 1)));
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  close(progress[0]);
  if (!WIFSIGNALED(status)) return ADD_FAILURE() << "the writer stopped by itself: " << WEXITSTATUS(status), false;
  return true;
}

}  // namespace velmar::testing
