#include "worker_pool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <vector>

#include "output_file.h"
#include "printable.h"

namespace {

// Memory the parent shares with its workers: the next task nobody has
// taken, and per worker the tasks it has taken and not yet sent back, so
// that a worker that dies is known to have taken them with it.
struct Slot {
  std::atomic<uint32_t> first{0};
  std::atomic<uint32_t> end{0};
};
struct Shared {
  std::atomic<uint32_t> next{0};
  Slot slots[kMaxJobs];
};

constexpr int kPipeSize = 1 << 20;

// A task's output on the pipe: this head, then its out and err bytes.
struct MessageHead {
  uint32_t task;
  int32_t status;
  uint64_t outLength;
  uint64_t errLength;
};

// The next batch of tasks nobody has taken, [first, end); empty when none
// is left.  Batches shrink as the tasks run out (a share of what is left,
// at most 64 tasks), so that the processes finish close together: small
// tasks would otherwise cost more in wake-ups of the parent than in work,
// and large batches at the end would leave one process working alone.
struct Batch {
  uint32_t first = 0, end = 0;
};
Batch takeBatch(Shared& shared, size_t count, unsigned jobs) {
  uint32_t first = shared.next.load();
  uint32_t size;
  do {
    if (first >= count) return {};
    size = static_cast<uint32_t>(std::clamp<size_t>((count - first) / (size_t{jobs} * 4), 1, 64));
  } while (!shared.next.compare_exchange_weak(first, first + size));
  return {first, first + size};
}

// A worker takes tasks a batch at a time and sends each batch's outputs in
// one write.
[[noreturn]] void workerMain(int fd, Shared& shared, Slot& slot, size_t count, unsigned jobs,
                             const TaskRunner& runner) {
  std::string message;
  for (;;) {
    const Batch batch = takeBatch(shared, count, jobs);
    if (batch.first == batch.end) _exit(0);
    slot.first = batch.first;
    slot.end = batch.end;
    message.clear();
    for (uint32_t task = batch.first; task < batch.end; ++task) {
      const TaskOutput output = runner.run(task);
      const MessageHead head{task, output.status, output.out.size(), output.err.size()};
      message.append(reinterpret_cast<const char*>(&head), sizeof head);
      message += output.out;
      message += output.err;
    }
    if (!writeAll(fd, message.data(), message.size(), ::write)) _exit(1);
  }
}

struct Worker {
  pid_t pid = -1;
  int fd = -1;
  size_t slot = 0;
  std::string received;  // bytes not yet taken as messages
};

class Pool {
 public:
  Pool(size_t count, unsigned jobs, const TaskRunner& runner, Shared& shared)
      : count_(count), jobs_(jobs), runner_(runner), shared_(shared), outputs_(count) {}

  // Starts a worker in the given slot; false when no process or pipe could be had.
  bool spawn(size_t slot) {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) return false;
    shared_.slots[slot].first = 0;
    shared_.slots[slot].end = 0;
    std::fflush(nullptr);  // nothing buffered may be written twice
    const pid_t pid = fork();
    if (pid < 0) {
      close(fds[0]);
      close(fds[1]);
      return false;
    }
    if (pid == 0) {
      close(fds[0]);
      for (const Worker& w : workers_) close(w.fd);
      workerMain(fds[1], shared_, shared_.slots[slot], count_, jobs_, runner_);
    }
    close(fds[1]);
    // Room for a batch's output, so that a worker seldom waits for the
    // parent to finish a batch of its own; the system's default is 64 KiB.
    fcntl(fds[0], F_SETPIPE_SZ, kPipeSize);
    fcntl(fds[0], F_SETFL, O_NONBLOCK);
    workers_.push_back({pid, fds[0], slot, {}});
    return true;
  }

  // The parent is one of the jobs: it takes batches as the workers do, and
  // between its batches takes in what they sent.
  void run() {
    for (Batch batch = takeBatch(shared_, count_, jobs_); batch.first != batch.end;
         batch = takeBatch(shared_, count_, jobs_)) {
      for (uint32_t task = batch.first; task < batch.end; ++task) outputs_[task] = runner_.run(task);
      emitReady();
      receiveAll(0);
    }
    while (!workers_.empty()) receiveAll(-1);
    // A worker that died after it took a batch but before it recorded it in
    // its slot took tasks nobody reported: the parent runs them now.
    for (size_t task = emitted_; task < count_; ++task) {
      if (!outputs_[task]) outputs_[task] = runner_.run(task);
    }
    emitReady();
  }

 private:
  // Takes in what the workers sent, waiting up to timeout ms (-1: until
  // something comes).
  void receiveAll(int timeout) {
    polled_.clear();
    for (const Worker& w : workers_) polled_.push_back({w.fd, POLLIN, 0});
    if (polled_.empty() || poll(polled_.data(), polled_.size(), timeout) <= 0) return;
    // Backwards, since a finished worker leaves the list.
    for (size_t k = polled_.size(); k-- > 0;) {
      if (polled_[k].revents != 0) receive(k);
    }
  }

  // Reads all that is there (the parent's end does not block).
  void receive(size_t k) {
    Worker& w = workers_[k];
    char buffer[65536];
    for (;;) {
      const ssize_t n = read(w.fd, buffer, sizeof buffer);
      if (n > 0) {
        w.received.append(buffer, static_cast<size_t>(n));
        continue;
      }
      // Taking the messages runs the callers' code, which may change errno.
      const int error = n < 0 ? errno : 0;
      takeMessages(w);
      if (error == EAGAIN || error == EINTR) return;
      finish(k);  // the end of the pipe, or an error that ends it
      return;
    }
  }

  void takeMessages(Worker& w) {
    size_t used = 0;
    MessageHead head;
    while (w.received.size() - used >= sizeof head) {
      std::memcpy(&head, w.received.data() + used, sizeof head);
      const uint64_t body = head.outLength + head.errLength;
      if (w.received.size() - used - sizeof head < body) break;
      const char* p = w.received.data() + used + sizeof head;
      if (head.task < count_) {
        outputs_[head.task] = TaskOutput{std::string(p, head.outLength),
                                         std::string(p + head.outLength, head.errLength), head.status};
      }
      used += sizeof head + body;
    }
    w.received.erase(0, used);
    emitReady();
  }

  // The worker closed its pipe, after everything it sent was read: it ended,
  // normally or not.  The tasks of its last batch that did not arrive died
  // with it.
  void finish(size_t k) {
    const Worker w = std::move(workers_[k]);
    workers_.erase(workers_.begin() + static_cast<std::ptrdiff_t>(k));
    close(w.fd);
    int status = 0;
    while (waitpid(w.pid, &status, 0) < 0 && errno == EINTR) {
    }
    const Slot& slot = shared_.slots[w.slot];
    const std::string why = WIFSIGNALED(status) ? format("killed by signal %d", WTERMSIG(status))
                                                : format("ended with status %d", WEXITSTATUS(status));
    for (size_t task = std::max<size_t>(slot.first, emitted_); task < slot.end && task < count_; ++task) {
      if (!outputs_[task]) outputs_[task] = runner_.lost(task, why);
    }
    emitReady();
    if (shared_.next.load() < count_) spawn(w.slot);
  }

  void emitReady() {
    while (emitted_ < count_ && outputs_[emitted_]) {
      runner_.emit(*outputs_[emitted_]);
      outputs_[emitted_].reset();
      ++emitted_;
    }
  }

  size_t count_;
  unsigned jobs_;
  const TaskRunner& runner_;
  Shared& shared_;
  std::vector<Worker> workers_;
  std::vector<pollfd> polled_;
  std::vector<std::optional<TaskOutput>> outputs_;
  size_t emitted_ = 0;
};

}  // namespace

void runTasksInOrder(size_t count, unsigned jobs, const TaskRunner& runner) {
  jobs = static_cast<unsigned>(std::min<size_t>({jobs, count, kMaxJobs}));
  void* memory =
      jobs > 1 ? mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)
               : MAP_FAILED;
  if (memory == MAP_FAILED) {
    for (size_t task = 0; task < count; ++task) runner.emit(runner.run(task));
    return;
  }
  Shared* shared = new (memory) Shared;
  {
    Pool pool(count, jobs, runner, *shared);
    for (unsigned slot = 0; slot + 1 < jobs && pool.spawn(slot); ++slot) {
    }
    pool.run();
  }
  shared->~Shared();
  munmap(memory, sizeof(Shared));
}
