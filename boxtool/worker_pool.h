// Runs independent tasks, in parallel where asked, and hands their output
// on in task order.
//
// The engine's settings are process-wide, so one process runs one analysis
// at a time.  With more than one job the tasks run in forked worker
// processes: each worker takes the next few task numbers from a counter
// shared with the others, runs them and sends their outputs back through a
// pipe of its own; the parent keeps what arrives out of order until the
// tasks before it are done.  One job (or one task) runs everything in this
// process.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

// What one task prints, and its exit status bits.
struct TaskOutput {
  std::string out;  // for standard output
  std::string err;  // for standard error
  int status = 0;
};

struct TaskRunner {
  std::function<TaskOutput(size_t task)> run;
  // Stands in for a task whose worker died while running it; why says how
  // ("killed by signal 9").
  std::function<TaskOutput(size_t task, const std::string& why)> lost;
  // Gets every task's output, in task order.
  std::function<void(const TaskOutput&)> emit;
};

inline constexpr unsigned kMaxJobs = 1024;

// Runs tasks 0 .. count - 1 in up to jobs processes (at most kMaxJobs).  A worker that dies is
// replaced while tasks remain; tasks no worker could take run here.
void runTasksInOrder(size_t count, unsigned jobs, const TaskRunner& runner);
