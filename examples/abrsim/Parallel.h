// Runs independent jobs in worker processes. The library's clock is simulated process-wide, and
// the switcher keeps a file-scope value shared by all of its instances, so simulations running
// side by side must not share a process; forked workers give each its own.
#pragma once

#include <functional>
#include <vector>

namespace abrsim {

// The number of workers to use by default: the processors online.
int DefaultWorkers();

// Runs job(0) .. job(count - 1) over `workers` forked processes, each taking the next job as it
// becomes free, and returns the results in job order. `Result` must be trivially copyable; it
// travels back through a pipe as bytes. With one worker, or one job, everything runs in this
// process. Returns false if a worker failed.
bool RunJobs(int count, int workers, size_t resultSize,
             const std::function<void(int job, void* result)>& job, void* results);

template <typename Result>
bool RunParallel(int count, int workers, const std::function<Result(int)>& job,
                 std::vector<Result>& results) {
  results.assign(count, Result{});
  return RunJobs(
      count, workers, sizeof(Result),
      [&job](int index, void* out) { *static_cast<Result*>(out) = job(index); }, results.data());
}

}  // namespace abrsim
