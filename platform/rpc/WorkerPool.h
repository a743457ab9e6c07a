#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace zo::rpc {

// The threads that run session calls. Network threads only queue work here, so that they stay
// free to read the answers a blocked call is waiting for.
class WorkerPool {
 public:
  using Task = std::function<void()>;

  explicit WorkerPool(unsigned threads);
  ~WorkerPool();  // Join()
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  // Queues a task; once Join() has returned the task is dropped (destroyed without running)
  // and false returned.
  bool Submit(Task task);
  // Waits until no task is queued or running; false when `timeout` passed first.
  bool WaitIdle(std::chrono::milliseconds timeout);
  // Runs what is queued, and what those tasks queue in turn, then ends the threads. Idempotent.
  void Join();

 private:
  void Work();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<Task> tasks_;
  unsigned running_ = 0;
  bool joining_ = false;
  bool finished_ = false;
  std::vector<std::thread> threads_;
};

// Runs its tasks on WorkerPools one at a time, in the order they were posted: the per-client
// call queue. Each task goes back through its pool's queue, so a client with many calls waiting
// takes turns with the others instead of holding a worker. A task may name a pool of its own
// ("connect" runs apart from the calls), and still keeps its place in the order.
class SerialQueue : public std::enable_shared_from_this<SerialQueue> {
 public:
  explicit SerialQueue(std::shared_ptr<WorkerPool> pool);
  // `pool`: where this task runs; null for the queue's own.
  void Post(WorkerPool::Task task, std::shared_ptr<WorkerPool> pool = nullptr);

 private:
  struct Entry {
    WorkerPool::Task task;
    std::shared_ptr<WorkerPool> pool;
  };

  void Schedule(const std::shared_ptr<WorkerPool>& pool);
  void RunNext();

  std::shared_ptr<WorkerPool> pool_;
  std::mutex mutex_;
  std::deque<Entry> tasks_;
  bool scheduled_ = false;  // a RunNext is queued or running
};

}  // namespace zo::rpc
