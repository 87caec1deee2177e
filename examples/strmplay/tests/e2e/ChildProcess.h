// A program run by a test: started with its output in files, waited for with a deadline, and
// signalled. A child still running when the object goes is killed.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace e2e {

class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts argv[0] (looked up on PATH) with standard output and error in the two files, and the
  // environment of the test with `env` ("NAME=value") on top. False with a reason on failure.
  bool Start(const std::vector<std::string>& argv, const std::string& stdoutPath,
             const std::string& stderrPath, const std::vector<std::string>& env,
             std::string& error);
  // Waits for the child to end: its exit status, 128 + the signal that ended it, or -1 when it
  // is still running at the deadline.
  int Wait(std::chrono::milliseconds deadline);
  bool Running() const { return m_pid > 0; }
  void Signal(int signal);

 private:
  pid_t m_pid = -1;
};

struct RunResult {
  int status = -1;  // as ChildProcess::Wait
  std::string out;
  std::string err;
  double seconds = 0.0;  // from the start to the end
};

// Runs a program to its end (killed at the deadline, status -1), output kept in dir.
RunResult RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                     const std::string& dir, std::chrono::milliseconds deadline);

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);
// True when the program is on PATH.
bool HaveProgram(const std::string& name);

}  // namespace e2e
