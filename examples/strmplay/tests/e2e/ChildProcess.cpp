#include "ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace e2e {

ChildProcess::~ChildProcess() {
  if (m_pid > 0) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
}

bool ChildProcess::Start(const std::vector<std::string>& argv, const std::string& stdoutPath,
                         const std::string& stderrPath, const std::vector<std::string>& env,
                         std::string& error) {
  std::vector<char*> args;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  // The test's environment, with the given entries replacing those of the same name.
  std::vector<std::string> entries;
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry(*e);
    const std::string name = entry.substr(0, entry.find('='));
    bool replaced = false;
    for (const auto& add : env) replaced = replaced || add.substr(0, add.find('=')) == name;
    if (!replaced) entries.push_back(entry);
  }
  entries.insert(entries.end(), env.begin(), env.end());
  std::vector<char*> envp;
  for (auto& e : entries) envp.push_back(const_cast<char*>(e.c_str()));
  envp.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  posix_spawn_file_actions_addopen(&actions, 2, stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  // The child starts with the default signal actions, whatever the test runner set.
  posix_spawnattr_t attr;
  posix_spawnattr_init(&attr);
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGINT);
  sigaddset(&defaults, SIGTERM);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_setsigdefault(&attr, &defaults);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attr, &none);
  posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  const int rc = posix_spawnp(&m_pid, args[0], &actions, &attr, args.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attr);
  if (rc != 0) {
    m_pid = -1;
    error = "cannot start " + argv[0] + ": " + std::strerror(rc);
    return false;
  }
  return true;
}

int ChildProcess::Wait(std::chrono::milliseconds deadline) {
  if (m_pid <= 0) return -1;
  const auto end = std::chrono::steady_clock::now() + deadline;
  for (;;) {
    int status = 0;
    const pid_t done = waitpid(m_pid, &status, WNOHANG);
    if (done == m_pid) {
      m_pid = -1;
      if (WIFEXITED(status)) return WEXITSTATUS(status);
      if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
      return -1;
    }
    if (std::chrono::steady_clock::now() >= end) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void ChildProcess::Signal(int signal) {
  if (m_pid > 0) kill(m_pid, signal);
}

RunResult RunProgram(const std::vector<std::string>& argv, const std::vector<std::string>& env,
                     const std::string& dir, std::chrono::milliseconds deadline) {
  RunResult result;
  const std::string out = dir + "/run.out";
  const std::string err = dir + "/run.err";
  ChildProcess child;
  std::string error;
  const auto start = std::chrono::steady_clock::now();
  if (!child.Start(argv, out, err, env, error)) {
    result.err = error;
    return result;
  }
  result.status = child.Wait(deadline);
  result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  result.out = ReadFile(out);
  result.err = ReadFile(err);
  return result;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

bool HaveProgram(const std::string& name) {
  std::istringstream path(getenv("PATH") != nullptr ? getenv("PATH") : "");
  std::string dir;
  while (std::getline(path, dir, ':')) {
    if (!dir.empty() && access((dir + "/" + name).c_str(), X_OK) == 0) return true;
  }
  for (const char* sbin : {"/usr/sbin/", "/sbin/"}) {
    if (access((sbin + name).c_str(), X_OK) == 0) return true;
  }
  return false;
}

}  // namespace e2e
