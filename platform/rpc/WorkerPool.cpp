#include "platform/rpc/WorkerPool.h"

namespace zo::rpc {

WorkerPool::WorkerPool(unsigned threads) {
  const unsigned count = threads == 0 ? 1 : threads;
  threads_.reserve(count);
  for (unsigned i = 0; i < count; ++i) threads_.emplace_back([this] { Work(); });
}

WorkerPool::~WorkerPool() { Join(); }

bool WorkerPool::Submit(Task task) {
  {
    const std::lock_guard lock(mutex_);
    if (finished_) return false;
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
  return true;
}

bool WorkerPool::WaitIdle(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, timeout, [this] { return tasks_.empty() && running_ == 0; });
}

void WorkerPool::Join() {
  {
    const std::lock_guard lock(mutex_);
    if (joining_) return;
    joining_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_) thread.join();
  threads_.clear();
  const std::lock_guard lock(mutex_);
  finished_ = true;
  tasks_.clear();
}

void WorkerPool::Work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return joining_ || !tasks_.empty(); });
    if (tasks_.empty()) return;  // joining, and nothing left to run
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    ++running_;
    lock.unlock();
    try {
      task();
    } catch (...) {
      // Tasks report their own failures; one that escapes must not end the worker.
    }
    task = nullptr;  // release what the task captured before reporting idle
    lock.lock();
    --running_;
    if (tasks_.empty() && running_ == 0) idle_.notify_all();
  }
}

SerialQueue::SerialQueue(std::shared_ptr<WorkerPool> pool) : pool_(std::move(pool)) {}

void SerialQueue::Post(WorkerPool::Task task, std::shared_ptr<WorkerPool> pool) {
  if (!pool) pool = pool_;
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back({std::move(task), pool});
    if (scheduled_) return;
    scheduled_ = true;
  }
  Schedule(pool);
}

void SerialQueue::Schedule(const std::shared_ptr<WorkerPool>& pool) {
  if (pool->Submit([self = shared_from_this()] { self->RunNext(); })) return;
  // The pool has ended: the tasks will never run. Dropping them releases what they hold, which
  // may well be the owner of this queue (hence `keep`, released last).
  const auto keep = shared_from_this();
  std::deque<Entry> dropped;
  const std::lock_guard lock(mutex_);
  dropped.swap(tasks_);
  scheduled_ = false;
}

void SerialQueue::RunNext() {
  WorkerPool::Task task;
  {
    const std::lock_guard lock(mutex_);
    task = std::move(tasks_.front().task);
    tasks_.pop_front();
  }
  try {
    task();
  } catch (...) {
    // Swallowed here too: the queue must move on to the client's next task whatever happens.
  }
  task = nullptr;
  std::shared_ptr<WorkerPool> next;
  {
    const std::lock_guard lock(mutex_);
    if (tasks_.empty()) {
      scheduled_ = false;
      return;
    }
    next = tasks_.front().pool;
  }
  Schedule(next);
}

}  // namespace zo::rpc
