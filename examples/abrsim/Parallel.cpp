#include "Parallel.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
#include <vector>

namespace abrsim {

namespace {

bool WriteAll(int fd, const void* data, size_t size) {
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = write(fd, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// A worker: takes job numbers from the shared counter until none are left, and sends each
// result as its job number followed by its bytes.
[[noreturn]] void Work(int count, size_t resultSize, std::atomic<int>* next, int fd,
                       const std::function<void(int, void*)>& job) {
  std::vector<char> result(resultSize);
  bool ok = true;
  for (int index = next->fetch_add(1); ok && index < count; index = next->fetch_add(1)) {
    job(index, result.data());
    ok = WriteAll(fd, &index, sizeof index) && WriteAll(fd, result.data(), resultSize);
  }
  close(fd);
  _exit(ok ? 0 : 1);
}

}  // namespace

int DefaultWorkers() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<int>(n) : 1;
}

bool RunJobs(int count, int workers, size_t resultSize, const std::function<void(int, void*)>& job,
             void* results) {
  char* out = static_cast<char*>(results);
  if (workers <= 1 || count <= 1) {
    for (int i = 0; i < count; ++i) job(i, out + i * resultSize);
    return true;
  }
  if (workers > count) workers = count;
  void* shared = mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return false;
  auto* next = new (shared) std::atomic<int>(0);

  struct Worker {
    pid_t pid;
    int fd;
    std::vector<char> pending;  // bytes of a record not yet complete
  };
  std::vector<Worker> pool;
  bool ok = true;
  for (int w = 0; w < workers; ++w) {
    int fds[2];
    if (pipe(fds) != 0) {
      ok = false;
      break;
    }
    const pid_t pid = fork();
    if (pid == 0) {
      close(fds[0]);
      for (const Worker& other : pool) close(other.fd);
      Work(count, resultSize, next, fds[1], job);
    }
    close(fds[1]);
    if (pid < 0) {
      close(fds[0]);
      ok = false;
      break;
    }
    pool.push_back({pid, fds[0], {}});
  }

  // Collect records from every worker until all pipes close.
  const size_t record = sizeof(int) + resultSize;
  std::vector<char> buffer(65536);
  size_t open = pool.size();
  while (open > 0) {
    std::vector<pollfd> fds;
    for (const Worker& w : pool)
      if (w.fd >= 0) fds.push_back({w.fd, POLLIN, 0});
    if (poll(fds.data(), fds.size(), -1) < 0) {
      if (errno == EINTR) continue;
      ok = false;
      break;
    }
    for (Worker& w : pool) {
      if (w.fd < 0) continue;
      bool ready = false;
      for (const pollfd& p : fds)
        if (p.fd == w.fd && p.revents != 0) ready = true;
      if (!ready) continue;
      const ssize_t n = read(w.fd, buffer.data(), buffer.size());
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        close(w.fd);
        w.fd = -1;
        --open;
        ok = ok && w.pending.empty();
        continue;
      }
      w.pending.insert(w.pending.end(), buffer.data(), buffer.data() + n);
      size_t used = 0;
      while (w.pending.size() - used >= record) {
        int index = 0;
        std::memcpy(&index, w.pending.data() + used, sizeof index);
        if (index < 0 || index >= count) {
          ok = false;
        } else {
          std::memcpy(out + index * resultSize, w.pending.data() + used + sizeof index, resultSize);
        }
        used += record;
      }
      w.pending.erase(w.pending.begin(), w.pending.begin() + static_cast<long>(used));
    }
  }
  for (const Worker& w : pool) {
    int status = 0;
    while (waitpid(w.pid, &status, 0) < 0 && errno == EINTR) {
    }
    ok = ok && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
  munmap(shared, sizeof(std::atomic<int>));
  return ok;
}

}  // namespace abrsim
